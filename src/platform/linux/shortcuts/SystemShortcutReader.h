// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DesktopSession.h"
#include "platform/KeyCharacters.h"
#include "platform/SystemShortcuts.h"

#include <QDBusConnection>

#include <memory>

namespace vellumhound::platform {

class KeyboardLayout;

/// The keys that the desktop of this session acts on, read from where that desktop keeps them, and
/// who holds a key on the X server or with KDE's service. Each question is answered again; with the
/// settings of a large desktop that takes some ten milliseconds.
///
/// Main thread, after the application object. What it is made of outlives it. Hot keys of ours are
/// to be withdrawn before heldByAnother is asked, or they count as another's.
class SystemShortcutReader final : public SystemShortcuts {
public:
    /// Where settings files lie and compositors listen.
    struct Places {
        QString home;
        QString configHome;         ///< XDG_CONFIG_HOME
        QStringList configFolders;  ///< XDG_CONFIG_DIRS
        QString systemFolder = QStringLiteral("/etc");
        QString swaySocket;  ///< SWAYSOCK, empty if there is none
        QString i3Socket;    ///< I3SOCK, empty if there is none

        static Places ofEnvironment();
    };

    SystemShortcutReader(const DesktopSession &session, const KeyCharacters &characters,
        std::shared_ptr<const KeyboardLayout> layout, const QDBusConnection &bus,
        const Places &places = Places::ofEnvironment());

    QList<SystemShortcut> copySymbolicHotKeys() const override;
    std::optional<SystemShortcut> heldByAnother(int keyCode, int modifiers) const override;

private:
    bool isDesktop(const QString &name) const;
    QList<SystemShortcut> ofKde() const;
    QList<SystemShortcut> ofXfce() const;
    QList<SystemShortcut> ofSway(const QString &desktop, const QString &socket) const;

    const DesktopSession &_session;
    const KeyCharacters &_characters;
    std::shared_ptr<const KeyboardLayout> _layout;
    QDBusConnection _bus;
    Places _places;
};

}  // namespace vellumhound::platform
