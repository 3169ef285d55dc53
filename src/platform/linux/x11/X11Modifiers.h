// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>

#include <cstdint>
#include <optional>

struct xcb_connection_t;

namespace vellumhound::platform {

/// Which modifier bit of the X server stands for which modifier, as the keyboard is set up at this
/// moment. Shift, Control and the Caps Lock bit are the same everywhere.
struct X11Modifiers {
    std::uint16_t option = 0x08;   ///< Alt
    std::uint16_t command = 0x40;  ///< Super
    std::uint16_t numLock = 0;     ///< 0 if no bit stands for it
    std::uint16_t scrollLock = 0;

    /// One round trip or two. What the server does not tell is as usual.
    static X11Modifiers ofServer(xcb_connection_t *connection);

    /// From HotKeyModifiers to the server's bits.
    std::uint16_t stateOf(int hotKeyModifiers) const;
    /// Every combination of the locks: a key is grabbed with each of them.
    QList<std::uint16_t> lockStates() const;
    /// The state of a key event without locks, layout and pointer buttons.
    std::uint16_t withoutLocks(std::uint16_t state) const;

    bool operator==(const X11Modifiers &) const = default;
};

}  // namespace vellumhound::platform
