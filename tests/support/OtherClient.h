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

private:
    xcb_connection_t *_connection;
};

}  // namespace vellumhound::support
