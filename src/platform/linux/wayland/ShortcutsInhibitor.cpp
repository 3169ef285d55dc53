// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/ShortcutsInhibitor.h"

#include "platform/linux/wayland/WaylandConnection.h"

#include <wayland-client.h>
#include <wayland-protocols/keyboard-shortcuts-inhibit-unstable-v1.h>

namespace vellumhound::platform {

std::unique_ptr<ShortcutsInhibitor> ShortcutsInhibitor::inhibit(
    WaylandConnection &connection, QWindow *window)
{
    auto *surface = WaylandConnection::surfaceOf(window);
    auto *seat = connection.shortcutsInhibitors() && surface ? connection.makeSeat() : nullptr;
    if (!seat)
        return nullptr;
    auto *object = zwp_keyboard_shortcuts_inhibit_manager_v1_inhibit_shortcuts(
        connection.shortcutsInhibitors(), surface, seat);
    wl_seat_destroy(seat);
    // Nobody listens to it; its events go where somebody takes them off the queue.
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(object), nullptr);
    connection.flush();
    return std::unique_ptr<ShortcutsInhibitor>(new ShortcutsInhibitor(connection, object));
}

ShortcutsInhibitor::ShortcutsInhibitor(
    WaylandConnection &connection, zwp_keyboard_shortcuts_inhibitor_v1 *object)
    : _connection(connection)
    , _object(object)
{
}

ShortcutsInhibitor::~ShortcutsInhibitor()
{
    zwp_keyboard_shortcuts_inhibitor_v1_destroy(_object);
    _connection.flush();
}

}  // namespace vellumhound::platform
