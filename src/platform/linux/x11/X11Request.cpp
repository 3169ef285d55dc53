// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/x11/X11Request.h"

#include <cstdint>

namespace vellumhound::platform {

xcb_window_t x11RootWindow(xcb_connection_t *connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

xcb_atom_t x11Atom(xcb_connection_t *connection, std::string_view name)
{
    const X11Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection,
        xcb_intern_atom(connection, 0, std::uint16_t(name.size()), name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

}  // namespace vellumhound::platform
