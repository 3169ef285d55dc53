// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/XfceShortcuts.h"

#include "platform/linux/keyboard/ShortcutText.h"

#include <QMap>
#include <QStringList>
#include <QXmlStreamReader>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

using Keys = QMap<QString, QString>;  // accelerator to what it does

/// What one file says, by "commands/custom" and the like. A list of the user's own replaces the
/// one that the desktop came with.
using Channel = QMap<QString, Keys>;

/// The properties are elements within elements, each with the attribute "name".
Channel channelOf(const QByteArray &file)
{
    Channel channel;
    QStringList path;
    QXmlStreamReader xml(file);
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::EndElement && !path.isEmpty())
            path.removeLast();
        if (token != QXmlStreamReader::StartElement)
            continue;
        const auto attributes = xml.attributes();
        path.append(attributes.value("name"_L1).toString());
        // The channel, the program, whose list, the key; what lies below are details of the key.
        if (path.size() == 4 && path[3] == "override"_L1)
            channel[path[1] + u"/override"_s];
        if (path.size() == 4 && attributes.value("type"_L1) == "string"_L1)
            channel[path[1] + u'/' + path[2]].insert(
                path[3], attributes.value("value"_L1).toString());
    }
    return channel;
}

Keys keysOf(const QString &program, const Channel &user, const Channel &system)
{
    for (const auto *channel : {&user, &system}) {
        auto own = channel->value(program + u"/custom"_s);
        if (!own.isEmpty() || channel->contains(program + u"/override"_s))
            return own;
    }
    auto defaults = user.value(program + u"/default"_s);
    return defaults.isEmpty() ? system.value(program + u"/default"_s) : defaults;
}

/// "cycle_windows_key" reads "Cycle windows".
QString readable(const QString &action)
{
    auto text = action;
    if (text.endsWith("_key"_L1))
        text.chop(4);
    text.replace(u'_', u' ');
    if (!text.isEmpty())
        text[0] = text[0].toUpper();
    return text;
}

}  // namespace

QList<SystemShortcut> xfceShortcuts(
    const QByteArray &userFile, const QByteArray &systemFile, const KeyCharacters &characters)
{
    QList<SystemShortcut> found;
    const auto user = channelOf(userFile);
    const auto system = channelOf(systemFile);
    for (const auto &program : {u"commands"_s, u"xfwm4"_s}) {
        const auto keys = keysOf(program, user, system);
        for (auto it = keys.cbegin(); it != keys.cend(); ++it) {
            const auto combination = ShortcutText::fromGtk(it.key(), characters);
            const auto action = it.value().simplified();
            if (!combination || action.isEmpty() || action.contains("vellumhound"_L1))
                continue;
            found.append({combination->keyCode, combination->modifiers, true,
                u"Xfce: "_s + (program == "xfwm4"_L1 ? readable(action) : action)});
        }
    }
    return found;
}

}  // namespace vellumhound::platform
