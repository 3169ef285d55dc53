// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyboardGrab.h"

#include <QAbstractNativeEventFilter>

namespace vellumhound::platform {

class ShortcutsInhibitor;
class WaylandConnection;

/// On X11 the server's keyboard grab, on Wayland the inhibition of the compositor's shortcuts. Main
/// thread; made after the application object and destroyed before it.
class DesktopKeyboardGrab final : public KeyboardGrab, public QAbstractNativeEventFilter {
public:
    DesktopKeyboardGrab();
    ~DesktopKeyboardGrab() override;
    DesktopKeyboardGrab(const DesktopKeyboardGrab &) = delete;
    DesktopKeyboardGrab &operator=(const DesktopKeyboardGrab &) = delete;

    Token grab(QWindow *window) override;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    bool grabOnX11();
    bool grabOnWayland(QWindow *window);
    void release();

    int _number = 0;  // of the latest grab; its token alone may end it
    bool _hasX11Grab = false;
    std::shared_ptr<WaylandConnection> _wayland;  // from the first grab on
    std::unique_ptr<ShortcutsInhibitor> _inhibitor;
};

}  // namespace vellumhound::platform
