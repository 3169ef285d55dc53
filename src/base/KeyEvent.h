// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace vellumhound::base {

/// Modifier flags of a key press, one bit each. Other bits (Caps Lock, keypad, function) may be
/// set as well; every comparison masks them away.
namespace ModifierFlags {
inline constexpr std::uint32_t capsLock = 0x10000;
inline constexpr std::uint32_t shift = 0x20000;
inline constexpr std::uint32_t control = 0x40000;
inline constexpr std::uint32_t option = 0x80000;
inline constexpr std::uint32_t command = 0x100000;
inline constexpr std::uint32_t numericPad = 0x200000;
inline constexpr std::uint32_t function = 0x800000;
/// The four that count in comparisons.
inline constexpr std::uint32_t mask = 0x1E0000;
}  // namespace ModifierFlags

/// Key codes that screens ask for. Letters, digits and signs name a position, not a character.
namespace KeyCode {
inline constexpr int f = 3;
inline constexpr int w = 13;
inline constexpr int y = 16;
inline constexpr int t = 17;
inline constexpr int returnKey = 36;
inline constexpr int k = 40;
inline constexpr int n = 45;
inline constexpr int tab = 48;
inline constexpr int space = 49;
inline constexpr int escape = 53;
inline constexpr int keypadEnter = 76;
inline constexpr int left = 123;
inline constexpr int right = 124;
inline constexpr int down = 125;
inline constexpr int up = 126;
/// A key that the table does not hold.
inline constexpr int unknown = -1;
}  // namespace KeyCode

/// One key press, translated once at the edge of the toolkit.
struct KeyEvent {
    int keyCode = KeyCode::unknown;
    std::optional<int> hotKeyCode;  ///< as which key it counts in hot keys, if as another: Num Lock
                                    ///< makes no other key of one on the keypad there
    std::uint32_t modifierFlags = 0;  ///< see ModifierFlags; the alias of Ctrl is already applied
    std::uint32_t literalFlags = 0;   ///< the modifiers as held, without any alias
    QString characters;               ///< what the layout makes of the press; may be empty
    QString
        equivalent;  ///< lower-case letter of the layout's ASCII-capable group, for key equivalents
    bool isRepeat = false;
    std::chrono::milliseconds time{0};  ///< the window system's time stamp

    /// The four compared modifiers.
    std::uint32_t modifiers() const { return modifierFlags & ModifierFlags::mask; }

    /// Return or the keypad's Enter: nothing tells them apart.
    bool isReturn() const
    {
        return keyCode == KeyCode::returnKey || keyCode == KeyCode::keypadEnter;
    }

    bool operator==(const KeyEvent &) const = default;
};

}  // namespace vellumhound::base
