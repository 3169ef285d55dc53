// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ShortcutWriter.h"

#include <QString>
#include <QStringList>

namespace vellumhound::keyboard {

/// How the user sets a key in the desktop's own settings.
struct DesktopKeyInstructions {
    QString where;      ///< where to click, or which file to write into; a sentence
    QStringList lines;  ///< commands to run, or lines for that file, to be copied as they are

    bool operator==(const DesktopKeyInstructions &) const = default;
};

/// What the desktop has to be told.
struct DesktopKeyBinding {
    QString name;       ///< raw value of the shortcut's name
    QString label;      ///< what the key does
    int modifiers = 0;  ///< platform::HotKeyModifiers
    platform::ShortcutTexts texts;
    QString command;  ///< what the key has to run
    /// The desktop's portal knows the shortcut already and only lacks the key.
    bool isKnownByPortal = false;

    bool operator==(const DesktopKeyBinding &) const = default;
};

/// The name that a user knows the desktop by, "This desktop" for one that has none.
QString desktopTitle(const QStringList &desktopNames);

/// For a key that the desktop cannot write there are no lines but the command. Pure.
DesktopKeyInstructions describeDesktopKeyInstructions(
    const QStringList &desktopNames, const DesktopKeyBinding &binding);

}  // namespace vellumhound::keyboard
