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
