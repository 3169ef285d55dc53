// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/RecorderFixture.h"

#include <QDir>
#include <QProcessEnvironment>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;

namespace {

constexpr int letterA = 0;
constexpr int letterQ = 12;
constexpr int letterK = 40;
constexpr int space = 49;
constexpr int f5 = 96;
constexpr int f12 = 111;
constexpr int tab = 48;
constexpr int escape = 53;
constexpr int backspace = 51;
constexpr int deleteForward = 117;

const auto controlK = std::optional(Shortcut(letterK, 0x1000));

using End = std::function<void(RecorderFixture &)>;

MenuItem item(const QString &title, const QString &key, std::uint32_t mask,
    const QList<MenuItem> &submenu = {})
{
    return {title, key, mask, submenu};
}

}  // namespace

class tst_RecorderCocoa : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // --- what it shows ---

    void itShowsTheCurrentShortcutWithAClearButton()
    {
        RecorderFixture f;

        QCOMPARE(f.view.value, u"⌃Space"_s);
        QCOMPARE(f.view.placeholder, u"Record shortcut"_s);
        QVERIFY(f.view.hasCancelButton);
        QVERIFY(!f.recorder->isRecording());
    }

    void withoutAShortcutItIsEmptyAndHasNoClearButton()
    {
        RecorderFixture f;
        f.shortcuts->setShortcut(f.name, std::nullopt);

        const auto again = f.make(f.view, f.name);

        QCOMPARE(f.view.value, QString());
        QVERIFY(!f.view.hasCancelButton);
    }

    void itFollowsAChangeOfItsNameThatIsMadeElsewhere()
    {
        RecorderFixture f;
        const auto other = f.shortcuts->createName(u"other"_s);

        f.shortcuts->setShortcut(other, controlK);
        QCOMPARE(f.view.value, u"⌃Space"_s);
        f.shortcuts->setShortcut(f.name, controlK);
        QCOMPARE(f.view.value, u"⌃K"_s);
        f.shortcuts->setShortcut(f.name, std::nullopt);

        QCOMPARE(f.view.value, QString());
        QVERIFY(!f.view.hasCancelButton);
    }

    void itShowsAnotherNameWhenItIsGivenOne()
    {
        RecorderFixture f;
        const auto other = f.shortcuts->createName(u"other"_s, optionS);

        f.recorder->setShortcutName(other);

        QCOMPARE(f.view.value, u"⌥S"_s);
        QCOMPARE(f.recorder->shortcutName(), other);
    }

    void aRecorderThatIsGoneIsNotTold()
    {
        RecorderFixture f;
        f.recorder.reset();
        f.view.value = u"as it was"_s;

        f.shortcuts->setShortcut(f.name, controlK);

        QCOMPARE(f.view.value, u"as it was"_s);
    }

    // --- focus and recording ---

    void itDoesNotTakeTheFocusWhenItsWindowOpens()
    {
        RecorderFixture f;
        QVERIFY(f.recorder->canBecomeKeyView());

        f.view.becomeKey();

        QVERIFY(!f.recorder->canBecomeKeyView());
        QVERIFY(!f.view.canBecomeKey);
        f.mainQueue.drain();
        QVERIFY(f.recorder->canBecomeKeyView());
        QVERIFY(f.view.canBecomeKey);
    }

    void beforeItIsInAWindowItCannotBecomeKey()
    {
        RecorderFixture f;
        ScriptedView view;
        const auto fresh = f.make(view, f.name);

        QVERIFY(!fresh->canBecomeKeyView());
        fresh->viewDidMoveToWindow(true);
        QVERIFY(!fresh->canBecomeKeyView());
        f.mainQueue.drain();
        QVERIFY(fresh->canBecomeKeyView());
    }

    void theQueuedTurnFindsARecorderThatIsGone()
    {
        RecorderFixture f;
        f.view.becomeKey();

        f.recorder.reset();
        f.mainQueue.drain();

        QVERIFY(!f.view.canBecomeKey);
    }

    void withTheFocusItRecords()
    {
        RecorderFixture f;

        QVERIFY(f.view.focus());

        QVERIFY(f.recorder->isRecording());
        QCOMPARE(f.view.placeholder, u"Press shortcut"_s);
        QVERIFY(!f.view.isInsertionPointVisible);
        QVERIFY(f.view.hasCancelButton);
        QVERIFY(f.shortcuts->isRecorderActive());
        QCOMPARE(f.statuses, QList<bool>{true});
        QCOMPARE(f.events.monitors.size(), std::size_t(1));
        QCOMPARE(f.events.monitors.begin()->second.first, std::uint64_t(1044));
    }

    void whileItRecordsItHasTheKeyboardToItself()
    {
        RecorderFixture f;
        QVERIFY(!f.keyboardGrab.isHeld());

        f.view.focus();
        QVERIFY(f.keyboardGrab.isHeld());
        f.passes(f.keyDown(backspace));
        QVERIFY(f.keyboardGrab.isHeld());
        f.passes(f.keyDown(letterK, Flags::control));

        QVERIFY(!f.recorder->isRecording());
        QVERIFY(!f.keyboardGrab.isHeld());
        QCOMPARE(f.keyboardGrab.grabs, 1);
    }

    void whateverEndsTheRecordingGivesTheKeyboardBack_data()
    {
        QTest::addColumn<End>("end");
        QTest::newRow("focus") << End([](auto &f) { f.view.blur(); });
        QTest::newRow("window loses the keyboard") << End([](auto &f) { f.view.resignKey(); });
        QTest::newRow("left the window")
            << End([](auto &f) { f.recorder->viewDidMoveToWindow(false); });
        QTest::newRow("recorder gone") << End([](auto &f) { f.recorder.reset(); });
    }
    void whateverEndsTheRecordingGivesTheKeyboardBack()
    {
        QFETCH(End, end);
        RecorderFixture f;
        f.view.focus();
        QVERIFY(f.keyboardGrab.isHeld());

        end(f);

        QVERIFY(!f.keyboardGrab.isHeld());
    }

    void anAlertIsAnsweredWithoutTheGrab()
    {
        RecorderFixture f;
        f.system.symbolicHotKeys = {{letterK, 0x1000, true, {}}};
        bool isHeldMeanwhile = true;
        f.view.duringAlert = [&] { isHeldMeanwhile = f.keyboardGrab.isHeld(); };
        f.view.focus();

        f.passes(f.keyDown(letterK, Flags::control));

        QVERIFY(!isHeldMeanwhile);
        QVERIFY(f.recorder->isRecording());
        QVERIFY(f.keyboardGrab.isHeld());
    }

    void aDesktopThatRefusesTheKeyboardLeavesTheRecording()
    {
        RecorderFixture f;
        f.keyboardGrab.isWilling = false;

        QVERIFY(f.view.focus());
        f.passes(f.keyDown(letterK, Flags::control));

        QCOMPARE(f.keyboardGrab.grabs, 1);
        QCOMPARE(f.current(), controlK);
    }

    void aFocusThatTheToolkitRefusesChangesNothing()
    {
        RecorderFixture f;
        f.view.isWillingToFocus = false;

        QVERIFY(!f.view.focus());

        QCOMPARE(f.view.placeholder, u"Record shortcut"_s);
        QVERIFY(!f.shortcuts->isRecorderActive());
        QVERIFY(f.statuses.isEmpty());
        QVERIFY(f.events.monitors.empty());
    }

    void theLossOfTheFocusEndsTheRecording()
    {
        RecorderFixture f;
        f.view.focus();

        f.recorder->controlTextDidEndEditing();

        QVERIFY(!f.recorder->isRecording());
        QCOMPARE(f.view.placeholder, u"Record shortcut"_s);
        QVERIFY(f.view.isInsertionPointVisible);
        QVERIFY(!f.shortcuts->isRecorderActive());
        QCOMPARE(f.statuses, (QList<bool>{true, false}));
        QVERIFY(f.events.monitors.empty());
        QCOMPARE(f.view.value, u"⌃Space"_s);
    }

    void aWindowThatLosesTheKeyboardEndsTheRecording()
    {
        RecorderFixture f;
        f.view.focus();

        f.view.resignKey();

        QVERIFY(!f.recorder->isRecording());
        QCOMPARE(f.statuses, (QList<bool>{true, false}));
    }

    void leavingTheWindowEndsTheRecordingAndTheObservers()
    {
        RecorderFixture f;
        f.view.focus();
        QVERIFY(f.view.isObserved());

        f.recorder->viewDidMoveToWindow(false);

        QVERIFY(!f.recorder->isRecording());
        QVERIFY(!f.shortcuts->isRecorderActive());
        QVERIFY(!f.view.isObserved());
    }

    void theEndOfARecorderThatDoesNotRecordLeavesTheOtherAlone()
    {
        RecorderFixture f;
        ScriptedView otherView;
        const auto other = f.make(otherView, f.name);
        other->viewDidMoveToWindow(true);
        f.view.focus();

        other->viewDidMoveToWindow(false);

        QVERIFY(f.shortcuts->isRecorderActive());
        QCOMPARE(f.statuses, QList<bool>{true});
    }

    void aRecorderThatGoesGivesTheHotKeysBack()
    {
        RecorderFixture f;
        f.view.focus();

        f.recorder.reset();

        QVERIFY(!f.shortcuts->isRecorderActive());
        QCOMPARE(f.statuses, (QList<bool>{true, false}));
        QVERIFY(f.events.monitors.empty());
    }

    void whileItRecordsNoHotKeyIsHeld()
    {
        RecorderFixture f;
        int presses = 0;
        f.shortcuts->onKeyDown(f.name, [&] { ++presses; });

        f.view.focus();
        QVERIFY(f.center.press(space, 0x1000).isEmpty());
        QVERIFY(!f.passes(f.keyDown(escape)));
        f.center.press(space, 0x1000);

        QCOMPARE(presses, 1);
    }

    // --- clicks ---

    void aClickFarEnoughOutsideBlursItAndGoesOn_data()
    {
        QTest::addColumn<double>("x");
        QTest::addColumn<double>("y");
        QTest::addColumn<bool>("isOutside");

        QTest::newRow("inside") << 60.0 << 12.0 << false;
        QTest::newRow("2 left") << -2.0 << 12.0 << false;
        QTest::newRow("4 left") << -4.0 << 12.0 << true;
        QTest::newRow("2 right") << 132.0 << 12.0 << false;
        QTest::newRow("4 right") << 134.0 << 12.0 << true;
        QTest::newRow("2 above") << 60.0 << -2.0 << false;
        QTest::newRow("4 above") << 60.0 << -4.0 << true;
        QTest::newRow("2 below") << 60.0 << 26.0 << false;
        QTest::newRow("4 below") << 60.0 << 28.0 << true;
        QTest::newRow("3 left, the last place inside") << -3.0 << 12.0 << false;
        QTest::newRow("3 right, the first place outside") << 133.0 << 12.0 << true;
    }
    void aClickFarEnoughOutsideBlursItAndGoesOn()
    {
        QFETCH(double, x);
        QFETCH(double, y);
        QFETCH(bool, isOutside);
        for (const int type :
            {platform::LocalEvent::leftMouseUp, platform::LocalEvent::rightMouseUp}) {
            RecorderFixture f;
            f.view.focus();

            QCOMPARE(f.passes(f.clickAt(x, y, type)), isOutside);

            QCOMPARE(f.recorder->isRecording(), !isOutside);
            QCOMPARE(f.view.calls, isOutside ? QStringList{u"blur"_s} : QStringList());
        }
    }

    // --- keys that are no shortcut ---

    void tabBlursItAndGoesOn()
    {
        RecorderFixture f;
        f.view.focus();

        QVERIFY(f.passes(f.keyDown(tab)));

        QVERIFY(!f.recorder->isRecording());
        QCOMPARE(f.current(), std::optional(controlSpace));
    }

    void escapeEndsTheRecordingAndTheOldShortcutStays()
    {
        RecorderFixture f;
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(escape)));

        QVERIFY(!f.recorder->isRecording());
        QCOMPARE(f.view.value, u"⌃Space"_s);
        QCOMPARE(f.current(), std::optional(controlSpace));
        QVERIFY(f.told.isEmpty());
    }

    void deleteClearsAndGoesOnRecording_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::newRow("backspace") << backspace;
        QTest::newRow("forward delete") << deleteForward;
    }
    void deleteClearsAndGoesOnRecording()
    {
        QFETCH(int, keyCode);
        RecorderFixture f;
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(keyCode)));

        QCOMPARE(f.view.value, QString());
        QVERIFY(!f.view.hasCancelButton);
        QVERIFY(f.recorder->isRecording());
        QCOMPARE(f.current(), std::nullopt);
        QCOMPARE(f.stored(u"launchVellumhound"_s), "false");
        QCOMPARE(f.told, QList<std::optional<Shortcut>>{std::nullopt});
        QCOMPARE(f.changes, QList<Name>{f.name});
        QVERIFY(!f.view.calls.contains(u"beep"_s));
    }

    void deleteInAnEmptyFieldDoesNothing()
    {
        RecorderFixture f;
        f.shortcuts->setShortcut(f.name, std::nullopt);
        f.changes.clear();
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(backspace)));
        QVERIFY(!f.passes(f.keyDown(deleteForward)));

        QVERIFY(f.view.calls.isEmpty());
        QVERIFY(f.told.isEmpty());
        QVERIFY(f.changes.isEmpty());
        QVERIFY(f.recorder->isRecording());
    }

    void theClearButtonClearsAndStartsToRecord()
    {
        RecorderFixture f;

        f.view.clickCancelButton();

        QCOMPARE(f.current(), std::nullopt);
        QCOMPARE(f.told, QList<std::optional<Shortcut>>{std::nullopt});
        QVERIFY(!f.view.hasCancelButton);
        QVERIFY(f.recorder->isRecording());
    }

    void anEditThatLeavesTextOnlyRefreshesTheClearButton()
    {
        RecorderFixture f;
        f.view.value = u"something"_s;
        f.view.hasCancelButton = false;

        f.recorder->controlTextDidChange();

        QVERIFY(f.view.hasCancelButton);
        QVERIFY(f.view.calls.isEmpty());
        QCOMPARE(f.current(), std::optional(controlSpace));
    }

    void aKeyWithoutARealModifierBeeps_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<quint32>("flags");

        QTest::newRow("letter") << letterA << quint32(0);
        QTest::newRow("Shift and a letter") << letterA << quint32(Flags::shift);
        QTest::newRow("letter under Caps Lock") << letterA << quint32(Flags::capsLock);
        QTest::newRow("space") << space << quint32(0);
        QTest::newRow("Return") << 36 << quint32(0);
        QTest::newRow("arrow") << 125 << quint32(Flags::function | Flags::numericPad);
        QTest::newRow("Shift and Tab") << tab << quint32(Flags::shift);
        QTest::newRow("Shift and Escape") << escape << quint32(Flags::shift);
        QTest::newRow("Shift and Delete") << backspace << quint32(Flags::shift);
        QTest::newRow("keypad") << 83 << quint32(Flags::numericPad);
        QTest::newRow("unknown key") << -1 << quint32(0);
        QTest::newRow("unknown key with Control") << -1 << quint32(Flags::control);
    }
    void aKeyWithoutARealModifierBeeps()
    {
        QFETCH(int, keyCode);
        QFETCH(quint32, flags);
        RecorderFixture f;
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(keyCode, flags)));

        QCOMPARE(f.view.calls, QStringList{u"beep"_s});
        QVERIFY(f.recorder->isRecording());
        QCOMPARE(f.current(), std::optional(controlSpace));
    }

    // --- what is taken ---

    void aShortcutIsTaken_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<quint32>("flags");
        QTest::addColumn<Shortcut>("shortcut");
        QTest::addColumn<QString>("text");

        QTest::newRow("Control and a letter")
            << letterK << quint32(Flags::control) << Shortcut(letterK, 0x1000) << u"⌃K"_s;
        QTest::newRow("Command and a letter")
            << letterK << quint32(Flags::command) << Shortcut(letterK, 0x100) << u"⌘K"_s;
        QTest::newRow("Option, Shift and a letter")
            << letterK << quint32(Flags::option | Flags::shift) << Shortcut(letterK, 0xA00)
            << u"⌥⇧K"_s;
        QTest::newRow("F5 alone") << f5 << quint32(Flags::function) << Shortcut(f5, 0) << u"F5"_s;
        QTest::newRow("Shift and F5")
            << f5 << quint32(Flags::function | Flags::shift) << Shortcut(f5, 0x200) << u"⇧F5"_s;
        QTest::newRow("Control and Tab")
            << tab << quint32(Flags::control) << Shortcut(tab, 0x1000) << u"⌃⇥"_s;
        QTest::newRow("Control and Escape")
            << escape << quint32(Flags::control) << Shortcut(escape, 0x1000) << u"⌃⎋"_s;
        QTest::newRow("Command and Delete")
            << backspace << quint32(Flags::command) << Shortcut(backspace, 0x100) << u"⌘⌫"_s;
        QTest::newRow("under Caps Lock") << letterK << quint32(Flags::control | Flags::capsLock)
                                         << Shortcut(letterK, 0x1000) << u"⌃K"_s;
        QTest::newRow("the one that it has")
            << space << quint32(Flags::control) << controlSpace << u"⌃Space"_s;
    }
    void aShortcutIsTaken()
    {
        QFETCH(int, keyCode);
        QFETCH(quint32, flags);
        QFETCH(Shortcut, shortcut);
        QFETCH(QString, text);
        RecorderFixture f;
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(keyCode, flags)));

        QCOMPARE(f.view.value, text);
        QVERIFY(f.view.hasCancelButton);
        QCOMPARE(f.current(), std::optional(shortcut));
        QCOMPARE(f.told, QList<std::optional<Shortcut>>{shortcut});
        QCOMPARE(f.changes, QList<Name>{f.name});
        QCOMPARE(f.view.calls, QStringList{u"blur"_s});
        QVERIFY(!f.recorder->isRecording());
        QCOMPARE(f.stored(u"launchVellumhound"_s),
            QByteArray("{\"carbonKeyCode\":%1,\"carbonModifiers\":%2}")
                .replace("%1", QByteArray::number(shortcut.carbonKeyCode))
                .replace("%2", QByteArray::number(shortcut.carbonModifiers)));
    }

    void keysAreTakenLiterallyWithoutTheAliasOfThePanel()
    {
        RecorderFixture f;
        f.view.focus();
        auto event = f.keyDown(letterK, Flags::control);
        event.key.modifierFlags = Flags::command;

        f.passes(event);

        QCOMPARE(f.current(), controlK);
    }

    void bothRecordersOfANameShowTheNewShortcut()
    {
        RecorderFixture f;
        ScriptedView otherView;
        const auto other = f.make(otherView, f.name);
        f.view.focus();

        f.passes(f.keyDown(letterK, Flags::control));

        QCOMPARE(f.view.value, u"⌃K"_s);
        QCOMPARE(otherView.value, u"⌃K"_s);
    }

    void whatCannotBeStoredIsNotShownAsIfItWere()
    {
        RecorderFixture f;
        f.view.focus();
        const auto file = f.file(u"launchVellumhound"_s);
        QVERIFY(QFile::remove(file));
        QVERIFY(QDir().mkpath(file + u"/not a file"_s));

        f.passes(f.keyDown(letterK, Flags::control));

        QCOMPARE(f.current(), controlSpace);
        QCOMPARE(f.view.value, u"⌃Space"_s);
        QVERIFY(f.view.hasCancelButton);
        QVERIFY(!f.recorder->isRecording());
    }

    void aRecorderMayGoInsideItsOwnChange()
    {
        RecorderFixture f;
        f.view.focus();
        f.recorder->setOnChange([&](const auto &) { f.recorder.reset(); });

        QVERIFY(!f.passes(f.keyDown(letterK, Flags::control)));

        QCOMPARE(f.current(), controlK);
        QVERIFY(!f.shortcuts->isRecorderActive());
    }

    void aRecorderMayGoWhenItIsCleared()
    {
        RecorderFixture f;
        f.view.focus();
        f.recorder->setOnChange([&](const auto &) { f.recorder.reset(); });

        QVERIFY(!f.passes(f.keyDown(backspace)));

        QCOMPARE(f.current(), std::nullopt);
        QVERIFY(!f.shortcuts->isRecorderActive());
    }

    // --- conflicts ---

    void aMenuItemRefusesTheShortcutAndRecordingGoesOn()
    {
        RecorderFixture f;
        f.menu.items = {item(u"Settings…"_s, u"k"_s, Flags::control)};
        f.view.focus();
        f.view.duringAlert = [&] { QVERIFY(!f.recorder->isRecording()); };

        QVERIFY(!f.passes(f.keyDown(letterK, Flags::control)));

        QCOMPARE(f.view.calls, (QStringList{u"blur"_s, u"alert"_s, u"focus"_s}));
        QCOMPARE(f.view.alerts,
            (QList<RecorderAlert>{
                {u"The menu item “Settings…” already has this shortcut."_s, {}, {u"OK"_s}}}));
        QVERIFY(f.recorder->isRecording());
        QCOMPARE(f.current(), std::optional(controlSpace));
        QVERIFY(f.told.isEmpty());
        QCOMPARE(f.statuses, (QList<bool>{true, false, true}));
        QCOMPARE(f.system.questions, 0);
    }

    void inASandboxOptionAndShiftAreNotEnough_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<quint32>("flags");
        QTest::addColumn<bool>("isRefused");

        QTest::newRow("Option") << letterK << quint32(Flags::option) << true;
        QTest::newRow("Option and Shift")
            << letterK << quint32(Flags::option | Flags::shift) << true;
        QTest::newRow("F5 alone") << f5 << quint32(0) << true;
        QTest::newRow("Control") << letterK << quint32(Flags::control) << false;
        QTest::newRow("Option and Command")
            << letterK << quint32(Flags::option | Flags::command) << false;
    }
    void inASandboxOptionAndShiftAreNotEnough()
    {
        QFETCH(int, keyCode);
        QFETCH(quint32, flags);
        QFETCH(bool, isRefused);
        for (const bool isSandboxed : {true, false}) {
            RecorderFixture f;
            f.isSandboxed = isSandboxed;
            f.view.focus();

            QVERIFY(!f.passes(f.keyDown(keyCode, flags)));

            const bool isExpected = isRefused && isSandboxed;
            QCOMPARE(f.view.alerts.size(), isExpected ? 1 : 0);
            QCOMPARE(f.recorder->isRecording(), isExpected);
            QCOMPARE(f.told.isEmpty(), isExpected);
            if (isExpected) {
                QCOMPARE(f.view.alerts[0],
                    (RecorderAlert{u"Alt, alone or with Shift, is not enough here. Add Ctrl or "
                                   u"Super to the shortcut."_s,
                        {}, {u"OK"_s}}));
                QCOMPARE(f.view.calls, (QStringList{u"blur"_s, u"alert"_s, u"focus"_s}));
                QCOMPARE(f.system.questions, 0);
            }
        }
    }

    void aSandboxIsToldByTheEnvironment()
    {
        QProcessEnvironment environment;
        QVERIFY(!isAppSandboxed(environment));

        environment.insert(u"APP_SANDBOX_CONTAINER_ID"_s, u""_s);

        QVERIFY(isAppSandboxed(environment));
    }

    void aKeyOfTheDesktopIsRefused_data()
    {
        QTest::addColumn<bool>("isHeld");
        QTest::addColumn<QString>("holder");
        QTest::addColumn<QString>("informativeText");

        const auto advice =
            u"The shortcuts of the desktop can be changed in its keyboard settings."_s;
        QTest::newRow("listed") << false << QString() << advice;
        QTest::newRow("held by another program") << true << QString() << advice;
        QTest::newRow("held by somebody who is known")
            << true << u"Terminal"_s << u"It belongs to “Terminal”. "_s + advice;
    }
    void aKeyOfTheDesktopIsRefused()
    {
        QFETCH(bool, isHeld);
        QFETCH(QString, holder);
        QFETCH(QString, informativeText);
        RecorderFixture f;
        auto &conflicts = isHeld ? f.system.held : f.system.symbolicHotKeys;
        conflicts = {{letterQ, 0x1000, true, {}}, {letterK, 0x1000, true, holder}};
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(letterK, Flags::control)));

        QCOMPARE(f.view.calls, (QStringList{u"blur"_s, u"alert"_s, u"focus"_s}));
        QCOMPARE(f.view.alerts,
            (QList<RecorderAlert>{{u"The desktop or another program already uses this shortcut."_s,
                informativeText, {u"OK"_s, u"Use Anyway"_s}}}));
        QVERIFY(f.recorder->isRecording());
        QCOMPARE(f.current(), std::optional(controlSpace));
        QVERIFY(f.told.isEmpty());
    }

    void theSecondButtonTakesAKeyOfTheDesktopAllTheSame()
    {
        RecorderFixture f;
        f.system.symbolicHotKeys = {{letterK, 0x1000, true, {}}};
        f.view.answer = 1001;
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(letterK, Flags::control)));

        QCOMPARE(f.view.calls, (QStringList{u"blur"_s, u"alert"_s, u"focus"_s, u"blur"_s}));
        QCOMPARE(f.current(), controlK);
        QCOMPARE(f.told, QList<std::optional<Shortcut>>{controlK});
        QVERIFY(!f.recorder->isRecording());
        QVERIFY(!f.shortcuts->isRecorderActive());
    }

    void onlyTheVeryKeyOfTheDesktopIsAConflict_data()
    {
        QTest::addColumn<platform::SystemShortcut>("listed");
        QTest::addColumn<bool>("isConflict");

        using platform::SystemShortcut;
        QTest::newRow("same") << SystemShortcut{letterK, 0x1000, true, {}} << true;
        QTest::newRow("same with foreign bits")
            << SystemShortcut{letterK, 0x1000 | 0x20000, true, {}} << true;
        QTest::newRow("switched off") << SystemShortcut{letterK, 0x1000, false, {}} << false;
        QTest::newRow("another modifier") << SystemShortcut{letterK, 0x100, true, {}} << false;
        QTest::newRow("a modifier more") << SystemShortcut{letterK, 0x1200, true, {}} << false;
        QTest::newRow("another key") << SystemShortcut{letterQ, 0x1000, true, {}} << false;
    }
    void onlyTheVeryKeyOfTheDesktopIsAConflict()
    {
        QFETCH(platform::SystemShortcut, listed);
        QFETCH(bool, isConflict);
        RecorderFixture f;
        f.system.symbolicHotKeys = {listed};
        f.view.focus();

        f.passes(f.keyDown(letterK, Flags::control));

        QCOMPARE(f.view.alerts.size(), isConflict ? 1 : 0);
        QCOMPARE(f.current() == controlK, !isConflict);
    }

    void f12AloneIsNeverLookedUp()
    {
        RecorderFixture f;
        f.system.symbolicHotKeys = {{f12, 0, true, {}}};
        f.system.held = {{f12, 0, true, {}}};
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(f12, Flags::function)));

        QCOMPARE(f.system.questions, 0);
        QVERIFY(f.view.alerts.isEmpty());
        QCOMPARE(f.current(), std::optional(Shortcut(f12, 0)));
    }

    void f12WithAModifierIsLookedUp()
    {
        RecorderFixture f;
        f.system.symbolicHotKeys = {{f12, 0x200, true, {}}};
        f.view.focus();

        f.passes(f.keyDown(f12, Flags::shift));

        QCOMPARE(f.view.alerts.size(), 1);
    }

    void anOtherPlainFunctionKeyOfTheDesktopIsAConflict()
    {
        RecorderFixture f;
        f.system.symbolicHotKeys = {{f5, 0, true, {}}};
        f.view.focus();

        f.passes(f.keyDown(f5));

        QCOMPARE(f.view.alerts.size(), 1);
    }

    void theMenuIsAskedBeforeTheSandboxAndTheSandboxBeforeTheDesktop()
    {
        RecorderFixture f;
        f.menu.items = {item(u"Item"_s, u"k"_s, Flags::option)};
        f.isSandboxed = true;
        f.system.symbolicHotKeys = {{letterK, 0x800, true, {}}, {letterA, 0x800, true, {}}};
        f.view.focus();

        f.passes(f.keyDown(letterK, Flags::option));
        QVERIFY(f.view.alerts.last().message.contains(u"Item"_s));
        f.passes(f.keyDown(letterA, Flags::option));
        QVERIFY(f.view.alerts.last().message.startsWith(u"Alt,"_s));
        f.isSandboxed = false;
        f.passes(f.keyDown(letterA, Flags::option));

        QVERIFY(f.view.alerts.last().message.startsWith(u"The desktop"_s));
    }

    void theWindowMayGoWhileTheAlertIsUp()
    {
        RecorderFixture f;
        f.system.symbolicHotKeys = {{letterK, 0x1000, true, {}}};
        f.view.answer = 1001;
        f.view.duringAlert = [&] { f.recorder.reset(); };
        f.view.focus();

        QVERIFY(!f.passes(f.keyDown(letterK, Flags::control)));

        QCOMPARE(f.view.calls, (QStringList{u"blur"_s, u"alert"_s}));
        QCOMPARE(f.current(), std::optional(controlSpace));
    }

    void hotKeysActWhileTheAlertIsUp()
    {
        RecorderFixture f;
        int presses = 0;
        f.shortcuts->onKeyDown(f.name, [&] { ++presses; });
        f.menu.items = {item(u"Item"_s, u"k"_s, Flags::control)};
        f.view.duringAlert = [&] { f.center.press(space, 0x1000); };
        f.view.focus();

        f.passes(f.keyDown(letterK, Flags::control));

        QCOMPARE(presses, 1);
    }
};

QTEST_GUILESS_MAIN(tst_RecorderCocoa)
#include "tst_RecorderCocoa.moc"
