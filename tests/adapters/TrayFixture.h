// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Timer.h"
#include "settings/AppSettings.h"
#include "shell/widgets/MenuTracking.h"
#include "shell/widgets/TrayItem.h"

#include <QDBusConnection>
#include <QStringList>
#include <QTemporaryDir>

namespace vellumhound::shell {

/// An item of the tray with the actions and the settings of a program, in a place of its own.
struct TrayFixture {
    QTemporaryDir place;
    base::EventLoopTimer timer;
    settings::UserDefaults defaults{place.path(), timer};
    settings::AppSettings settings{defaults};
    base::NotificationCenter notificationCenter;

    MenuState state = usualState();
    QStringList done;        ///< what the rows did
    QStringList menuEvents;  ///< "begin" and "end" of menus of ours
    base::NotificationCenter::Token menuDidBegin =
        observe(base::Notifications::NSMenuDidBeginTrackingNotification, QStringLiteral("begin"));
    base::NotificationCenter::Token menuDidEnd =
        observe(base::Notifications::NSMenuDidEndTrackingNotification, QStringLiteral("end"));

    const MenuActions actions{[this] { done.append(QStringLiteral("present")); },
        [this](settings::SettingsTab tab) { done.append(QStringLiteral("tab %1").arg(int(tab))); },
        [this] { done.append(QStringLiteral("check")); },
        [this] { done.append(QStringLiteral("terminate")); }};
    platform::TrayHost host{QDBusConnection::sessionBus(), timer};
    MenuTracking menuTracking{notificationCenter};
    TrayItem item{
        {settings.appSettings, notificationCenter, host, [this] { return state; }, actions}};

    static MenuState usualState()
    {
        MenuState usual;
        usual.launchShortcut = keyboard::KeyShortcut{U' ', base::ModifierFlags::control};
        usual.bundle = {QStringLiteral("1.2.3"), QStringLiteral("45")};
        usual.canOpenSettings = true;
        return usual;
    }

    base::NotificationCenter::Token observe(const char16_t *name, const QString &word)
    {
        return notificationCenter.addObserver(
            QString::fromUtf16(name), nullptr, [this, word] { menuEvents.append(word); });
    }
};

}  // namespace vellumhound::shell
