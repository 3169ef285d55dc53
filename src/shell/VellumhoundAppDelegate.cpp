// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/VellumhoundAppDelegate.h"

namespace vellumhound::shell {

VellumhoundAppDelegate::VellumhoundAppDelegate(
    base::Timer &timer, MakePanel makePanel, std::function<bool()> isOnboardingDone)
    : _timer(timer)
    , _makePanel(std::move(makePanel))
    , _isOnboardingDone(std::move(isOnboardingDone))
{
}

VellumhoundAppDelegate::~VellumhoundAppDelegate() = default;

LauncherPanel &VellumhoundAppDelegate::launcher()
{
    if (!_launcher)
        _launcher = _makePanel(QStringLiteral("Launcher"), *this);
    return *_launcher;
}

void VellumhoundAppDelegate::applicationDidFinishLaunching()
{
    if (!_isOnboardingDone())
        showLauncher();
}

void VellumhoundAppDelegate::showLauncher()
{
    // Each call has a wait of its own; those that have passed make room when the first is done.
    if (_passedShows == _pendingShows.size()) {
        _pendingShows.clear();
        _passedShows = 0;
    }
    _pendingShows.push_back(_timer.after(shortcutDelay, [this] {
        ++_passedShows;
        presentPanel();
    }));
}

void VellumhoundAppDelegate::presentPanel()
{
    auto &panel = launcher();
    panel.centerOnScreen();
    panel.makeKeyAndOrderFront();
    panel.becomeKeyWindow();
}

void VellumhoundAppDelegate::applicationDidResignActive()
{
    launcher().hideLauncher();
}

bool VellumhoundAppDelegate::applicationShouldHandleReopen()
{
    presentPanel();
    return true;
}

preview::PreviewPanelManager &VellumhoundAppDelegate::previewPanelManager()
{
    return launcher().previewPanelManager();
}

}  // namespace vellumhound::shell
