// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/WaylandKeyboard.h"

#include "platform/linux/wayland/WaylandConnection.h"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <wayland-client.h>

namespace vellumhound::platform {

std::unique_ptr<WaylandKeyboard> WaylandKeyboard::open()
{
    auto connection = WaylandConnection::open();
    auto *seat = connection ? connection->makeSeat() : nullptr;
    return seat ? std::unique_ptr<WaylandKeyboard>(new WaylandKeyboard(std::move(connection), seat))
                : nullptr;
}

WaylandKeyboard::WaylandKeyboard(std::shared_ptr<WaylandConnection> connection, wl_seat *seat)
    : _connection(std::move(connection))
    , _seat(seat)
{
    static constexpr wl_seat_listener listener{
        [](void *self, wl_seat *, std::uint32_t capabilities) {
            static_cast<WaylandKeyboard *>(self)->setCapabilities(capabilities);
        },
        [](void *, wl_seat *, const char *) {}};
    wl_seat_add_listener(_seat, &listener, this);
    _connection->waitUntil(
        reinterpret_cast<wl_proxy *>(_seat), [this] { return _areCapabilitiesTold; });
    if (_keyboard) {
        _connection->waitUntil(
            reinterpret_cast<wl_proxy *>(_keyboard), [this] { return _hasKeymap; });
    }
}

WaylandKeyboard::~WaylandKeyboard()
{
    setCapabilities(0);
    wl_seat_destroy(_seat);
}

void WaylandKeyboard::setCapabilities(std::uint32_t capabilities)
{
    _areCapabilitiesTold = true;
    const bool isThere = capabilities & WL_SEAT_CAPABILITY_KEYBOARD;
    if (isThere == bool(_keyboard))
        return;
    if (!isThere) {
        wl_keyboard_destroy(std::exchange(_keyboard, nullptr));
        return;
    }
    static constexpr wl_keyboard_listener listener{
        [](void *self, wl_keyboard *, std::uint32_t format, int descriptor, std::uint32_t size) {
            static_cast<WaylandKeyboard *>(self)->readKeymap(format, descriptor, size);
            ::close(descriptor);
        },
        [](void *, wl_keyboard *, std::uint32_t, wl_surface *, wl_array *) {},
        [](void *, wl_keyboard *, std::uint32_t, wl_surface *) {},
        [](void *, wl_keyboard *, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
        [](void *self, wl_keyboard *, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
            std::uint32_t group) { static_cast<WaylandKeyboard *>(self)->_group = group; },
        [](void *, wl_keyboard *, std::int32_t, std::int32_t) {}};
    _keyboard = wl_seat_get_keyboard(_seat);
    wl_keyboard_add_listener(_keyboard, &listener, this);
}

void WaylandKeyboard::readKeymap(std::uint32_t format, int descriptor, std::uint32_t sizeBytes)
{
    if (format != WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 || sizeBytes == 0)
        return;
    void *text = ::mmap(nullptr, sizeBytes, PROT_READ, MAP_PRIVATE, descriptor, 0);
    if (text == MAP_FAILED)
        return;
    _keymap.assign(
        static_cast<const char *>(text), ::strnlen(static_cast<const char *>(text), sizeBytes));
    ::munmap(text, sizeBytes);
    _hasKeymap = true;
}

std::string WaylandKeyboard::takeKeymap()
{
    return std::exchange(_keymap, {});
}

}  // namespace vellumhound::platform
