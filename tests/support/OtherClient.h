// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <cstdint>
#include <cstdlib>
#include <xcb/xcb.h>

namespace vellumhound::support {

/// Another program of the X server, with keys of its own.
class OtherClient {
public:
    OtherClient()
        : _connection(xcb_connect(nullptr, nullptr))
    {
    }
    ~OtherClient() { xcb_disconnect(_connection); }
    Q_DISABLE_COPY_MOVE(OtherClient)

    bool grab(int linuxCode, std::uint16_t modifiers)
    {
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(_connection)).data->root;
        auto *error = xcb_request_check(_connection,
            xcb_grab_key_checked(_connection, 0, root, modifiers, std::uint8_t(linuxCode + 8),
                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        const bool isDone = !error;
        std::free(error);
        return isDone;
    }

    /// The whole keyboard.
    bool grabKeyboard()
    {
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(_connection)).data->root;
        auto *reply = xcb_grab_keyboard_reply(_connection,
            xcb_grab_keyboard(
                _connection, 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
            nullptr);
        const bool isDone = reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
        std::free(reply);
        return isDone;
    }
    void ungrabKeyboard()
    {
        const auto request = xcb_ungrab_keyboard_checked(_connection, XCB_CURRENT_TIME);
        std::free(xcb_request_check(_connection, request));
    }
    /// Whether nobody else has the whole keyboard.
    bool isKeyboardFree()
    {
        const bool isFree = grabKeyboard();
        if (isFree)
            ungrabKeyboard();
        return isFree;
    }

private:
    xcb_connection_t *_connection;
};

}  // namespace vellumhound::support
