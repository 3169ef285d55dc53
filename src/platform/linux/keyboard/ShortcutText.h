// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"

#include <QString>
#include <QStringView>

#include <optional>

namespace vellumhound::platform {

/// A place on the keyboard with modifiers, as hot keys are asked for.
struct KeyCombination {
    int keyCode = -1;   ///< of base::KeyTable
    int modifiers = 0;  ///< HotKeyModifiers

    bool operator==(const KeyCombination &) const = default;
};

/// How the desktops write a key with modifiers.
///
/// Desktops name letters, digits and signs by what the key prints, we by its place: `characters`
/// says what stands where on the layout in use. A sign that needs Shift there is nothing; so is
/// every modifier but the four of ours, a modifier alone, and what is no key at all. The texts may
/// come from anywhere and be anything.
///
/// Pure. What is written reads back, where there is a reader, as the same combination on the same
/// layout.
namespace ShortcutText {

/// Qt's key with its modifiers in one number, as KGlobalAccel uses it: Ctrl+Space is 0x04000020.
/// Of a tab with Shift, both of Qt's names are read; a plain tab is written.
std::optional<int> toQt(const KeyCombination &combination, const KeyCharacters &characters);
std::optional<KeyCombination> fromQt(int key, const KeyCharacters &characters);

/// Qt's portable text: "Ctrl+Space", "Meta+S". A sequence of several is nothing.
QString toQtText(const KeyCombination &combination, const KeyCharacters &characters);
std::optional<KeyCombination> fromQtText(QStringView text, const KeyCharacters &characters);

/// Accelerators of GTK, GNOME and Xfce: "<Control><Alt>t".
QString toGtk(const KeyCombination &combination, const KeyCharacters &characters);
std::optional<KeyCombination> fromGtk(QStringView text, const KeyCharacters &characters);

/// Triggers of the portal for global shortcuts: "CTRL+ALT+t".
QString toPortal(const KeyCombination &combination, const KeyCharacters &characters);

/// Combinations of sway and i3, variables put in already: "Mod4+Shift+q".
QString toSway(const KeyCombination &combination, const KeyCharacters &characters);
std::optional<KeyCombination> fromSway(QStringView text, const KeyCharacters &characters);
/// The same with a hardware code in the place of the key, as `bindcode` takes it: "Ctrl+65".
std::optional<KeyCombination> fromSwayCode(QStringView text);

/// The first two fields of a bind of Hyprland: "CTRL SHIFT, q".
QString toHyprland(const KeyCombination &combination, const KeyCharacters &characters);

/// The key alone by its name in the X keyboard extension, as the above name it: "space", "comma".
/// Empty for a key that has none.
QString xkbName(int keyCode, const KeyCharacters &characters);

}  // namespace ShortcutText

}  // namespace vellumhound::platform
