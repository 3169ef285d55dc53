// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/MainQueue.h"
#include "base/Timer.h"
#include "preview/PreviewPanelManager.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace vellumhound::shell {

/// The launcher's panel as the delegate drives it.
class LauncherPanel {
public:
    virtual ~LauncherPanel() = default;

    virtual preview::PreviewPanelManager &previewPanelManager() = 0;
    virtual void centerOnScreen() = 0;
    virtual void makeKeyAndOrderFront() = 0;
    virtual void becomeKeyWindow() = 0;
    virtual void hideLauncher() = 0;
};

/// Decides when the panel appears; the panel goes away by itself. Builds the panel on first use and
/// is the only one that does. One for the process; main thread.
class VellumhoundAppDelegate final : public preview::PreviewHost {
public:
    using MakePanel = std::function<std::unique_ptr<LauncherPanel>(
        const QString &identifier, VellumhoundAppDelegate &delegate)>;

    /// From the hot key to the panel; fixed.
    static constexpr std::chrono::milliseconds shortcutDelay{100};

    VellumhoundAppDelegate(
        base::Timer &timer, MakePanel makePanel, std::function<bool()> isOnboardingDone);
    ~VellumhoundAppDelegate() override;
    Q_DISABLE_COPY_MOVE(VellumhoundAppDelegate)

    /// The panel; made by the first call.
    LauncherPanel &launcher();
    preview::PreviewPanelManager &previewPanelManager() override;

    /// Puts the panel in front unless the first run is over.
    void applicationDidFinishLaunching();
    void applicationDidResignActive();
    /// Presents the panel at once. True: the reopening has been dealt with.
    bool applicationShouldHandleReopen();

    /// Presents the panel after `shortcutDelay`; each call does.
    void showLauncher();
    /// Centres the panel again, puts it in front and makes it key, also when it was key already.
    void presentPanel();

private:
    base::Timer &_timer;
    MakePanel _makePanel;
    std::function<bool()> _isOnboardingDone;
    std::unique_ptr<LauncherPanel> _launcher;
    std::vector<std::unique_ptr<base::Timer::Wait>> _pendingShows;
    std::size_t _passedShows = 0;
};

}  // namespace vellumhound::shell
