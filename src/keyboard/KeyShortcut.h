// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcuts/Shortcut.h"
#include "keyboard/KeyEquivalents.h"

#include <cstdint>
#include <optional>

namespace vellumhound::keyboard {

/// Code points by which keys that print nothing are named.
namespace KeyCharacter {
inline constexpr char32_t deleteKey = 0x08;
inline constexpr char32_t tab = 0x09;
inline constexpr char32_t returnKey = 0x0D;
inline constexpr char32_t escape = 0x1B;
inline constexpr char32_t space = 0x20;
inline constexpr char32_t upArrow = 0xF700;
inline constexpr char32_t downArrow = 0xF701;
inline constexpr char32_t leftArrow = 0xF702;
inline constexpr char32_t rightArrow = 0xF703;
inline constexpr char32_t deleteForward = 0xF728;
inline constexpr char32_t home = 0xF729;
inline constexpr char32_t end = 0xF72B;
inline constexpr char32_t pageUp = 0xF72C;
inline constexpr char32_t pageDown = 0xF72D;
inline constexpr char32_t clear = 0xF739;
}  // namespace KeyCharacter

/// The shortcut of a row or a button: a key by its character, with modifiers.
struct KeyShortcut {
    char32_t key = 0;             ///< a lower-case letter, a digit, a sign or a KeyCharacter
    std::uint32_t modifiers = 0;  ///< of base::ModifierFlags::mask

    /// How a key event is compared with it.
    KeyEquivalent keyEquivalent() const;
    /// What a recorded hot key shows on a row or a menu entry. Nothing for keys other than letters,
    /// digits, signs, Return, Space, Delete, Escape and Tab.
    static std::optional<KeyShortcut> of(const KeyboardShortcuts::Shortcut &shortcut);

    bool operator==(const KeyShortcut &) const = default;
};

}  // namespace vellumhound::keyboard
