// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/WindowKeyFeed.h"
#include "platform/linux/keyboard/KeyboardLayout.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

#include <linux/input-event-codes.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::HotKeyEvent;
using platform::WindowKeyFeed;
namespace Modifiers = platform::HotKeyModifiers;

namespace {

constexpr int spaceKey = 49;
constexpr int sKey = 1;

/// A key as the window system gives it to a window.
void send(QWindow *window, QEvent::Type type, int key, int linuxCode,
    Qt::KeyboardModifiers modifiers = {}, bool isRepeat = false)
{
    const QString text = key == Qt::Key_S ? u"s"_s : key == Qt::Key_Space ? u" "_s : QString();
    QKeyEvent event(type, key, modifiers, quint32(linuxCode + 8), 0, 0, text, isRepeat);
    QCoreApplication::sendEvent(window, &event);
}

}  // namespace

class tst_WindowKeyFeed : public QObject {
    Q_OBJECT

private:
    QList<HotKeyEvent> _told;
    int _takenKey = -1;

    platform::RawKeyFeed::Receiver receiver()
    {
        return [this](const HotKeyEvent &event) {
            _told.append(event);
            return event.keyCode == std::uint32_t(_takenKey);
        };
    }

private Q_SLOTS:
    void init()
    {
        _told.clear();
        _takenKey = -1;
    }

    void aKeyOnItsWayToAMenuIsToldByPlaceAndModifiers()
    {
        QMenu menu;
        menu.popup({});
        WindowKeyFeed feed(platform::KeyboardLayout::ofSession());
        feed.start(receiver());

        // On another layout the key that S is on a US keyboard prints something else.
        send(menu.windowHandle(), QEvent::KeyPress, Qt::Key_Odiaeresis, KEY_S,
            Qt::AltModifier | Qt::ControlModifier | Qt::ShiftModifier | Qt::MetaModifier);
        send(menu.windowHandle(), QEvent::KeyRelease, Qt::Key_Odiaeresis, KEY_S);

        QCOMPARE(_told.size(), 2);
        QCOMPARE(_told[0].kind, int(HotKeyEvent::rawKeyDown));
        QCOMPARE(_told[0].keyCode, std::uint32_t(sKey));
        QCOMPARE(_told[0].modifiers, std::uint32_t(Modifiers::option | Modifiers::control |
                                                   Modifiers::shift | Modifiers::command));
        QCOMPARE(_told[1].kind, int(HotKeyEvent::rawKeyUp));
        QCOMPARE(_told[1].modifiers, 0U);
    }

    void aKeyIsToldAsHotKeysCountIt()
    {
        QMenu menu;
        menu.popup({});
        WindowKeyFeed feed(platform::KeyboardLayout::ofSession());
        feed.start(receiver());

        // On the keypad, with Num Lock off; then keys that count as none.
        send(menu.windowHandle(), QEvent::KeyPress, Qt::Key_Home, KEY_KP7);
        send(menu.windowHandle(), QEvent::KeyPress, Qt::Key_Control, KEY_LEFTCTRL);
        send(menu.windowHandle(), QEvent::KeyPress, Qt::Key_S, -8);

        QCOMPARE(_told.size(), 1);
        QCOMPARE(_told[0].keyCode, 89U);
    }

    void aMenuStaysOpenForAKeyThatIsTakenAndObeysAnyOther()
    {
        QMenu menu;
        menu.addAction(u"one"_s);
        menu.setActiveAction(menu.actions().constFirst());
        menu.popup({});
        QSignalSpy triggered(&menu, &QMenu::triggered);
        WindowKeyFeed feed(platform::KeyboardLayout::ofSession());
        feed.start(receiver());
        _takenKey = spaceKey;

        send(menu.windowHandle(), QEvent::KeyPress, Qt::Key_Space, KEY_SPACE, Qt::ControlModifier);
        QVERIFY(menu.isVisible());
        QCOMPARE(triggered.size(), 0);

        send(menu.windowHandle(), QEvent::KeyPress, Qt::Key_Return, KEY_ENTER);
        QCOMPARE(triggered.size(), 1);
        QCOMPARE(_told.size(), 2);
    }

    void aKeyThatIsTakenReachesNothingElse()
    {
        QLineEdit edit;
        edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&edit));
        edit.setFocus();
        WindowKeyFeed feed(platform::KeyboardLayout::ofSession());
        feed.start(receiver());
        _takenKey = spaceKey;

        for (const bool isRepeat : {false, true})
            send(edit.windowHandle(), QEvent::KeyPress, Qt::Key_Space, KEY_SPACE, {}, isRepeat);
        send(edit.windowHandle(), QEvent::KeyRelease, Qt::Key_Space, KEY_SPACE);
        send(edit.windowHandle(), QEvent::KeyPress, Qt::Key_S, KEY_S);

        QCOMPARE(edit.text(), u"s"_s);
        QCOMPARE(_told.size(), 4);
        QCOMPARE(_told[1].kind, int(HotKeyEvent::rawKeyRepeat));
    }

    void aKeyIsToldOnceAndOnlyWhileTheFeedRuns()
    {
        QLineEdit edit;
        edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&edit));
        WindowKeyFeed feed(platform::KeyboardLayout::ofSession());

        send(edit.windowHandle(), QEvent::KeyPress, Qt::Key_S, KEY_S);
        QCOMPARE(_told.size(), 0);

        feed.start(receiver());
        feed.start(receiver());
        send(edit.windowHandle(), QEvent::KeyPress, Qt::Key_S, KEY_S);
        QCOMPARE(_told.size(), 1);

        feed.stop();
        send(edit.windowHandle(), QEvent::KeyPress, Qt::Key_S, KEY_S);
        QCOMPARE(_told.size(), 1);
        QCOMPARE(edit.text(), u"sss"_s);
    }

    void theReceiverMayStopTheFeed()
    {
        QLineEdit edit;
        edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&edit));
        WindowKeyFeed feed(platform::KeyboardLayout::ofSession());
        feed.start([&](const HotKeyEvent &) {
            feed.stop();
            return true;
        });

        for (int i = 0; i < 2; ++i)
            send(edit.windowHandle(), QEvent::KeyPress, Qt::Key_S, KEY_S);

        QCOMPARE(edit.text(), u"s"_s);
    }
};

QTEST_MAIN(tst_WindowKeyFeed)
#include "tst_WindowKeyFeed.moc"
