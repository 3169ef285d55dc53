// SPDX-License-Identifier: GPL-3.0-or-later
// KDE's real service and real presses: the program of its own on X11, the part of KWin on Wayland.
#include "platform/linux/KGlobalAccelHotKeys.h"
#include "platform/linux/XkbKeyCharacters.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QProcess>
#include <QRasterWindow>
#include <QTest>

#include <algorithm>
#include <array>
#include <csignal>
#include <memory>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::HotKeyEvent;
using platform::HotKeyId;
using platform::HotKeyReport;
using platform::KGlobalAccelHotKeys;
using Presence = platform::HotKeyBackend::Presence;
using State = HotKeyReport::State;
namespace Answer = platform::HotKeyAnswer;
namespace Modifiers = platform::HotKeyModifiers;

namespace {

constexpr int spaceKey = 49;
constexpr int sKey = 1;
constexpr int tabKey = 48;
constexpr int controlSpace = (Qt::ControlModifier | Qt::Key_Space).toCombined();
constexpr int metaF10 = (Qt::MetaModifier | Qt::Key_F10).toCombined();
constexpr std::array<int, 2> hotKeyKinds{HotKeyEvent::pressed, HotKeyEvent::released};
constexpr std::array<int, 2> rawKinds{HotKeyEvent::rawKeyDown, HotKeyEvent::rawKeyUp};
const auto serviceName = u"org.kde.kglobalaccel"_s;
const auto ourComponent = u"org.vellumhound.Vellumhound"_s;
const QStringList otherAction{u"other"_s, u"act"_s, u"Other Program"_s, u"Do Something"_s};

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

bool press(const QString &keys)
{
    return run(u"xdotool"_s, {u"key"_s, keys});
}

bool isWayland()
{
    return QGuiApplication::platformName() == u"wayland";
}

/// What another program asks of the service.
QVariant call(const QString &method, const QVariantList &arguments)
{
    auto message = QDBusMessage::createMethodCall(
        serviceName, u"/kglobalaccel"_s, u"org.kde.KGlobalAccel"_s, method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message).arguments().value(0);
}

QVariant keys(const QList<int> &list)
{
    return QVariant::fromValue(list);
}

class Handler final : public platform::HotKeyCenter::EventHandler {
public:
    int handleEvent(const HotKeyEvent *event) override
    {
        if (!event->directObject) {
            raw.append(*event);
            return event->keyCode == std::uint32_t(takenRawKey) ? Answer::noError
                                                                : Answer::notHandled;
        }
        if (event->isRepeat) {
            ++repeats;
            return Answer::noError;
        }
        const auto text = event->kind == HotKeyEvent::released ? u"up %1"_s : u"down %1"_s;
        told.append(text.arg(event->directObject->number));
        return Answer::noError;
    }
    void registrationRefused(HotKeyId id, int status) override
    {
        told.append(u"refused %1: %2"_s.arg(id.number).arg(status));
    }
    void keyboardChanged() override {}

    QStringList told;
    QList<HotKeyEvent> raw;
    int takenRawKey = -1;
    int repeats = 0;
};

class KeyWindow : public QRasterWindow {
public:
    QList<int> keys;

protected:
    void keyPressEvent(QKeyEvent *event) override { keys.append(event->key()); }
};

}  // namespace

class tst_KGlobalAccel : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<platform::XkbKeyCharacters> _characters;
    std::unique_ptr<Handler> _handler;
    std::unique_ptr<KGlobalAccelHotKeys> _center;

    void make()
    {
        const auto label = [](const QString &name) { return u"Test of "_s + name; };
        _center = std::make_unique<KGlobalAccelHotKeys>(QDBusConnection::sessionBus(), *_characters,
            label, KGlobalAccelHotKeys::Options{.isPartOfCompositor = isWayland()});
        QVERIFY(_center->installEventHandler(*_handler));
        _center->addEventTypes(hotKeyKinds);
        QTRY_COMPARE(_center->presence(), Presence::present);
    }
    platform::HotKeyCenter::Registration add(
        int number, int keyCode = spaceKey, int modifiers = Modifiers::control)
    {
        return _center->registerHotKey({keyCode, modifiers, {0x54455354, number}, nameOf(number)});
    }
    static QString nameOf(int number) { return u"action-%1"_s.arg(number); }
    State stateOf(int number) const { return _center->report(nameOf(number)).state; }
    /// Until the first press arrives; those that come late are taken along.
    bool isHeard(const QString &combination, int number)
    {
        const auto heard = u"up %1"_s.arg(number);
        const bool isTold = QTest::qWaitFor([&] {
            return press(combination) &&
                   QTest::qWaitFor([&] { return _handler->told.contains(heard); }, 1000);
        });
        // Whatever was pressed before this one has been told with it.
        const auto before = _handler->told.count(heard);
        const bool isEmpty = isTold && press(combination) &&
                             QTest::qWaitFor([&] { return _handler->told.count(heard) > before; });
        _handler->told.clear();
        return isEmpty;
    }

private Q_SLOTS:
    void init()
    {
        if (!isWayland()) {
            QVERIFY(run(u"setxkbmap"_s, {u"us"_s}));
        }
        _characters = std::make_unique<platform::XkbKeyCharacters>();
        _handler = std::make_unique<Handler>();
        make();
    }
    void cleanup()
    {
        run(u"xdotool"_s, {u"keyup"_s, u"space"_s, u"keyup"_s, u"ctrl"_s});
        _center.reset();
        for (int number = 1; number <= 2; ++number)
            call(u"unregister"_s, {ourComponent, nameOf(number)});
        call(u"unregister"_s, {otherAction[0], otherAction[1]});
        _characters.reset();
    }

    void aHotKeyIsToldWhereverItIsPressed()
    {
        QCOMPARE(add(1).status, Answer::noError);
        QTRY_COMPARE(stateOf(1), State::active);
        QCOMPARE(_center->report(nameOf(1)).trigger, u"Ctrl+Space"_s);
        QVERIFY(isHeard(u"ctrl+space"_s, 1));

        QVERIFY(press(u"ctrl+space"_s));

        QTRY_COMPARE(_handler->told, (QStringList{u"down 1"_s, u"up 1"_s}));
    }

    void severalHotKeysAreToldApart()
    {
        add(1);
        add(2, sKey, Modifiers::option);
        QTRY_COMPARE(stateOf(1), State::active);
        QTRY_COMPARE(stateOf(2), State::active);
        QVERIFY(isHeard(u"ctrl+space"_s, 1));

        QVERIFY(press(u"alt+s"_s));
        QVERIFY(press(u"ctrl+s"_s));
        QVERIFY(press(u"ctrl+space"_s));

        QTRY_COMPARE(_handler->told, (QStringList{u"down 2"_s, u"up 2"_s, u"down 1"_s, u"up 1"_s}));
    }

    void aHeldKeyIsOnePress()
    {
        if (isWayland())
            QSKIP("to the nested compositor the X server's repetitions are presses of their own");
        add(1);
        QTRY_COMPARE(stateOf(1), State::active);
        QVERIFY(isHeard(u"ctrl+space"_s, 1));
        QVERIFY(run(u"xset"_s, {u"r"_s, u"rate"_s, u"100"_s, u"50"_s}));

        QVERIFY(run(u"xdotool"_s, {u"keydown"_s, u"ctrl"_s, u"keydown"_s, u"space"_s}));
        QTRY_VERIFY(_handler->repeats >= 3);
        QVERIFY(run(u"xdotool"_s, {u"keyup"_s, u"space"_s, u"keyup"_s, u"ctrl"_s}));

        QTRY_COMPARE(_handler->told, (QStringList{u"down 1"_s, u"up 1"_s}));
    }

    void aKeyOfAnotherProgramIsRefusedWithItsHolder()
    {
        call(u"doRegister"_s, {otherAction});
        call(u"setShortcut"_s, {otherAction, keys({controlSpace}), 6U});

        QCOMPARE(add(1).status, Answer::noError);

        QTRY_COMPARE(_handler->told, QStringList{u"refused 1: -9878"_s});
        QCOMPARE(stateOf(1), State::taken);
        QCOMPARE(_center->report(nameOf(1)).holder, u"Other Program (Do Something)"_s);

        // Once the other one has given it up it can be had.
        call(u"unregister"_s, {otherAction[0], otherAction[1]});
        add(1);
        QTRY_COMPARE(stateOf(1), State::active);
        QVERIFY(isHeard(u"ctrl+space"_s, 1));
    }

    void aKeyOfTheCompositorIsRefused()
    {
        if (!isWayland())
            QSKIP("there is none here");

        add(1, tabKey, Modifiers::option);

        QTRY_COMPARE(stateOf(1), State::taken);
        QCOMPARE(_center->report(nameOf(1)).holder, u"KWin (Walk Through Windows)"_s);
    }

    void aKeyChangedInTheDesktopsSettingsStaysUntilAnotherIsAskedForHere()
    {
        const auto first = add(1);
        QTRY_COMPARE(stateOf(1), State::active);
        QVERIFY(isHeard(u"ctrl+space"_s, 1));

        call(u"setForeignShortcut"_s,
            {QStringList{ourComponent, nameOf(1), QString(), QString()}, keys({metaF10})});
        QTRY_COMPARE(_center->report(nameOf(1)).trigger, u"Meta+F10"_s);
        QVERIFY(press(u"ctrl+space"_s));
        QVERIFY(press(u"super+F10"_s));
        QTRY_COMPARE(_handler->told, (QStringList{u"down 1"_s, u"up 1"_s}));

        // As when a menu was open, and as after the program's next start.
        _center->unregisterHotKey(*first.handle);
        add(1);
        QTRY_COMPARE(stateOf(1), State::active);
        QCOMPARE(_center->report(nameOf(1)).trigger, u"Meta+F10"_s);
        make();
        add(1);
        QTRY_COMPARE(stateOf(1), State::active);
        QCOMPARE(_center->report(nameOf(1)).trigger, u"Meta+F10"_s);

        make();
        add(1, sKey, Modifiers::option);
        QTRY_COMPARE(stateOf(1), State::active);
        QCOMPARE(_center->report(nameOf(1)).trigger, u"Alt+S"_s);
        QVERIFY(isHeard(u"alt+s"_s, 1));
    }

    void aKeyRemovedInTheDesktopsSettingsStaysRemoved()
    {
        add(1);
        QTRY_COMPARE(stateOf(1), State::active);

        call(u"setForeignShortcut"_s,
            {QStringList{ourComponent, nameOf(1), QString(), QString()}, keys({})});
        QTRY_COMPARE(stateOf(1), State::refused);
        make();
        add(1);

        QTRY_COMPARE(stateOf(1), State::refused);
        QVERIFY(_handler->told.isEmpty());
    }

    void aKeyGivenBackIsHeardNoMoreAndCanBeHadAgain()
    {
        const auto first = add(1);
        add(2, sKey, Modifiers::option);
        QTRY_COMPARE(stateOf(1), State::active);
        QTRY_COMPARE(stateOf(2), State::active);
        QVERIFY(isHeard(u"ctrl+space"_s, 1));

        _center->unregisterHotKey(*first.handle);
        // The desktop keeps it as the key of a program that does not run.
        const QStringList action{ourComponent, nameOf(1), QString(), QString()};
        QCOMPARE(qdbus_cast<QList<int>>(call(u"shortcut"_s, {action})), QList{controlSpace});
        QVERIFY(press(u"ctrl+space"_s));
        QVERIFY(press(u"alt+s"_s));
        QTRY_COMPARE(_handler->told, (QStringList{u"down 2"_s, u"up 2"_s}));

        add(1);
        QTRY_COMPARE(stateOf(1), State::active);
        QVERIFY(isHeard(u"ctrl+space"_s, 1));
    }

    void noKeyIsHeldWhenTheProgramHasEnded()
    {
        add(1);
        QTRY_COMPARE(stateOf(1), State::active);

        const auto isActive = [] {
            auto message = QDBusMessage::createMethodCall(serviceName,
                u"/component/org_vellumhound_Vellumhound"_s, u"org.kde.kglobalaccel.Component"_s,
                u"isActive"_s);
            return QDBusConnection::sessionBus().call(message).arguments().value(0).toBool();
        };
        QVERIFY(isActive());

        _center.reset();

        QTRY_VERIFY(!isActive());
    }

    void aServiceThatEndedAndCameBackGetsAllKeysAgain()
    {
        if (isWayland())
            QSKIP("the compositor would have to end");
        add(1);
        QTRY_COMPARE(stateOf(1), State::active);
        auto *bus = QDBusConnection::sessionBus().interface();
        const auto process = bus->servicePid(serviceName).value();
        QVERIFY(process > 1);

        QCOMPARE(::kill(pid_t(process), SIGKILL), 0);
        QTRY_COMPARE(stateOf(1), State::waiting);
        bus->startService(serviceName);

        QTRY_COMPARE(stateOf(1), State::active);
        QVERIFY(isHeard(u"ctrl+space"_s, 1));
    }

    void onAnotherLayoutAKeyGoesWithItsLetter()
    {
        if (isWayland())
            QSKIP("the nested compositor has a layout of its own");
        add(1, sKey, Modifiers::option);
        QTRY_COMPARE(stateOf(1), State::active);
        QVERIFY(isHeard(u"alt+s"_s, 1));

        QVERIFY(run(u"setxkbmap"_s, {u"us"_s, u"-variant"_s, u"dvorak"_s}));

        QVERIFY(isHeard(u"alt+s"_s, 1));
    }

    void rawKeysAreThoseOfOurWindowsAndMayBeTaken()
    {
        KeyWindow window;
        window.resize(400, 300);
        window.show();
        window.requestActivate();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        _center->addEventTypes(rawKinds);
        QTRY_VERIFY((press(u"a"_s), window.keys.contains(Qt::Key_A)));
        _handler->raw.clear();
        _handler->takenRawKey = spaceKey;

        QVERIFY(press(u"ctrl+space"_s));
        QVERIFY(press(u"b"_s));

        QTRY_VERIFY(window.keys.contains(Qt::Key_B));
        QVERIFY(!window.keys.contains(Qt::Key_Space));
        const auto isPress = [](const HotKeyEvent &event) {
            return event.kind == HotKeyEvent::rawKeyDown && event.keyCode == spaceKey &&
                   event.modifiers == std::uint32_t(Modifiers::control);
        };
        QCOMPARE(std::count_if(_handler->raw.cbegin(), _handler->raw.cend(), isPress), 1);
    }
};

QTEST_MAIN(tst_KGlobalAccel)
#include "tst_KGlobalAccel.moc"
