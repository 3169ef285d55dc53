// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/MainMenu.h"

#include "keyboard/KeyboardShortcuts/KeyNames.h"

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace Flags = base::ModifierFlags;

namespace {

bool isPressedBy(const MenuItem &item, std::uint32_t modifierFlags, const QString &key)
{
    auto equivalent = item.keyEquivalent;
    auto mask = item.keyEquivalentModifierMask;
    const bool mayNeedShift = (modifierFlags & Flags::shift) || !(modifierFlags & Flags::command);
    if (mayNeedShift && equivalent.toLower() != equivalent) {
        equivalent = equivalent.toLower();
        mask |= Flags::shift;
    }
    return equivalent == key && mask == modifierFlags;
}

std::optional<MenuItem> found(
    const QList<MenuItem> &items, std::uint32_t modifierFlags, const QString &key)
{
    for (const auto &item : items) {
        if (isPressedBy(item, modifierFlags, key))
            return item;
        if (auto inside = found(item.submenu, modifierFlags, key))
            return inside;
    }
    return std::nullopt;
}

}  // namespace

std::optional<MenuItem> menuItemWithShortcut(const QList<MenuItem> &items, const Shortcut &shortcut,
    const platform::KeyCharacters &characters)
{
    const auto key = keyName(shortcut.carbonKeyCode, characters);
    return key ? found(items, shortcut.modifierFlags(), *key) : std::nullopt;
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
