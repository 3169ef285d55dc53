// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/MainQueue.h"
#include "base/NotificationCenter.h"
#include "base/Timer.h"
#include "platform/PreviewPanel.h"

#include <QStringView>

#include <functional>
#include <memory>

namespace vellumhound::shell {

/// The panel's window as its logic sees it.
class PanelWindow {
public:
    virtual ~PanelWindow() = default;

    virtual bool isOnScreen() const = 0;
    /// The keyboard really goes to the window, whatever was asked for.
    virtual bool hasKeyboard() const = 0;
    /// Shows the window above the others and asks for the keyboard.
    virtual void orderFront() = 0;
    virtual void askForKeyboard() = 0;
    virtual void orderOut() = 0;
};

/// What the panel needs of the process around it. References and functions outlive the panel.
struct PanelSurroundings {
    base::NotificationCenter &notifications;
    base::MainQueue &queue;
    base::Timer &timer;
    platform::PreviewPanel &previewPanel;
    std::function<void()> clearPreviewFile;
    std::function<void(bool isPaused)> setMonitoringPaused;
    std::function<bool()> isOnboardingDone;
    /// The application is no longer the active one. Empty: the launcher is hidden.
    std::function<void()> applicationDidResignActive;
};

/// When the panel has the keyboard and when it goes away: all its rules, none of its pixels.
///
/// It is key from becomeKeyWindow() to the next resignation, each of which is announced once. The
/// window system's reports come in through the functions of the second group. Main thread; owned by
/// the panel, which is its window.
class PanelLogic {
public:
    PanelLogic(PanelWindow &window, PanelSurroundings surroundings);
    ~PanelLogic();
    Q_DISABLE_COPY_MOVE(PanelLogic)

    /// A panel that has no keyboard 400 ms later asks once more, and is put away when the active
    /// window next changes while it still has none.
    void makeKeyAndOrderFront();
    void becomeKeyWindow();
    void resignKeyWindow();
    /// Without effect until the first run is done.
    void hideLauncher();
    /// Resigns although nobody took the keyboard: a file was handed to another program, or the user
    /// is done. Without effect on a panel that is away, and until the first run is done.
    void giveUpKey();
    bool isKeyWindow() const { return _isKey; }

    void onKeyboardGained();
    /// The keyboard went to another window, of this program or any other.
    void onKeyboardLost();
    /// Another program became the active one; a loss of the keyboard is reported before this.
    void onApplicationInactive();
    /// Another window than before is active on the desktop, as far as the desktop tells.
    void onActiveWindowChanged();
    /// Another window of this program, one that takes the keyboard, is gone. Some window managers
    /// then leave the keyboard nowhere, or give it away for a moment.
    void onOwnWindowClosed();

private:
    void announce(QStringView name);
    void resignActive();

    PanelWindow &_window;
    const PanelSurroundings _surroundings;
    bool _isKey = false;
    bool _isResigning = false;
    bool _isHiding = false;
    bool _isGivenUpOn = false;  // asked twice for the keyboard, in vain
    bool _isInactiveInGrace = false;
    std::unique_ptr<base::Timer::Wait> _focusCheck;  // runs after each showing
    std::unique_ptr<base::Timer::Wait> _grace;       // runs after another window of ours is gone
    const std::shared_ptr<bool> _alive = std::make_shared<bool>(true);
};

}  // namespace vellumhound::shell
