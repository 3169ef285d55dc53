// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Services.h"
#include "platform/Appearance.h"
#include "shell/LauncherView.h"
#include "shell/VellumhoundAppDelegate.h"
#include "shell/widgets/FloatingPanel.h"
#include "shell/widgets/LauncherWidget.h"
#include "ui/widgets/Theme.h"
#include "ui/widgets/WidgetPalette.h"

namespace vellumhound::app {

/// The launcher as the delegate has it: the panel, and in it the root view. Owned by the delegate.
class LauncherWindow final : public shell::LauncherPanel {
public:
    /// `isOnboardingDone` tells whether the first run is over. Services and delegate outlive it.
    LauncherWindow(const QString &identifier, Services &services,
        shell::VellumhoundAppDelegate &appDelegate, std::function<bool()> isOnboardingDone);
    ~LauncherWindow() override;

    preview::PreviewPanelManager &previewPanelManager() override;
    void centerOnScreen() override { _panel->centerOnScreen(); }
    void makeKeyAndOrderFront() override;
    void becomeKeyWindow() override { _panel->becomeKeyWindow(); }
    void hideLauncher() override { _panel->hideLauncher(); }
    /// Puts the panel away as if it had lost the keyboard.
    void giveUpKey() { _panel->giveUpKey(); }

    void setAppearance(const platform::Appearance &appearance);
    /// The root of what the panel shows.
    shell::LauncherView &view() { return _view; }

private:
    shell::PanelSurroundings surroundings(std::function<bool()> isOnboardingDone);

    Services &_services;
    shell::VellumhoundAppDelegate &_appDelegate;
    platform::Appearance _appearance;
    ui::WidgetPalette _palette;
    shell::LauncherView _view;
    shell::LauncherWidget *_content;  // owned by the panel
    std::unique_ptr<shell::FloatingPanel> _panel;
};

}  // namespace vellumhound::app
