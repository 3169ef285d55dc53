// SPDX-License-Identifier: GPL-3.0-or-later
// Which sessions the program grabs its keys in. The program is connected to an X server in all of
// them, as it is where that server runs beside a Wayland compositor.
#include "app/HotKeys.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "support/OtherClient.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

#include <linux/input-event-codes.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;

class tst_HotKeysOfSession : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keysAreGrabbedInASessionOfX11Alone_data()
    {
        QTest::addColumn<QByteArray>("sessionType");
        QTest::addColumn<QByteArray>("waylandDisplay");
        QTest::addColumn<bool>("isGrabbed");
        QTest::newRow("X11") << QByteArray("x11") << QByteArray() << true;
        QTest::newRow("X11, started by hand") << QByteArray("tty") << QByteArray() << true;
        QTest::newRow("Wayland") << QByteArray("wayland") << QByteArray("wayland-0") << false;
        QTest::newRow("Wayland, by its name alone")
            << QByteArray("wayland") << QByteArray() << false;
        QTest::newRow("Wayland, by its socket alone")
            << QByteArray() << QByteArray("wayland-0") << false;
    }
    void keysAreGrabbedInASessionOfX11Alone()
    {
        QFETCH(QByteArray, sessionType);
        QFETCH(QByteArray, waylandDisplay);
        QFETCH(bool, isGrabbed);
        qputenv("XDG_SESSION_TYPE", sessionType);
        qputenv("WAYLAND_DISPLAY", waylandDisplay);
        const QTemporaryDir place;
        base::EventLoopTimer timer;
        settings::UserDefaults defaults(place.filePath(u"vellumhound"_s), timer);
        base::NotificationCenter notifications;
        app::HotKeys hotKeys(defaults, notifications, platform::KeyboardLayout::ofSession());
        auto &shortcuts = hotKeys.shortcuts();

        shortcuts.onKeyDown(
            shortcuts.createName(u"launch"_s, keyboard::KeyboardShortcuts::Shortcut(49, 0x1000)),
            [] {});

        support::OtherClient other;
        QCOMPARE(!other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL), isGrabbed);
    }
};

QTEST_MAIN(tst_HotKeysOfSession)
#include "tst_HotKeysOfSession.moc"
