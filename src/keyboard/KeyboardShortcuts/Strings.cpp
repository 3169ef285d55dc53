// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/Strings.h"

#include <QCoreApplication>

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace {

constexpr char context[] = "KeyboardShortcuts";

struct Text {
    const char *key;
    const char *english;
};
constexpr Text texts[] = {
    {"space_key", QT_TRANSLATE_NOOP("KeyboardShortcuts", "Space")},
    {"record_shortcut", QT_TRANSLATE_NOOP("KeyboardShortcuts", "Record shortcut")},
    {"press_shortcut", QT_TRANSLATE_NOOP("KeyboardShortcuts", "Press shortcut")},
    {"keyboard_shortcut", QT_TRANSLATE_NOOP("KeyboardShortcuts", "Keyboard shortcut")},
    {"clear_shortcut", QT_TRANSLATE_NOOP("KeyboardShortcuts", "Clear shortcut")},
    {"keyboard_shortcut_used_by_menu_item",
        QT_TRANSLATE_NOOP("KeyboardShortcuts", "The menu item “%1” already has this shortcut.")},
    {"keyboard_shortcut_disallowed",
        QT_TRANSLATE_NOOP("KeyboardShortcuts",
            "Alt, alone or with Shift, is not enough here. Add Ctrl or Super to the shortcut.")},
    {"keyboard_shortcut_used_by_system",
        QT_TRANSLATE_NOOP(
            "KeyboardShortcuts", "The desktop or another program already uses this shortcut.")},
    {"keyboard_shortcut_holder", QT_TRANSLATE_NOOP("KeyboardShortcuts", "It belongs to “%1”.")},
    {"keyboard_shortcuts_can_be_changed",
        QT_TRANSLATE_NOOP("KeyboardShortcuts",
            "The shortcuts of the desktop can be changed in its keyboard settings.")},
    {"ok", QT_TRANSLATE_NOOP("KeyboardShortcuts", "OK")},
    {"force_use_shortcut", QT_TRANSLATE_NOOP("KeyboardShortcuts", "Use Anyway")},
};

}  // namespace

QString localizedString(const QString &key)
{
    for (const auto &text : texts) {
        if (key == QLatin1String(text.key))
            return QCoreApplication::translate(context, text.english);
    }
    return key;
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
