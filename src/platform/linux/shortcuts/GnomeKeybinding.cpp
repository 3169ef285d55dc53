// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/GnomeKeybinding.h"

#include "platform/linux/shortcuts/GnomeSettings.h"

#include <algorithm>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

constexpr char listSchema[] = "org.gnome.settings-daemon.plugins.media-keys";
constexpr char entrySchema[] = "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding";
const auto listKey = u"custom-keybindings"_s;
const auto entryKeys = {u"name"_s, u"command"_s, u"binding"_s};

bool isName(const QString &name)
{
    return !name.isEmpty() && std::all_of(name.cbegin(), name.cend(), [](QChar c) {
        return c.unicode() < 0x80 && c.isLetterOrNumber();
    });
}

QString pathOf(const QString &name)
{
    return u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/vellumhound-%1/"_s
        .arg(name);
}

struct Values {
    QString name;
    QString command;
    QString binding;
};

bool write(GnomeSettings &entry, const Values &values)
{
    // The key last: before it, the entry does nothing.
    return entry.setText(u"name"_s, values.name) && entry.setText(u"command"_s, values.command) &&
           entry.setText(u"binding"_s, values.binding);
}

}  // namespace

bool GnomeKeybinding::isOffered() const
{
    const auto names = _session.desktopNames();
    const bool isGnome = std::any_of(names.cbegin(), names.cend(), [](const QString &name) {
        return name.startsWith("GNOME"_L1, Qt::CaseInsensitive) ||
               name.compare("Budgie"_L1, Qt::CaseInsensitive) == 0 ||
               name.startsWith("Unity"_L1, Qt::CaseInsensitive);
    });
    return isGnome && GnomeSettings(listSchema).isPresent() &&
           GnomeSettings(entrySchema, pathOf(u"x"_s)).isPresent();
}

bool GnomeKeybinding::isSet(const QString &name) const
{
    if (!isName(name) || !isOffered())
        return false;
    const auto binding = GnomeSettings(entrySchema, pathOf(name)).texts(u"binding"_s).value(0);
    return !binding.isEmpty() && GnomeSettings(listSchema).texts(listKey).contains(pathOf(name));
}

base::Outcome GnomeKeybinding::set(const Entry &entry)
{
    if (!isName(entry.name) || entry.trigger.isEmpty() || entry.command.isEmpty())
        return base::Error{u"the key cannot be written"_s};
    if (!isOffered())
        return base::Error{u"the desktop has no settings for keys"_s};
    const auto path = pathOf(entry.name);
    GnomeSettings own(entrySchema, path);
    const Values before{own.texts(u"name"_s).value(0), own.texts(u"command"_s).value(0),
        own.texts(u"binding"_s).value(0)};
    GnomeSettings list(listSchema);
    auto paths = list.texts(listKey);
    bool isDone = write(own, {entry.label, entry.command, entry.trigger});
    if (isDone && !paths.contains(path)) {
        paths.append(path);
        isDone = list.setTexts(listKey, paths);
    }
    if (!isDone)
        write(own, before);
    GnomeSettings::settle();
    if (!isDone)
        return base::Error{u"the desktop's settings may not be changed"_s};
    return std::monostate();
}

void GnomeKeybinding::remove(const QString &name)
{
    if (!isName(name) || !isOffered())
        return;
    const auto path = pathOf(name);
    GnomeSettings list(listSchema);
    auto paths = list.texts(listKey);
    if (paths.removeAll(path) > 0)
        list.setTexts(listKey, paths);
    GnomeSettings own(entrySchema, path);
    for (const auto &key : entryKeys)
        own.reset(key);
    GnomeSettings::settle();
}

}  // namespace vellumhound::platform
