// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeKeyCharacters.h"
#include "keyboard/KeyboardShortcuts/NamedShortcuts.h"
#include "platform/RawKeyFeed.h"

#include <QFile>
#include <QTemporaryDir>

namespace vellumhound::keyboard::KeyboardShortcuts {

inline const Shortcut controlSpace(49, 0x1000);
inline const Shortcut optionS(1, 0x800);
inline const Shortcut optionF(3, 0x800);

/// The named shortcuts over a desktop of fakes and a folder of their own. A process of the program
/// lives from start() to stop().
struct NamedShortcutsFixture {
    QTemporaryDir place;
    base::EventLoopTimer eventLoop;
    settings::UserDefaults defaults{place.filePath(QStringLiteral("vellumhound")), eventLoop};
    base::NotificationCenter notifications;
    fakes::FakeHotKeyCenter center;
    platform::RawKeyFeed rawKeys;
    fakes::FakeKeyCharacters layout;
    std::unique_ptr<NamedShortcuts> shortcuts;
    QList<Name> changes;  ///< names of the change notifications, in order
    base::NotificationCenter::Token token;

    NamedShortcutsFixture()
    {
        token =
            notifications.addObserver(QStringLiteral("KeyboardShortcuts_shortcutByNameDidChange"),
                nullptr, [this](const base::NotificationCenter::UserInfo &info) {
                    changes.append(info.value(QStringLiteral("name")).value<Name>());
                });
        start();
    }
    void start()
    {
        shortcuts = std::make_unique<NamedShortcuts>(
            NamedShortcuts::Environment{defaults, notifications, center, rawKeys, layout});
    }
    void stop() { shortcuts.reset(); }

    QString file(const QString &rawValue) const
    {
        return place.filePath(
            QStringLiteral("vellumhound/KeyboardShortcuts_%1.json").arg(rawValue));
    }
    QByteArray stored(const QString &rawValue) const
    {
        QFile opened(file(rawValue));
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray("no file");
    }
    bool store(const QString &rawValue, const QByteArray &bytes)
    {
        return defaults.setData(QStringLiteral("KeyboardShortcuts_") + rawValue, bytes);
    }
    void openMenu(bool isOpen)
    {
        notifications.post(isOpen ? QStringLiteral("NSMenuDidBeginTrackingNotification")
                                  : QStringLiteral("NSMenuDidEndTrackingNotification"));
    }
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
