// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

namespace vellumhound::platform {

struct X11Free {
    void operator()(void *memory) const { std::free(memory); }
};

/// What the X server answered, null for an error; or an error itself.
template <class T> using X11Reply = std::unique_ptr<T, X11Free>;

/// Of the first screen, the one that desktops use.
xcb_window_t x11RootWindow(xcb_connection_t *connection);
/// None if the server does not answer. One round trip.
xcb_atom_t x11Atom(xcb_connection_t *connection, std::string_view name);

}  // namespace vellumhound::platform
