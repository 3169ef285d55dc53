// SPDX-License-Identifier: GPL-3.0-or-later
// A hot key pressed while a menu of ours is open, from the window system's key to the action.
#include "base/Timer.h"
#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeKeyCharacters.h"
#include "keyboard/KeyboardShortcuts/NamedShortcuts.h"
#include "platform/linux/hotkeys/WindowKeyFeed.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "shell/widgets/MenuTracking.h"

#include <QKeyEvent>
#include <QMenu>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <linux/input-event-codes.h>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;
using keyboard::KeyboardShortcuts::NamedShortcuts;
using keyboard::KeyboardShortcuts::Shortcut;

class tst_MenuHotKeys : public QObject {
    Q_OBJECT

private:
    QTemporaryDir _place;
    base::EventLoopTimer _timer;
    settings::UserDefaults _defaults{_place.filePath(u"vellumhound"_s), _timer};
    base::NotificationCenter _notifications;
    fakes::FakeHotKeyCenter _center;
    fakes::FakeKeyCharacters _characters;
    platform::WindowKeyFeed _rawKeys{platform::KeyboardLayout::ofSession()};
    std::unique_ptr<MenuTracking> _tracking;
    std::unique_ptr<NamedShortcuts> _shortcuts;
    std::unique_ptr<QMenu> _menu;
    int _ran = 0;

    /// As the window system gives it to the window that has the keyboard.
    void press(int key, int linuxCode, Qt::KeyboardModifiers modifiers)
    {
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers, quint32(linuxCode + 8), 0, 0);
            QCoreApplication::sendEvent(_menu->windowHandle(), &event);
        }
    }

private Q_SLOTS:
    void init()
    {
        _ran = 0;
        _tracking = std::make_unique<MenuTracking>(_notifications);
        _shortcuts = std::make_unique<NamedShortcuts>(
            NamedShortcuts::Environment{_defaults, _notifications, _center, _rawKeys, _characters});
        _shortcuts->onKeyDown(
            _shortcuts->createName(u"main"_s, Shortcut(49, 0x1000)), [this] { ++_ran; });
        _menu = std::make_unique<QMenu>();
        _menu->setActiveAction(_menu->addAction(u"One"_s));
        _menu->popup({10, 10});
    }
    void cleanup()
    {
        _menu.reset();
        _shortcuts.reset();
        _tracking.reset();
    }

    void itActsAndDoesNotReachTheMenu()
    {
        QVERIFY(_center.grabs.empty());
        const QSignalSpy triggered(_menu.get(), &QMenu::triggered);

        press(Qt::Key_Space, KEY_SPACE, Qt::ControlModifier);

        QCOMPARE(_ran, 1);
        QVERIFY(_menu->isVisible());
        QCOMPARE(triggered.size(), 0);
    }

    void anyOtherKeyIsTheMenus()
    {
        const QSignalSpy triggered(_menu.get(), &QMenu::triggered);

        press(Qt::Key_Return, KEY_ENTER, {});

        QCOMPARE(_ran, 0);
        QCOMPARE(triggered.size(), 1);
    }

    void theMenusEndBringsTheHotKeyBack()
    {
        _menu->close();

        QCOMPARE(_center.numbersOf(49, 0x1000), QList{1});
        QVERIFY(!_rawKeys.isRunning());
        _center.press(49, 0x1000);
        QCOMPARE(_ran, 1);
    }
};

QTEST_MAIN(tst_MenuHotKeys)
#include "tst_MenuHotKeys.moc"
