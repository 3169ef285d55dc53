// SPDX-License-Identifier: GPL-3.0-or-later
// KDE's real service, a part of its compositor, and real presses.
#include "platform/linux/hotkeys/WindowKeyFeed.h"
#include "support/KGlobalAccelDesk.h"

#include <QDBusArgument>
#include <QKeyEvent>
#include <QRasterWindow>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::HotKeyEvent;
using Desk = support::KGlobalAccelDesk;
using State = Desk::State;
namespace Answer = platform::HotKeyAnswer;

namespace {

constexpr int controlSpace = (Qt::ControlModifier | Qt::Key_Space).toCombined();
constexpr int metaF10 = (Qt::MetaModifier | Qt::Key_F10).toCombined();
const QStringList otherAction{u"other"_s, u"act"_s, u"Other Program"_s, u"Do Something"_s};

QVariant keys(const QList<int> &list)
{
    return QVariant::fromValue(list);
}

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
    std::unique_ptr<Desk> _desk;

private Q_SLOTS:
    void init()
    {
        _desk = std::make_unique<Desk>();
        QVERIFY(_desk->start());
    }
    void cleanup()
    {
        _desk.reset();
        Desk::call(u"unregister"_s, {otherAction[0], otherAction[1]});
    }

    void aHotKeyIsToldWhereverItIsPressed()
    {
        QCOMPARE(_desk->add(1).status, Answer::noError);
        QTRY_VERIFY(_desk->isActive(1));
        QCOMPARE(_desk->reportOf(1).trigger, u"Ctrl+Space"_s);

        QVERIFY(_desk->isHeardAlone(u"ctrl+space"_s, 1));
    }

    void severalHotKeysAreToldApart()
    {
        _desk->add(1);
        _desk->add(2, Desk::sKey, Desk::option);
        QTRY_VERIFY(_desk->isActive(1));
        QTRY_VERIFY(_desk->isActive(2));

        QVERIFY(_desk->isHeardAlone(u"alt+s"_s, 2));
        QVERIFY(_desk->isHeardAlone(u"ctrl+space"_s, 1));
        _desk->told.clear();
        QVERIFY(Desk::press(u"ctrl+s"_s));
        QVERIFY(Desk::press(u"ctrl+alt+s"_s));
        QVERIFY(_desk->isAllTold());
        QCOMPARE(_desk->told, QStringList());
    }

    void aKeyOfAnotherProgramIsRefusedWithItsHolder()
    {
        Desk::call(u"doRegister"_s, {otherAction});
        Desk::call(u"setShortcut"_s, {otherAction, keys({controlSpace}), 6U});

        QCOMPARE(_desk->add(1).status, Answer::noError);

        QTRY_COMPARE(_desk->told, QStringList{u"refused 1: -9878"_s});
        QCOMPARE(_desk->stateOf(1), State::taken);
        QCOMPARE(_desk->reportOf(1).holder, u"Other Program (Do Something)"_s);

        // Once the other one has given it up it can be had.
        Desk::call(u"unregister"_s, {otherAction[0], otherAction[1]});
        _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));
        QVERIFY(_desk->isHeardAlone(u"ctrl+space"_s, 1));
    }

    void aKeyOfTheWindowManagerIsRefused()
    {
        _desk->add(1, Desk::tabKey, Desk::option);

        QTRY_COMPARE(_desk->stateOf(1), State::taken);
        QCOMPARE(_desk->reportOf(1).holder, u"KWin (Walk Through Windows)"_s);
    }

    void aKeyChangedInTheDesktopsSettingsStaysUntilAnotherIsAskedForHere()
    {
        const auto first = _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));

        Desk::call(u"setForeignShortcut"_s, {Desk::actionOf(1), keys({metaF10})});
        QTRY_COMPARE(_desk->reportOf(1).trigger, u"Meta+F10"_s);
        QVERIFY(Desk::press(u"ctrl+space"_s));
        QVERIFY(_desk->isAllTold());
        QCOMPARE(_desk->told, QStringList());
        QVERIFY(_desk->isHeardAlone(u"super+F10"_s, 1));

        // As when a menu was open, and as after the program's next start.
        _desk->center->unregisterHotKey(*first.handle);
        _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));
        QCOMPARE(_desk->reportOf(1).trigger, u"Meta+F10"_s);
        QVERIFY(_desk->start());
        _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));
        QCOMPARE(_desk->reportOf(1).trigger, u"Meta+F10"_s);

        QVERIFY(_desk->start());
        _desk->add(1, Desk::sKey, Desk::option);
        QTRY_VERIFY(_desk->isActive(1));
        QCOMPARE(_desk->reportOf(1).trigger, u"Alt+S"_s);
        QVERIFY(_desk->isHeardAlone(u"alt+s"_s, 1));
    }

    void aKeyRemovedInTheDesktopsSettingsStaysRemoved()
    {
        _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));

        Desk::call(u"setForeignShortcut"_s, {Desk::actionOf(1), keys({})});
        QTRY_COMPARE(_desk->stateOf(1), State::refused);
        QVERIFY(_desk->start());
        _desk->add(1);

        QTRY_COMPARE(_desk->stateOf(1), State::refused);
        QVERIFY(_desk->told.isEmpty());
    }

    void aKeyGivenBackIsHeardNoMoreAndCanBeHadAgain()
    {
        const auto first = _desk->add(1);
        _desk->add(2, Desk::sKey, Desk::option);
        QTRY_VERIFY(_desk->isActive(1));
        QTRY_VERIFY(_desk->isActive(2));

        _desk->center->unregisterHotKey(*first.handle);
        // The desktop keeps it as the key of a program that does not run.
        const auto kept = Desk::call(u"shortcut"_s, {Desk::actionOf(1)});
        QCOMPARE(qdbus_cast<QList<int>>(kept), QList{controlSpace});
        QVERIFY(Desk::press(u"ctrl+space"_s));
        QVERIFY(_desk->isAllTold());
        QCOMPARE(_desk->told, QStringList());
        QVERIFY(_desk->isHeardAlone(u"alt+s"_s, 2));

        _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));
        QVERIFY(_desk->isHeardAlone(u"ctrl+space"_s, 1));
    }

    void noKeyIsHeldWhenTheProgramHasEnded()
    {
        _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));

        const auto isActive = [] {
            auto message = QDBusMessage::createMethodCall(Desk::serviceName,
                u"/component/org_vellumhound_Vellumhound"_s, u"org.kde.kglobalaccel.Component"_s,
                u"isActive"_s);
            return QDBusConnection::sessionBus().call(message).arguments().value(0).toBool();
        };
        QVERIFY(isActive());

        _desk->center.reset();

        QTRY_VERIFY(!isActive());
    }

    void rawKeysAreThoseOfOurWindowsAndMayBeTaken()
    {
        KeyWindow window;
        window.resize(400, 300);
        window.show();
        window.requestActivate();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY((Desk::press(u"a"_s), window.keys.contains(Qt::Key_A)));
        int presses = 0;
        platform::WindowKeyFeed feed(platform::KeyboardLayout::ofSession());
        feed.start([&](const HotKeyEvent &event) {
            const bool isSpace = event.keyCode == std::uint32_t(Desk::spaceKey);
            presses += isSpace && event.kind == HotKeyEvent::rawKeyDown &&
                       event.modifiers == std::uint32_t(Desk::control);
            return isSpace;
        });

        QVERIFY(Desk::press(u"ctrl+space"_s));
        QVERIFY(Desk::press(u"b"_s));

        QTRY_VERIFY(window.keys.contains(Qt::Key_B));
        QVERIFY(!window.keys.contains(Qt::Key_Space));
        QCOMPARE(presses, 1);
    }
};

QTEST_MAIN(tst_KGlobalAccel)
#include "tst_KGlobalAccel.moc"
