// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcuts/Shortcut.h"
#include "platform/KeyCharacters.h"

#include <QList>
#include <QString>

#include <optional>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// One item of the application's menu. An item that answers to two keys stands twice.
struct MenuItem {
    QString title;
    QString keyEquivalent;  ///< what the key prints, an upper-case letter for one with Shift; empty
                            ///< for an item without a key
    std::uint32_t keyEquivalentModifierMask = 0;  ///< base::ModifierFlags
    QList<MenuItem> submenu;
};

/// The application's own menu, whose keys act while the program has the keyboard. An item that only
/// shows the hot key of a name has no key here, or that hot key could not be recorded again. Main
/// thread.
class MainMenu {
public:
    virtual ~MainMenu() = default;

    virtual QList<MenuItem> itemArray() const = 0;
};

/// The first of `items` that the shortcut would press, each item's submenu before the next item.
std::optional<MenuItem> menuItemWithShortcut(const QList<MenuItem> &items, const Shortcut &shortcut,
    const platform::KeyCharacters &characters);

}  // namespace vellumhound::keyboard::KeyboardShortcuts
