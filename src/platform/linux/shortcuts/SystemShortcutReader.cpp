// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/SystemShortcutReader.h"

#include "base/NativePath.h"
#include "platform/linux/shortcuts/GnomeShortcuts.h"
#include "platform/linux/shortcuts/KdeShortcuts.h"
#include "platform/linux/shortcuts/KeyHolders.h"
#include "platform/linux/shortcuts/SettingsFile.h"
#include "platform/linux/shortcuts/SwayConnection.h"
#include "platform/linux/shortcuts/SwayShortcuts.h"
#include "platform/linux/shortcuts/XfceShortcuts.h"
#include "platform/linux/x11/X11Connection.h"

#include <QFileInfo>
#include <QProcessEnvironment>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

const auto xfceChannel = u"/xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml"_s;

}  // namespace

SystemShortcutReader::Places SystemShortcutReader::Places::ofEnvironment()
{
    const auto environment = QProcessEnvironment::systemEnvironment();
    Places places;
    places.home = base::homeDirectoryPath();
    places.configHome = environment.value(u"XDG_CONFIG_HOME"_s);
    if (places.configHome.isEmpty())
        places.configHome = places.home + u"/.config"_s;
    places.configFolders = environment.value(u"XDG_CONFIG_DIRS"_s).split(u':', Qt::SkipEmptyParts);
    if (places.configFolders.isEmpty())
        places.configFolders.append(u"/etc/xdg"_s);
    places.swaySocket = environment.value(u"SWAYSOCK"_s);
    places.i3Socket = environment.value(u"I3SOCK"_s);
    return places;
}

SystemShortcutReader::SystemShortcutReader(const DesktopSession &session,
    const KeyCharacters &characters, std::shared_ptr<const KeyboardLayout> layout,
    const QDBusConnection &bus, const Places &places)
    : _session(session)
    , _characters(characters)
    , _layout(std::move(layout))
    , _bus(bus)
    , _places(places)
{
}

bool SystemShortcutReader::isDesktop(const QString &name) const
{
    return _session.desktopNames().contains(name, Qt::CaseInsensitive);
}

QList<SystemShortcut> SystemShortcutReader::copySymbolicHotKeys() const
{
    auto found = gnomeShortcuts(_session.desktopNames(), _characters);
    if (isDesktop(u"KDE"_s))
        found += ofKde();
    if (isDesktop(u"XFCE"_s))
        found += ofXfce();
    if (isDesktop(u"sway"_s) || !_places.swaySocket.isEmpty())
        found += ofSway(u"sway"_s, _places.swaySocket);
    else if (isDesktop(u"i3"_s) || !_places.i3Socket.isEmpty())
        found += ofSway(u"i3"_s, _places.i3Socket);
    return found;
}

QList<SystemShortcut> SystemShortcutReader::ofKde() const
{
    const auto file = settingsFileContents(_places.configHome + u"/kglobalshortcutsrc"_s);
    return file ? kdeShortcuts(*file, _characters) : QList<SystemShortcut>();
}

QList<SystemShortcut> SystemShortcutReader::ofXfce() const
{
    const auto own = settingsFileContents(_places.configHome + xfceChannel);
    std::optional<QByteArray> system;
    for (const auto &folder : _places.configFolders) {
        if (!system)
            system = settingsFileContents(folder + xfceChannel);
    }
    return xfceShortcuts(own.value_or(QByteArray()), system.value_or(QByteArray()), _characters);
}

QList<SystemShortcut> SystemShortcutReader::ofSway(
    const QString &desktop, const QString &socket) const
{
    SwayConfiguration configuration;
    configuration.desktop = desktop;
    configuration.expand = expandedPaths;
    configuration.read = settingsFileContents;
    if (const auto running = runningConfiguration(socket)) {
        configuration.text = running->text;
        configuration.path = running->path;
        return swayShortcuts(configuration, _characters);
    }
    const QString candidates[] = {
        _places.home + u"/."_s + desktop + u"/config"_s,
        _places.configHome + u'/' + desktop + u"/config"_s,
        _places.systemFolder + u'/' + desktop + u"/config"_s,
    };
    for (const auto &path : candidates) {
        if (!QFileInfo::exists(path))
            continue;
        configuration.text = settingsFileContents(path).value_or(QByteArray());
        configuration.path = path;
        return swayShortcuts(configuration, _characters);
    }
    return {};
}

std::optional<SystemShortcut> SystemShortcutReader::heldByAnother(int keyCode, int modifiers) const
{
    const KeyCombination combination{keyCode, modifiers};
    if (const auto holder = holderWithKGlobalAccel(_bus, combination, _characters))
        return SystemShortcut{keyCode, modifiers, true, *holder};
    if (isHeldOnX11(x11Connection(), combination, *_layout))
        return SystemShortcut{keyCode, modifiers, true, {}};
    return std::nullopt;
}

}  // namespace vellumhound::platform
