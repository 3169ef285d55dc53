// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "fakes/FakePreviewManager.h"
#include "shell/VellumhoundAppDelegate.h"

#include <QStringList>

namespace vellumhound::shell {

/// A panel that notes what it is asked for.
class NotingPanel final : public LauncherPanel {
public:
    explicit NotingPanel(QStringList &calls)
        : _calls(calls)
    {
    }

    preview::PreviewPanelManager &previewPanelManager() override { return _preview; }
    void centerOnScreen() override { _calls.append(QStringLiteral("center")); }
    void makeKeyAndOrderFront() override { _calls.append(QStringLiteral("front")); }
    void becomeKeyWindow() override { _calls.append(QStringLiteral("become key")); }
    void hideLauncher() override { _calls.append(QStringLiteral("hide")); }

private:
    QStringList &_calls;
    fakes::FakePreviewManager _preview;
};

}  // namespace vellumhound::shell
