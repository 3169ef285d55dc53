// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/DesktopKeyboardGrab.h"

#include "platform/linux/wayland/ShortcutsInhibitor.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Desktop.h"
#include "platform/linux/x11/X11Request.h"
#include "platform/Logging.h"

#include <QCoreApplication>
#include <QWindow>

#include <utility>

namespace vellumhound::platform {

DesktopKeyboardGrab::DesktopKeyboardGrab() = default;

DesktopKeyboardGrab::~DesktopKeyboardGrab()
{
    release();
}

KeyboardGrab::Token DesktopKeyboardGrab::grab(QWindow *window)
{
    release();
    if (!window || !(x11Connection() ? grabOnX11() : grabOnWayland(window)))
        return nullptr;
    const int number = ++_number;
    return {this, [number](DesktopKeyboardGrab *grab) {
                if (grab->_number == number)
                    grab->release();
            }};
}

bool DesktopKeyboardGrab::grabOnX11()
{
    auto *connection = x11Connection();
    // On the root window, keys of our own windows reported as usual: KWin takes a window that had
    // the grab itself for inactive ever after.
    constexpr std::uint8_t ownerEvents = 1;
    const auto request = xcb_grab_keyboard(connection, ownerEvents, x11RootWindow(connection),
        XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const X11Reply<xcb_grab_keyboard_reply_t> reply(
        xcb_grab_keyboard_reply(connection, request, nullptr));
    _hasX11Grab = reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    if (_hasX11Grab) {
        QCoreApplication::instance()->installNativeEventFilter(this);
    } else {
        qCInfo(logPlatform) << "keys of other programs cannot be recorded: the X server gives no "
                               "grab of the keyboard, status"
                            << (reply ? int(reply->status) : -1);
    }
    return _hasX11Grab;
}

/// The grab takes no focus from the window, whatever the server says of it.
bool DesktopKeyboardGrab::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    return eventType == "xcb_generic_event_t" && isFocusGrabEvent(message);
}

bool DesktopKeyboardGrab::grabOnWayland(QWindow *window)
{
    if (!_wayland)
        _wayland = WaylandConnection::open();
    if (_wayland)
        _inhibitor = ShortcutsInhibitor::inhibit(*_wayland, window);
    if (!_inhibitor) {
        qCInfo(logPlatform) << "keys of the desktop cannot be recorded: it lends its shortcuts to "
                               "no window";
    }
    return bool(_inhibitor);
}

void DesktopKeyboardGrab::release()
{
    _inhibitor.reset();
    if (!std::exchange(_hasX11Grab, false))
        return;
    QCoreApplication::instance()->removeNativeEventFilter(this);
    if (auto *connection = x11Connection()) {
        xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
        xcb_flush(connection);
    }
}

}  // namespace vellumhound::platform
