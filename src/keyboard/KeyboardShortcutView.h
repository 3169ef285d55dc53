// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Color.h"
#include "keyboard/KeyShortcut.h"

#include <QStringList>

namespace vellumhound::keyboard {

enum class ColorScheme { light, dark };

/// One row of key caps, left to right, as it is to be drawn. Lengths in device-independent pixels.
struct KeyCaps {
    QStringList signs;
    double charWidth = 0;  ///< a cap's sign has at least this width
    base::Color text;
    base::Color fill;

    bool operator==(const KeyCaps &) const = default;
};

/// A key shortcut as small key caps at the right end of a list row.
struct KeyboardShortcutView {
    KeyShortcut shortcut;
    ColorScheme colorScheme = ColorScheme::light;
    double charWidth = 16;

    KeyCaps describe() const;

    bool operator==(const KeyboardShortcutView &) const = default;
};

/// The signs of a shortcut: ⌘⌥⌃⇧ in this order, then the key.
QStringList keySigns(const KeyShortcut &shortcut);

base::Color keyCapText(ColorScheme colorScheme);
base::Color keyCapFill(ColorScheme colorScheme);

}  // namespace vellumhound::keyboard
