// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct wl_keyboard;
struct wl_seat;

namespace vellumhound::platform {

class WaylandConnection;

/// The keymap and the group in use, as the compositor tells them. The toolkit has them too but
/// hands them to nobody. The group is told to whom has the keyboard: without it, it is that of the
/// last time.
///
/// Main thread; made after the application object and destroyed before it.
class WaylandKeyboard {
public:
    /// Null on any other window system, and where nothing is plugged in that is called a seat.
    /// Waits for the keymap if there is a keyboard; one that comes later is followed as well.
    static std::unique_ptr<WaylandKeyboard> open();
    ~WaylandKeyboard();
    WaylandKeyboard(const WaylandKeyboard &) = delete;
    WaylandKeyboard &operator=(const WaylandKeyboard &) = delete;

    /// Whether the compositor has told any keymap yet.
    bool hasKeymap() const { return _hasKeymap; }
    /// The keymap's text if it was not taken since it came, else empty.
    std::string takeKeymap();
    /// Counts from 0.
    unsigned group() const { return _group; }

private:
    WaylandKeyboard(std::shared_ptr<WaylandConnection> connection, wl_seat *seat);
    void setCapabilities(std::uint32_t capabilities);
    void readKeymap(std::uint32_t format, int descriptor, std::uint32_t sizeBytes);

    std::shared_ptr<WaylandConnection> _connection;
    wl_seat *_seat;
    wl_keyboard *_keyboard = nullptr;  // null while none is plugged in
    std::string _keymap;               // not taken yet
    unsigned _group = 0;
    bool _areCapabilitiesTold = false;
    bool _hasKeymap = false;
};

}  // namespace vellumhound::platform
