// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/LinuxDesktopSession.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

const auto applicationId = u"org.vellumhound.Vellumhound"_s;

/// As a shell and the desktops' settings take it for one word.
QString quoted(const QString &word)
{
    const auto isPlain = [](QChar c) { return c.isLetterOrNumber() || u"/._-+"_s.contains(c); };
    if (!word.isEmpty() && std::all_of(word.cbegin(), word.cend(), isPlain))
        return word;
    return u'\'' + QString(word).replace(u'\'', u"'\\''"_s) + u'\'';
}

}  // namespace

LinuxDesktopSession::LinuxDesktopSession(
    const QProcessEnvironment &environment, const QString &program, const QString &flatpakInfo)
    : _environment(environment)
    , _program(program)
    , _isFlatpak(QFileInfo::exists(flatpakInfo))
{
}

QStringList LinuxDesktopSession::desktopNames() const
{
    auto names = _environment.value(u"XDG_CURRENT_DESKTOP"_s).split(u':', Qt::SkipEmptyParts);
    if (!names.isEmpty())
        return names;
    // Compositors that are started by hand leave the name out, but not their own marks.
    const std::pair<QString, QString> marks[] = {
        {u"SWAYSOCK"_s, u"sway"_s},
        {u"HYPRLAND_INSTANCE_SIGNATURE"_s, u"Hyprland"_s},
        {u"LABWC_PID"_s, u"labwc"_s},
        {u"I3SOCK"_s, u"i3"_s},
        {u"KDE_FULL_SESSION"_s, u"KDE"_s},
    };
    for (const auto &[variable, name] : marks) {
        if (!_environment.value(variable).isEmpty())
            return {name};
    }
    return names;
}

SessionType LinuxDesktopSession::sessionType() const
{
    const auto type = _environment.value(u"XDG_SESSION_TYPE"_s);
    if (type == "x11"_L1)
        return SessionType::x11;
    if (type == "wayland"_L1 || !_environment.value(u"WAYLAND_DISPLAY"_s).isEmpty())
        return SessionType::wayland;
    return _environment.value(u"DISPLAY"_s).isEmpty() ? SessionType::unknown : SessionType::x11;
}

QString LinuxDesktopSession::command(const QString &action) const
{
    if (!action.isEmpty())
        return u"gapplication action %1 %2"_s.arg(applicationId, quoted(action));
    if (_isFlatpak)
        return u"flatpak run "_s + applicationId;
    const QFileInfo own(_program);
    const auto folders =
        _environment.value(u"PATH"_s).split(QDir::listSeparator(), Qt::SkipEmptyParts);
    const auto found = QStandardPaths::findExecutable(own.fileName(), folders);
    const bool isOnPath = !found.isEmpty() && !own.canonicalFilePath().isEmpty() &&
                          QFileInfo(found).canonicalFilePath() == own.canonicalFilePath();
    return quoted(isOnPath ? own.fileName() : own.absoluteFilePath());
}

bool LinuxDesktopSession::isDesktopEntryInstalled() const
{
    // The sandbox has its own application folders; what was installed there is known outside.
    if (_isFlatpak)
        return true;
    auto folders = _environment.value(u"XDG_DATA_DIRS"_s, u"/usr/local/share:/usr/share"_s)
                       .split(u':', Qt::SkipEmptyParts);
    const auto home = _environment.value(u"HOME"_s);
    folders.prepend(_environment.value(u"XDG_DATA_HOME"_s, home + u"/.local/share"_s));
    return std::any_of(folders.cbegin(), folders.cend(), [](const QString &folder) {
        return QFileInfo::exists(folder + u"/applications/"_s + applicationId + u".desktop"_s);
    });
}

}  // namespace vellumhound::platform
