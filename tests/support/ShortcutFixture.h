// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HotKeyCenter.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/ShortcutText.h"
#include "platform/linux/keyboard/XkbKeyCharacters.h"
#include "platform/SystemShortcuts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

namespace vellumhound::support {

inline platform::XkbKeyCharacters usLayout()
{
    return platform::XkbKeyCharacters(platform::KeyboardLayout::named("us", {}));
}

/// One line for each, as "Meta+L KWin: Lock Session", in alphabetical order.
inline QStringList told(const QList<platform::SystemShortcut> &shortcuts)
{
    const auto layout = usLayout();
    QStringList lines;
    for (const auto &shortcut : shortcuts) {
        const auto keys =
            platform::ShortcutText::toQtText({shortcut.keyCode, shortcut.modifiers}, layout);
        lines.append(keys + u' ' + shortcut.holder +
                     (shortcut.isEnabled ? QString() : QStringLiteral(" (off)")));
    }
    lines.sort();
    return lines;
}

inline bool writeFile(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(contents) == contents.size();
}

}  // namespace vellumhound::support
