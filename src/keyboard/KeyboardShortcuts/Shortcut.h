// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"
#include "base/Result.h"
#include "keyboard/KeyboardShortcuts/Key.h"

#include <QByteArray>
#include <QHashFunctions>

#include <optional>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// Types of the events from which a shortcut can be made.
namespace EventType {
inline constexpr int keyDown = 10;
inline constexpr int keyUp = 11;
}  // namespace EventType

/// A key with modifiers, as a hot key is recorded and stored. Names a place on the keyboard, not a
/// character.
struct Shortcut {
    int carbonKeyCode = -1;   ///< a code of base::KeyTable
    int carbonModifiers = 0;  ///< see CarbonModifiers

    Shortcut() = default;
    Shortcut(int keyCode, int modifiers)
        : carbonKeyCode(keyCode)
        , carbonModifiers(modifiers)
    {
    }
    /// `modifierFlags` as in key events.
    Shortcut(Key key, std::uint32_t modifierFlags);
    /// The shortcut that the event presses, its modifiers as they are held, without any alias.
    /// Nothing for any other type than the two, or for a key that has no code.
    static std::optional<Shortcut> ofEvent(int type, const base::KeyEvent &event);

    Key key() const { return Key{carbonKeyCode}; }
    /// Without what the stored encoding may hold beside the four.
    std::uint32_t modifierFlags() const;

    /// The JSON object of the two fields. Decoding is strict about their types; other members are
    /// passed over.
    base::Result<QByteArray> encoded() const;
    static base::Result<Shortcut> decoded(const QByteArray &json);

    bool operator==(const Shortcut &) const = default;
};

inline std::size_t qHash(const Shortcut &shortcut, std::size_t seed = 0)
{
    return qHashMulti(seed, shortcut.carbonKeyCode, shortcut.carbonModifiers);
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
