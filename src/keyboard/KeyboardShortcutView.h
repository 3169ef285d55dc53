// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyShortcut.h"
#include "ui/KeyCaps.h"

#include <QStringList>

namespace vellumhound::keyboard {

/// A key shortcut as small key caps at the right end of a list row.
struct KeyboardShortcutView {
    KeyShortcut shortcut;
    ui::ColorScheme colorScheme = ui::ColorScheme::light;
    double charWidth = 16;

    ui::KeyCaps describe() const;

    bool operator==(const KeyboardShortcutView &) const = default;
};

/// The signs of a shortcut: ⌘⌥⌃⇧ in this order, then the key.
QStringList keySigns(const KeyShortcut &shortcut);

}  // namespace vellumhound::keyboard
