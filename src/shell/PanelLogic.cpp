// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/PanelLogic.h"

#include <QScopedValueRollback>

#include <utility>

namespace vellumhound::shell {

using namespace std::chrono_literals;
namespace Notifications = base::Notifications;

namespace {
constexpr auto patience = 400ms;
}

PanelLogic::PanelLogic(PanelWindow &window, PanelSurroundings surroundings)
    : _window(window)
    , _surroundings(std::move(surroundings))
{
}

PanelLogic::~PanelLogic()
{
    *_alive = false;
}

void PanelLogic::makeKeyAndOrderFront()
{
    _isGivenUpOn = false;
    _isInactiveInGrace = false;
    _grace.reset();
    _window.orderFront();
    _focusCheck = _surroundings.timer.after(patience, [this] {
        if (!_window.isOnScreen() || _window.hasKeyboard())
            return;
        _window.askForKeyboard();
        _isGivenUpOn = true;
    });
}

void PanelLogic::announce(QStringView name)
{
    _surroundings.notifications.post(name.toString());
}

void PanelLogic::becomeKeyWindow()
{
    announce(Notifications::FloatingPanelDidBecomeKeyNotification);
    _surroundings.setMonitoringPaused(false);
    _surroundings.queue.post([this, alive = _alive] {
        if (*alive && _isKey && !_window.hasKeyboard())
            _window.askForKeyboard();
    });
    _isKey = true;
}

void PanelLogic::resignKeyWindow()
{
    // Hiding the window makes the window system report the loss of the keyboard once more.
    if (_isResigning)
        return;
    const QScopedValueRollback resigning(_isResigning, true);
    _isGivenUpOn = false;
    announce(Notifications::FloatingPanelDidResignKeyNotification);
    if (!_surroundings.previewPanel.isVisible())
        hideLauncher();
    _isKey = false;
}

void PanelLogic::hideLauncher()
{
    if (_isHiding || !_surroundings.isOnboardingDone())
        return;
    const QScopedValueRollback hiding(_isHiding, true);
    _focusCheck.reset();
    _grace.reset();
    _surroundings.clearPreviewFile();
    _surroundings.previewPanel.reloadData();
    _surroundings.previewPanel.orderOut();
    _surroundings.setMonitoringPaused(true);
    _window.orderOut();
}

void PanelLogic::giveUpKey()
{
    if (_window.isOnScreen() && _surroundings.isOnboardingDone())
        resignKeyWindow();
}

void PanelLogic::onKeyboardGained()
{
    _isGivenUpOn = false;
    _isInactiveInGrace = false;
    if (!_isKey && !_isHiding && _window.isOnScreen())
        becomeKeyWindow();
}

void PanelLogic::onKeyboardLost()
{
    if (_isKey)
        resignKeyWindow();
}

void PanelLogic::onApplicationInactive()
{
    if (_grace && _window.isOnScreen()) {
        if (!std::exchange(_isInactiveInGrace, true))
            _window.askForKeyboard();
        return;
    }
    resignActive();
}

void PanelLogic::resignActive()
{
    onKeyboardLost();
    if (_surroundings.applicationDidResignActive)
        _surroundings.applicationDidResignActive();
    else if (_window.isOnScreen())
        hideLauncher();
}

void PanelLogic::onActiveWindowChanged()
{
    if (_isGivenUpOn && _window.isOnScreen() && !_window.hasKeyboard())
        giveUpKey();
}

void PanelLogic::onOwnWindowClosed()
{
    if (_isHiding || !_window.isOnScreen() || _window.hasKeyboard())
        return;
    _isInactiveInGrace = false;
    _grace = _surroundings.timer.after(patience, [this] {
        _grace.reset();
        if (std::exchange(_isInactiveInGrace, false) && !_window.hasKeyboard())
            resignActive();
    });
    _window.askForKeyboard();
}

}  // namespace vellumhound::shell
