// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/GnomeShortcuts.h"

#include "platform/linux/keyboard/ShortcutText.h"
#include "platform/linux/shortcuts/GnomeSettings.h"

#include <algorithm>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

/// Where one kind of desktop keeps its keys.
struct Family {
    QString name;          ///< as the user calls it
    QStringList desktops;  ///< names of sessions
    QList<const char *> schemas;
    const char *listSchema;  ///< with the list of custom keys
    QString listKey;
    const char *customSchema;
    QString customPath;  ///< before an entry of the list that is no path
};

QList<Family> families()
{
    const QList<const char *> gnomeSchemas{"org.gnome.desktop.wm.keybindings",
        "org.gnome.mutter.keybindings", "org.gnome.mutter.wayland.keybindings",
        "org.gnome.shell.keybindings", "org.gnome.settings-daemon.plugins.media-keys"};
    const auto gnome = [&](const QString &name, const QStringList &desktops) {
        return Family{name, desktops, gnomeSchemas, gnomeSchemas.last(), u"custom-keybindings"_s,
            "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding", {}};
    };
    return {
        {u"Cinnamon"_s, {u"X-Cinnamon"_s, u"Cinnamon"_s},
            {"org.cinnamon.desktop.keybindings", "org.cinnamon.desktop.keybindings.wm",
                "org.cinnamon.desktop.keybindings.media-keys"},
            "org.cinnamon.desktop.keybindings", u"custom-list"_s,
            "org.cinnamon.desktop.keybindings.custom-keybinding",
            u"/org/cinnamon/desktop/keybindings/custom-keybindings/"_s},
        gnome(u"Budgie"_s, {u"Budgie"_s}),
        gnome(u"Unity"_s, {u"Unity"_s, u"Unity7"_s}),
        gnome(u"GNOME"_s, {u"GNOME"_s, u"GNOME-Classic"_s, u"GNOME-Flashback"_s, u"ubuntu"_s}),
    };
}

/// "switch-windows-backward" reads "Switch windows backward".
QString readable(const QString &key)
{
    auto text = QString(key).replace(u'-', u' ');
    if (!text.isEmpty())
        text[0] = text[0].toUpper();
    return text;
}

class Reader {
public:
    Reader(const Family &family, const KeyCharacters &characters)
        : _family(family)
        , _characters(characters)
    {
    }

    QList<SystemShortcut> read()
    {
        for (const auto *schema : _family.schemas)
            readSchema(GnomeSettings(schema));
        const auto entries = GnomeSettings(_family.listSchema).texts(_family.listKey);
        for (const auto &entry : entries)
            readCustom(entry);
        return _found;
    }

private:
    void add(const QString &accelerator, const QString &what)
    {
        if (const auto keys = ShortcutText::fromGtk(accelerator, _characters)) {
            _found.append({keys->keyCode, keys->modifiers, true,
                what.isEmpty() ? _family.name : _family.name + u": "_s + what});
        }
    }

    void readSchema(const GnomeSettings &settings)
    {
        const auto keys = settings.keys();
        for (const auto &key : keys) {
            const auto accelerators = settings.texts(key);
            for (const auto &accelerator : accelerators) {
                if (!ShortcutText::fromGtk(accelerator, _characters))
                    continue;
                const auto summary = settings.summary(key).simplified();
                add(accelerator, summary.isEmpty() ? readable(key) : summary);
            }
        }
    }

    void readCustom(const QString &entry)
    {
        if (entry.contains("/vellumhound-"_L1))
            return;
        auto path = entry.startsWith(u'/') ? entry : _family.customPath + entry;
        if (!path.endsWith(u'/'))
            path += u'/';
        const GnomeSettings settings(_family.customSchema, path);
        const auto name = settings.texts(u"name"_s).value(0).simplified();
        const auto accelerators = settings.texts(u"binding"_s);
        for (const auto &accelerator : accelerators)
            add(accelerator, name);
    }

    const Family &_family;
    const KeyCharacters &_characters;
    QList<SystemShortcut> _found;
};

}  // namespace

QList<SystemShortcut> gnomeShortcuts(
    const QStringList &desktopNames, const KeyCharacters &characters)
{
    const auto isOf = [&](const Family &family) {
        return std::any_of(desktopNames.cbegin(), desktopNames.cend(), [&](const QString &name) {
            return family.desktops.contains(name, Qt::CaseInsensitive);
        });
    };
    const auto all = families();
    const auto found = std::find_if(all.cbegin(), all.cend(), isOf);
    return found == all.cend() ? QList<SystemShortcut>() : Reader(*found, characters).read();
}

}  // namespace vellumhound::platform
