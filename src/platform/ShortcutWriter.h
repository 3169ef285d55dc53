// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace vellumhound::platform {

/// A key with modifiers as several desktops write it. Each is empty where the key cannot be
/// written.
struct ShortcutTexts {
    QString qt;        ///< Qt and KDE: "Ctrl+Space"
    QString gtk;       ///< GTK and GNOME: "<Control>space"
    QString sway;      ///< sway and i3: "Ctrl+space"
    QString hyprland;  ///< "CTRL, space"
    QString xkbKey;    ///< the key alone, as the X keyboard extension names it: "space"

    bool operator==(const ShortcutTexts &) const = default;
};

/// Writes keys for the desktops' own settings. Main thread.
class ShortcutWriter {
public:
    virtual ~ShortcutWriter() = default;

    /// `keyCode` of base::KeyTable, `modifiers` of HotKeyModifiers.
    virtual ShortcutTexts textsOf(int keyCode, int modifiers) const = 0;
};

}  // namespace vellumhound::platform
