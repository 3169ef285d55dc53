// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcuts/Shortcut.h"
#include "platform/KeyCharacters.h"

#include <QString>

#include <optional>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// How many keys have a name that no layout changes.
inline constexpr int fixedKeyNameCount = 53;

/// The name of a key: the fixed one if it has one, else what it prints on the active layout.
/// Modifiers have no influence. Nothing if the key has neither.
std::optional<QString> keyName(int keyCode, const platform::KeyCharacters &characters);

/// The signs of the modifiers in event flags, in the order ⌃⌥⇧⌘ and last the function flag.
QString modifierText(std::uint32_t modifierFlags);

/// The shortcut as the user reads it: the signs of its modifiers and the name of its key, each word
/// with a leading capital; "�" for a key without a name.
QString description(const Shortcut &shortcut, const platform::KeyCharacters &characters);

}  // namespace vellumhound::keyboard::KeyboardShortcuts
