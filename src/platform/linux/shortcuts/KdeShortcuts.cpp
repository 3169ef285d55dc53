// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/KdeShortcuts.h"

#include "platform/linux/keyboard/ShortcutText.h"

#include <QHash>
#include <QStringList>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

/// The escapes of KDE's settings files.
QString unescaped(QStringView text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        const auto c = text[++i];
        if (c == u't')
            result += u'\t';
        else if (c == u'n')
            result += u'\n';
        else if (c == u'r')
            result += u'\r';
        else if (c == u's')
            result += u' ';
        else if (c == u'\\' || c == u';')
            result += c;
        else
            result += u'\\' + QString(c);
    }
    return result;
}

/// The members of a list, in which a comma that belongs to a member has a backslash before it.
QStringList membersOf(const QString &text)
{
    QStringList members{QString()};
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\\' && i + 1 < text.size())
            members.last() += text[++i];
        else if (text[i] == u',')
            members.append(QString());
        else
            members.last() += text[i];
    }
    return members;
}

/// "[services][org.kde.krunner.desktop]" is "org.kde.krunner.desktop".
QString groupOf(QStringView line)
{
    const auto start = line.lastIndexOf(u'[');
    return unescaped(line.sliced(start + 1, line.size() - start - 2));
}

/// What a program is called that gives no better name: "org.kde.spectacle.desktop" is "Spectacle".
QString readable(const QString &group)
{
    auto name = group;
    if (name.endsWith(".desktop"_L1))
        name.chop(8);
    name = name.section(u'.', -1);
    if (!name.isEmpty())
        name[0] = name[0].toUpper();
    return name;
}

struct Entry {
    QString group;
    QString action;
    QStringList members;  // active, default, label; newer files leave out the last two
};

struct Contents {
    QList<Entry> entries;
    QHash<QString, QString> friendlyNames;  // by group
};

Contents parsed(const QByteArray &file)
{
    Contents contents;
    QString group;
    const auto text = QString::fromUtf8(file);
    const auto lines = QStringView(text).split(u'\n');
    for (const auto &untrimmed : lines) {
        const auto line = untrimmed.trimmed();
        if (line.startsWith(u'[') && line.endsWith(u']')) {
            group = groupOf(line);
            continue;
        }
        const auto equals = line.indexOf(u'=');
        if (equals <= 0 || group.isEmpty() || line.startsWith(u'#'))
            continue;
        const auto key = line.first(equals).trimmed().toString();
        const auto value = unescaped(line.sliced(equals + 1).trimmed());
        if (key == "_k_friendly_name"_L1)
            contents.friendlyNames.insert(group, value);
        else
            contents.entries.append({group, key, membersOf(value)});
    }
    return contents;
}

QString holderOf(const Entry &entry, const QHash<QString, QString> &friendlyNames)
{
    const auto program = friendlyNames.value(entry.group, readable(entry.group)).simplified();
    auto label = entry.members.value(2).simplified();
    if (label.isEmpty() && !entry.action.startsWith(u'_'))
        label = entry.action;
    return label.isEmpty() || label == program ? program : program + u": "_s + label;
}

}  // namespace

QList<SystemShortcut> kdeShortcuts(const QByteArray &file, const KeyCharacters &characters)
{
    QList<SystemShortcut> found;
    const auto contents = parsed(file);
    for (const auto &entry : contents.entries) {
        if (entry.group.contains("vellumhound"_L1, Qt::CaseInsensitive))
            continue;
        const auto texts = entry.members.value(0).split(u'\t', Qt::SkipEmptyParts);
        for (const auto &text : texts) {
            if (const auto keys = ShortcutText::fromQtText(text, characters)) {
                found.append({keys->keyCode, keys->modifiers, true,
                    holderOf(entry, contents.friendlyNames)});
            }
        }
    }
    return found;
}

}  // namespace vellumhound::platform
