// SPDX-License-Identifier: GPL-3.0-or-later
// Real presses on a real X server, some with a second client that holds keys of its own.
#include "platform/linux/hotkeys/WindowKeyFeed.h"
#include "platform/linux/hotkeys/X11HotKeys.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "support/OtherClient.h"
#include "support/RunProgram.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QTest>
#include <QWindow>

#include <algorithm>
#include <array>
#include <linux/input-event-codes.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::HotKeyEvent;
using platform::HotKeyId;
using support::run;
using support::xdotool;
namespace Modifiers = platform::HotKeyModifiers;
namespace Status = platform::HotKeyAnswer;

namespace {

constexpr int spaceKey = 49;
constexpr int sKey = 1;
constexpr int f9Key = 101;
constexpr int escapeKey = 53;
constexpr int keypad7Key = 89;
constexpr int badAccess = 10;
constexpr std::array<int, 2> hotKeyKinds{HotKeyEvent::pressed, HotKeyEvent::released};

class Handler final : public platform::HotKeyCenter::EventHandler {
public:
    int handleEvent(const HotKeyEvent *event) override
    {
        const auto number = event->directObject->number;
        if (event->isRepeat)
            ++repeats;
        else
            told.append(
                (event->kind == HotKeyEvent::pressed ? u"down %1"_s : u"up %1"_s).arg(number));
        return Status::noError;
    }
    void registrationRefused(HotKeyId, int) override {}
    void keyboardChanged() override { ++changes; }

    QStringList told;
    int repeats = 0;
    int changes = 0;
};

/// Keeps the keys on their way to our windows, and takes one.
struct RawKeys {
    platform::WindowKeyFeed feed{platform::KeyboardLayout::ofSession()};
    QList<HotKeyEvent> told;
    int takenKey = -1;

    RawKeys()
    {
        feed.start([this](const HotKeyEvent &event) {
            told.append(event);
            return event.keyCode == std::uint32_t(takenKey);
        });
    }
    /// How often the key went down; a repetition is no press.
    qsizetype presses(int keyCode, int modifiers) const
    {
        return std::count_if(told.cbegin(), told.cend(), [=](const HotKeyEvent &event) {
            return event.kind == HotKeyEvent::rawKeyDown &&
                   event.keyCode == std::uint32_t(keyCode) &&
                   event.modifiers == std::uint32_t(modifiers);
        });
    }
};

class KeyWindow : public QWindow {
public:
    QList<int> keys;

protected:
    void keyPressEvent(QKeyEvent *event) override { keys.append(event->key()); }
};

}  // namespace

class tst_X11HotKeys : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<platform::X11HotKeys> _center;
    std::unique_ptr<Handler> _handler;

    platform::HotKeyCenter::Registration add(int keyCode, int modifiers, int number)
    {
        return _center->registerHotKey(
            {keyCode, modifiers, {0x54455354, number}, QString::number(number)});
    }
    /// Everything pressed before has been told once this press is.
    bool isMarked()
    {
        const auto before = _handler->told.count(u"up 99"_s);
        return xdotool({u"key"_s, u"F9"_s}) &&
               QTest::qWaitFor([&] { return _handler->told.count(u"up 99"_s) > before; });
    }
    QStringList told() const
    {
        auto list = _handler->told;
        list.removeAll(u"down 99"_s);
        list.removeAll(u"up 99"_s);
        return list;
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY(run(u"setxkbmap"_s, {u"us"_s, u"-option"_s, u""_s}));
        _handler = std::make_unique<Handler>();
        _center = std::make_unique<platform::X11HotKeys>(platform::KeyboardLayout::ofSession());
        QVERIFY(_center->isSupported());
        QVERIFY(_center->installEventHandler(*_handler));
        _center->addEventTypes(hotKeyKinds);
        QCOMPARE(add(f9Key, 0, 99).status, Status::noError);
    }
    void cleanup()
    {
        _center.reset();
        xdotool({u"keyup"_s, u"space"_s, u"keyup"_s, u"ctrl"_s});
    }

    void aHotKeyIsToldWhereverItIsPressed_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("keys");
        QTest::newRow("Control Space") << spaceKey << Modifiers::control << u"ctrl+space"_s;
        QTest::newRow("Option S") << sKey << Modifiers::option << u"alt+s"_s;
        QTest::newRow("Command Space") << spaceKey << Modifiers::command << u"super+space"_s;
        QTest::newRow("all") << sKey << 0x1B00 << u"ctrl+alt+shift+super+s"_s;
        QTest::newRow("F12 alone") << 111 << 0 << u"F12"_s;
    }
    void aHotKeyIsToldWhereverItIsPressed()
    {
        QFETCH(int, keyCode);
        QFETCH(int, modifiers);
        QFETCH(QString, keys);
        QCOMPARE(add(keyCode, modifiers, 1).status, Status::noError);

        QVERIFY(xdotool({u"key"_s, keys}));

        QTRY_COMPARE(told(), (QStringList{u"down 1"_s, u"up 1"_s}));
    }

    void otherModifiersAreAnotherKey()
    {
        add(spaceKey, Modifiers::control, 1);

        for (const auto &keys : {u"space"_s, u"ctrl+shift+space"_s, u"alt+space"_s, u"ctrl+s"_s})
            QVERIFY(xdotool({u"key"_s, keys}));

        QVERIFY(isMarked());
        QCOMPARE(told(), QStringList());
    }

    void locksDoNotMatter_data()
    {
        QTest::addColumn<QStringList>("locks");
        QTest::newRow("NumLock") << QStringList{u"Num_Lock"_s};
        QTest::newRow("CapsLock") << QStringList{u"Caps_Lock"_s};
        QTest::newRow("both") << QStringList{u"Num_Lock"_s, u"Caps_Lock"_s};
    }
    void locksDoNotMatter()
    {
        QFETCH(QStringList, locks);
        add(spaceKey, Modifiers::control, 1);

        for (const auto &lock : locks)
            QVERIFY(xdotool({u"key"_s, lock}));
        QVERIFY(xdotool({u"key"_s, u"ctrl+space"_s}));
        for (const auto &lock : locks)
            QVERIFY(xdotool({u"key"_s, lock}));

        QTRY_COMPARE(told(), (QStringList{u"down 1"_s, u"up 1"_s}));
    }

    void aKeyOfAnotherProgramIsRefused()
    {
        support::OtherClient other;
        QVERIFY(other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_2));

        const auto refused = add(spaceKey, Modifiers::control, 1);

        QCOMPARE(refused.status, badAccess);
        QVERIFY(!refused.handle);
        // Nothing of the refused key is kept.
        QVERIFY(other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL));
        QVERIFY(other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_LOCK));
    }

    void aKeyGivenBackBelongsToWhoeverWantsIt()
    {
        support::OtherClient other;
        const auto registration = add(spaceKey, Modifiers::control, 1);
        QVERIFY(!other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL));

        _center->unregisterHotKey(*registration.handle);
        _center->unregisterHotKey(*registration.handle);

        QVERIFY(other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL));
        QVERIFY(xdotool({u"key"_s, u"ctrl+space"_s}));
        QVERIFY(isMarked());
        QCOMPARE(told(), QStringList());
    }

    void keysThatTheServerHasNotAreRefused()
    {
        for (const int keyCode : {-1, 52, 1000, 63})
            QVERIFY(add(keyCode, Modifiers::control, 1).status != Status::noError);
    }

    void aKeyHeldDownIsOnePress()
    {
        add(spaceKey, Modifiers::control, 1);
        QVERIFY(run(u"xset"_s, {u"r"_s, u"rate"_s, u"100"_s, u"50"_s}));

        QVERIFY(xdotool({u"keydown"_s, u"ctrl"_s, u"keydown"_s, u"space"_s}));
        QTRY_VERIFY(_handler->repeats >= 3);
        QCOMPARE(told().count(u"down 1"_s), 1);
        QVERIFY(xdotool({u"keyup"_s, u"space"_s, u"keyup"_s, u"ctrl"_s}));

        QTRY_COMPARE(told().last(), u"up 1"_s);
        QVERIFY(isMarked());
        QCOMPARE(told().count(u"down 1"_s), 1);
    }

    void theModifierMayBeReleasedFirst()
    {
        add(spaceKey, Modifiers::control, 1);

        QVERIFY(xdotool({u"keydown"_s, u"ctrl"_s, u"keydown"_s, u"space"_s, u"keyup"_s, u"ctrl"_s,
            u"keyup"_s, u"space"_s}));

        QTRY_COMPARE(told(), (QStringList{u"down 1"_s, u"up 1"_s}));
    }

    void anotherLayoutChangesNothing()
    {
        add(sKey, Modifiers::option, 1);
        const auto altS = u"alt+"_s + QString::number(KEY_S + 8);

        QVERIFY(run(u"setxkbmap"_s, {u"ru"_s}));
        QVERIFY(xdotool({u"key"_s, altS}));
        QTRY_COMPARE(told().size(), 2);
        QVERIFY(run(u"setxkbmap"_s, {u"us"_s, u"-variant"_s, u"dvorak"_s}));
        QVERIFY(xdotool({u"key"_s, altS}));

        QTRY_COMPARE(told(), (QStringList{u"down 1"_s, u"up 1"_s, u"down 1"_s, u"up 1"_s}));
        QCOMPARE(_handler->changes, 0);
    }

    void theSecondLayoutChangesNothing()
    {
        add(sKey, Modifiers::option, 1);
        QVERIFY(run(u"setxkbmap"_s, {u"us,ru"_s}));

        QVERIFY(run(QStringLiteral(XKB_GROUP),
            {u"1"_s, QString::number(KEY_LEFTALT + 8), QString::number(KEY_S + 8)}));
        QTRY_COMPARE(told(), (QStringList{u"down 1"_s, u"up 1"_s}));

        QVERIFY(run(QStringLiteral(XKB_GROUP), {u"0"_s}));
    }

    void aSwappedKeyFiresWhereItIsNow()
    {
        QVERIFY(run(u"setxkbmap"_s, {u"us"_s, u"-option"_s, u"caps:swapescape"_s}));
        QVERIFY(isMarked());
        QCOMPARE(add(escapeKey, Modifiers::control, 1).status, Status::noError);

        // The key that is Caps Lock now goes down twice, or it would stay locked.
        for (const int code : {KEY_ESC, KEY_ESC, KEY_CAPSLOCK}) {
            QVERIFY(run(QStringLiteral(XKB_GROUP),
                {u"0"_s, QString::number(KEY_LEFTCTRL + 8), QString::number(code + 8)}));
        }

        QVERIFY(isMarked());
        QCOMPARE(told(), (QStringList{u"down 1"_s, u"up 1"_s}));
    }

    void aKeyThatIsSwappedLaterIsToldAsAnotherKeyboard()
    {
        const auto registration = add(escapeKey, Modifiers::control, 1);

        QVERIFY(run(u"setxkbmap"_s, {u"us"_s, u"-option"_s, u"caps:swapescape"_s}));
        QTRY_VERIFY(_handler->changes > 0);
        _center->unregisterHotKey(*registration.handle);
        QCOMPARE(add(escapeKey, Modifiers::control, 2).status, Status::noError);
        QVERIFY(run(QStringLiteral(XKB_GROUP),
            {u"0"_s, QString::number(KEY_LEFTCTRL + 8), QString::number(KEY_CAPSLOCK + 8)}));

        QTRY_COMPARE(told(), (QStringList{u"down 2"_s, u"up 2"_s}));
    }

    void aKeyOfTheKeypadFiresWithNumLockAndWithout()
    {
        add(keypad7Key, Modifiers::control, 1);
        const QStringList chord{
            u"0"_s, QString::number(KEY_LEFTCTRL + 8), QString::number(KEY_KP7 + 8)};

        QVERIFY(run(QStringLiteral(XKB_GROUP), chord));
        QVERIFY(xdotool({u"key"_s, u"Num_Lock"_s}));
        QVERIFY(run(QStringLiteral(XKB_GROUP), chord));
        QVERIFY(xdotool({u"key"_s, u"Num_Lock"_s}));

        QTRY_COMPARE(told(), (QStringList{u"down 1"_s, u"up 1"_s, u"down 1"_s, u"up 1"_s}));
    }

    void locksThatMoveAreToldOnce()
    {
        const auto first = add(spaceKey, Modifiers::control, 1);
        QCoreApplication::processEvents();

        QVERIFY(run(u"xmodmap"_s,
            {u"-e"_s, u"remove mod2 = Num_Lock"_s, u"-e"_s, u"add mod3 = Num_Lock"_s}));
        QTRY_COMPARE(_handler->changes, 1);
        _center->unregisterHotKey(*first.handle);
        QCOMPARE(add(spaceKey, Modifiers::control, 2).status, Status::noError);
        QVERIFY(xdotool({u"key"_s, u"Num_Lock"_s, u"ctrl+space"_s, u"Num_Lock"_s}));

        QTRY_COMPARE(told(), (QStringList{u"down 2"_s, u"up 2"_s}));
        QCOMPARE(_handler->changes, 1);
    }

    void aKeyboardThatIsTakenUpAnewIsNoOtherKeyboard()
    {
        add(sKey, Modifiers::option, 1);

        for (int i = 0; i < 3; ++i) {
            QVERIFY(run(u"setxkbmap"_s, {u"de"_s}));
            QVERIFY(run(u"setxkbmap"_s, {u"us"_s}));
        }
        QVERIFY(isMarked());
        QVERIFY(xdotool({u"key"_s, u"alt+s"_s}));

        QTRY_COMPARE(told(), (QStringList{u"down 1"_s, u"up 1"_s}));
        QCOMPARE(_handler->changes, 0);
    }

    void keysWithoutNamesStillHaveHotKeys_data()
    {
        QTest::addColumn<QList<int>>("named");
        QTest::addColumn<QList<int>>("pressed");
        QTest::addColumn<QStringList>("said");
        // A modifier without a name is none for the server itself.
        QTest::newRow("modifiers have names")
            << QList{KEY_LEFTCTRL, KEY_LEFTALT} << QList{KEY_LEFTCTRL, KEY_SPACE}
            << QStringList{u"down 1"_s, u"up 1"_s};
        QTest::newRow("none has one")
            << QList<int>() << QList{KEY_F9} << QStringList{u"down 99"_s, u"up 99"_s};
    }
    void keysWithoutNamesStillHaveHotKeys()
    {
        QFETCH(QList<int>, named);
        QFETCH(QList<int>, pressed);
        QFETCH(QStringList, said);
        add(spaceKey, Modifiers::control, 1);
        QStringList emptied;
        for (int code = 8; code < 256; ++code) {
            if (!named.contains(code - 8))
                emptied << u"-e"_s << u"keycode %1 ="_s.arg(code);
        }
        QStringList chord{u"0"_s};
        for (const int linuxCode : std::as_const(pressed))
            chord.append(QString::number(linuxCode + 8));

        QVERIFY(run(u"xmodmap"_s, emptied));
        QVERIFY(run(QStringLiteral(XKB_GROUP), chord));

        QTRY_COMPARE(_handler->told, said);
        // What the server does not tell is as usual.
        QCOMPARE(add(sKey, Modifiers::command, 2).status, Status::noError);
        QCOMPARE(add(sKey, Modifiers::option, 3).status, Status::noError);
    }

    void aHeldRawKeyIsOnePress()
    {
        KeyWindow window;
        window.resize(200, 100);
        window.show();
        window.requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const RawKeys raw;
        QVERIFY(run(u"xset"_s, {u"r"_s, u"rate"_s, u"100"_s, u"50"_s}));

        QVERIFY(xdotool({u"keydown"_s, u"space"_s}));
        QTRY_VERIFY(window.keys.size() >= 3);
        QVERIFY(xdotool({u"keyup"_s, u"space"_s}));

        QVERIFY(isMarked());
        QCOMPARE(raw.presses(spaceKey, 0), 1);
    }

    void rawKeysAreThoseOfOurWindowsAndMayBeTaken()
    {
        KeyWindow window;
        window.resize(200, 100);
        window.show();
        window.requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        RawKeys raw;
        raw.takenKey = spaceKey;

        QVERIFY(xdotool({u"key"_s, u"a"_s, u"ctrl+space"_s, u"b"_s}));
        QTRY_COMPARE(window.keys, (QList<int>{Qt::Key_A, Qt::Key_Control, Qt::Key_B}));
        QCOMPARE(told(), QStringList());
        QCOMPARE(raw.presses(spaceKey, Modifiers::control), 1);

        raw.feed.stop();
        QVERIFY(xdotool({u"key"_s, u"space"_s}));
        QTRY_COMPARE(window.keys.last(), Qt::Key_Space);
    }
};

QTEST_MAIN(tst_X11HotKeys)
#include "tst_X11HotKeys.moc"
