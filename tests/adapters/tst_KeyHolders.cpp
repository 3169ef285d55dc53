// SPDX-License-Identifier: GPL-3.0-or-later
// Who has a key: a real X server with a second client, and a scripted service on the bus.
#include "platform/linux/hotkeys/X11HotKeys.h"
#include "platform/linux/shortcuts/KeyHolders.h"
#include "platform/linux/x11/X11Connection.h"
#include "support/OtherClient.h"
#include "support/Peer.h"
#include "support/RunProgram.h"
#include "support/ShortcutFixture.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTest>

#include <linux/input-event-codes.h>
#include <memory>

using namespace vellumhound;
using namespace Qt::StringLiterals;
namespace Modifiers = platform::HotKeyModifiers;

namespace {

constexpr platform::KeyCombination controlSpace{49, Modifiers::control};
constexpr int controlSpaceOfQt = 0x04000020;

QString holderOf(const platform::KeyCombination &keys)
{
    return platform::holderWithKGlobalAccel(
        QDBusConnection::sessionBus(), keys, support::usLayout())
        .value_or(u"nobody"_s);
}

bool isHeld(const platform::KeyCombination &combination)
{
    return platform::isHeldOnX11(
        platform::x11Connection(), combination, *platform::KeyboardLayout::ofSession());
}

}  // namespace

class tst_KeyHolders : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(platform::x11Connection()); }

    void aKeyThatNobodyHasIsFreeAndStaysFree()
    {
        QVERIFY(!isHeld(controlSpace));

        support::OtherClient other;
        QVERIFY(other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL));
    }

    void aKeyOfAnotherProgramIsHeld()
    {
        support::OtherClient other;
        QVERIFY(other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL));

        QVERIFY(isHeld(controlSpace));
        QVERIFY(!isHeld({49, Modifiers::option}));
        QVERIFY(!isHeld({1, Modifiers::control}));
    }

    void aKeyThatIsHeldWithALockAloneIsHeld()
    {
        support::OtherClient other;
        QVERIFY(other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_LOCK));

        QVERIFY(isHeld(controlSpace));
    }

    void aSwappedKeyIsHeldWhereItIsNow()
    {
        QVERIFY(support::run(u"setxkbmap"_s, {u"us"_s, u"-option"_s, u"caps:swapescape"_s}));
        support::OtherClient other;
        QVERIFY(other.grab(KEY_CAPSLOCK, XCB_MOD_MASK_CONTROL));

        const bool isEscapeHeld = isHeld({53, Modifiers::control});

        QVERIFY(support::run(u"setxkbmap"_s, {u"us"_s, u"-option"_s, u""_s}));
        QVERIFY(isEscapeHeld);
    }

    void askingTakesNoHotKeyAway()
    {
        platform::X11HotKeys center(platform::KeyboardLayout::ofSession());
        QVERIFY(center.registerHotKey({49, Modifiers::control, {1, 1}, u"a"_s}).handle);

        QVERIFY(isHeld(controlSpace));

        support::OtherClient other;
        QVERIFY(!other.grab(KEY_SPACE, XCB_MOD_MASK_CONTROL));
    }

    void aHotKeyThatWasJustGivenBackIsFree()
    {
        for (int round = 0; round < 50; ++round) {
            platform::X11HotKeys center(platform::KeyboardLayout::ofSession());
            const auto registration =
                center.registerHotKey({49, Modifiers::control, {1, 1}, u"a"_s});
            QVERIFY(registration.handle);

            center.unregisterHotKey(*registration.handle);

            QVERIFY(!isHeld(controlSpace));
        }
    }

    void whatIsNoKeyIsHeldByNobody()
    {
        for (const int keyCode : {-1, 52, 1000, 63})
            QVERIFY(!isHeld({keyCode, 0}));
        QVERIFY(
            !platform::isHeldOnX11(nullptr, controlSpace, *platform::KeyboardLayout::ofSession()));
    }

    void withoutTheServiceNobodyHasAKey() { QCOMPARE(holderOf(controlSpace), u"nobody"_s); }

    void theServiceNamesTheHolder()
    {
        support::Peer service;
        QVERIFY(service.start(u"key_holders.py"_s,
            {u"answer"_s, u"%1=Show menu|other.desktop|Other program"_s.arg(controlSpaceOfQt)}));

        QCOMPARE(holderOf(controlSpace), u"Other program: Show menu"_s);
        QCOMPARE(holderOf({49, Modifiers::option}), u"nobody"_s);
        QCOMPARE(holderOf({-1, Modifiers::option}), u"nobody"_s);
    }

    void oneNameIsEnoughWhereBothAreAlike()
    {
        support::Peer service;
        QVERIFY(service.start(u"key_holders.py"_s,
            {u"answer"_s, u"%1=KRunner|krunner|KRunner"_s.arg(controlSpaceOfQt)}));

        QCOMPARE(holderOf(controlSpace), u"KRunner"_s);
    }

    void ourOwnKeyIsNoObstacle()
    {
        support::Peer service;
        QVERIFY(service.start(u"key_holders.py"_s,
            {u"answer"_s, u"%1=Show|org.vellumhound.Vellumhound.desktop|Vellumhound"_s.arg(
                              controlSpaceOfQt)}));

        QCOMPARE(holderOf(controlSpace), u"nobody"_s);
    }

    void aServiceThatDoesNotAnswerIsNotWaitedFor_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::newRow("another type") << u"other"_s;
        QTest::newRow("an error") << u"fail"_s;
        QTest::newRow("silence") << u"silent"_s;
    }
    void aServiceThatDoesNotAnswerIsNotWaitedFor()
    {
        QFETCH(QString, mode);
        support::Peer service;
        QVERIFY(service.start(u"key_holders.py"_s, {mode}));
        QElapsedTimer timer;
        timer.start();

        QCOMPARE(holderOf(controlSpace), u"nobody"_s);

        // The bus itself would wait 25 seconds.
        QVERIFY2(timer.elapsed() < 15'000, qPrintable(QString::number(timer.elapsed())));
    }
};

QTEST_MAIN(tst_KeyHolders)
#include "tst_KeyHolders.moc"
