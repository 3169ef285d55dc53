// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/HotKeys.h"

#include "keyboard/GlobalShortcut.h"
#include "platform/linux/hotkeys/DesktopHotKeys.h"
#include "platform/linux/hotkeys/KGlobalAccelHotKeys.h"
#include "platform/linux/hotkeys/PortalHotKeys.h"
#include "platform/linux/hotkeys/X11HotKeys.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QProcessEnvironment>

using namespace Qt::StringLiterals;

namespace vellumhound::app {

namespace {

Q_LOGGING_CATEGORY(log, "vellumhound.shell")

/// Asks the session, not the connection: on a Wayland desktop an X server may run beside it, whose
/// key grabs see the keys of few programs.
std::unique_ptr<platform::HotKeyCenter> makeCenter(const platform::DesktopSession &session,
    const std::shared_ptr<const platform::KeyboardLayout> &keyboardLayout,
    const platform::KeyCharacters &keyCharacters, platform::RawKeyFeed &rawKeys)
{
    if (session.sessionType() == platform::SessionType::x11) {
        if (auto x11 = std::make_unique<platform::X11HotKeys>(keyboardLayout); x11->isSupported())
            return x11;
    }
    std::vector<std::unique_ptr<platform::HotKeyBackend>> backends;
    backends.push_back(std::make_unique<platform::KGlobalAccelHotKeys>(
        QDBusConnection::sessionBus(), keyCharacters, keyboard::hotKeyLabel));
    // The portal learns who we are before the first call on a connection, so it has one of its own.
    backends.push_back(std::make_unique<platform::PortalHotKeys>(
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"hot keys"_s),
        QGuiApplication::desktopFileName(), keyboard::hotKeyLabel, keyCharacters, rawKeys));
    return std::make_unique<platform::DesktopHotKeys>(std::move(backends));
}

}  // namespace

HotKeys::HotKeys(settings::UserDefaults &userDefaults, base::NotificationCenter &notificationCenter,
    const std::shared_ptr<const platform::KeyboardLayout> &keyboardLayout)
    : _session(QProcessEnvironment::systemEnvironment(), QCoreApplication::applicationFilePath())
    , _keyCharacters(keyboardLayout)
    , _rawKeys(keyboardLayout)
    , _center(makeCenter(_session, keyboardLayout, _keyCharacters, _rawKeys))
    , _shortcuts({userDefaults, notificationCenter, *_center, _rawKeys, _keyCharacters})
    , _status({_shortcuts, *_center, notificationCenter, _session, _writer, _keySetting},
          {keyboard::GlobalShortcut::launchVellumhound(),
              keyboard::GlobalShortcut::loadSelectedFilesFromFinder(),
              keyboard::GlobalShortcut::browseFinderWindows()})
{
    QObject::connect(&_status, &keyboard::HotKeyStatus::changed, &_status,
        [this](const QString &rawValue) { tell(rawValue); });
}

void HotKeys::tell(const QString &rawValue) const
{
    for (const auto &description : _status.descriptions()) {
        if (description.name != rawValue || description.instructions.where.isEmpty())
            continue;
        qCInfo(log).noquote() << description.sentence << description.instructions.where;
        for (const auto &line : description.instructions.lines)
            qCInfo(log).noquote() << line;
    }
}

}  // namespace vellumhound::app
