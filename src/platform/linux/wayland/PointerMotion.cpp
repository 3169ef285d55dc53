// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/PointerMotion.h"

#include "platform/linux/wayland/WaylandConnection.h"

#include <utility>
#include <wayland-client.h>
#include <wayland-protocols/relative-pointer-unstable-v1.h>

namespace vellumhound::platform {

std::unique_ptr<PointerMotion> PointerMotion::follow(WaylandConnection &connection, Moved moved)
{
    auto *pointer = WaylandConnection::pointer();
    if (!connection.relativePointers() || !pointer)
        return nullptr;
    auto *object = zwp_relative_pointer_manager_v1_get_relative_pointer(
        connection.relativePointers(), pointer);
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(object), nullptr);
    connection.flush();
    return std::unique_ptr<PointerMotion>(new PointerMotion(object, std::move(moved)));
}

PointerMotion::PointerMotion(zwp_relative_pointer_v1 *object, Moved moved)
    : _object(object)
    , _moved(std::move(moved))
{
    static constexpr zwp_relative_pointer_v1_listener listener{
        [](void *self, zwp_relative_pointer_v1 *, std::uint32_t, std::uint32_t, wl_fixed_t dx,
            wl_fixed_t dy, wl_fixed_t, wl_fixed_t) {
            static_cast<PointerMotion *>(self)->_moved(
                wl_fixed_to_double(dx), wl_fixed_to_double(dy));
        }};
    zwp_relative_pointer_v1_add_listener(_object, &listener, this);
}

PointerMotion::~PointerMotion()
{
    zwp_relative_pointer_v1_destroy(_object);
}

}  // namespace vellumhound::platform
