// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeKeyCharacters.h"
#include "keyboard/KeyboardShortcuts/CarbonKeyboardShortcuts.h"
#include "support/CapturedOutput.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;
using platform::HotKeyEvent;
namespace Status = platform::HotKeyAnswer;

namespace {

const Shortcut controlSpace(49, 0x1000);
const Shortcut optionS(1, 0x800);

HotKeyEvent keyEvent(int kind, std::uint32_t keyCode, std::uint32_t modifiers)
{
    HotKeyEvent event;
    event.kind = kind;
    event.keyCode = keyCode;
    event.modifiers = modifiers;
    return event;
}

class OtherHandler final : public platform::HotKeyCenter::EventHandler {
public:
    int handleEvent(const HotKeyEvent *) override { return Status::noError; }
    void registrationRefused(platform::HotKeyId, int) override {}
    void keyboardChanged() override {}
};

}  // namespace

class tst_CarbonKeyboardShortcuts : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<fakes::FakeHotKeyCenter> _center;
    platform::RawKeyFeed _rawKeys;
    fakes::FakeKeyCharacters _layout;
    HotKeySwitches _switches;
    std::unique_ptr<CarbonKeyboardShortcuts> _hotKeys;
    QStringList _ran;

    void add(const Shortcut &shortcut)
    {
        const auto told = [this](const QString &word) {
            return [this, word](const Shortcut &fired) {
                _ran.append(u"%1 %2"_s.arg(word).arg(fired.carbonKeyCode));
            };
        };
        _hotKeys->registerShortcut(shortcut, told(u"down"_s), told(u"up"_s));
    }
    void openMenu(bool isOpen)
    {
        _switches.isMenuOpen = isOpen;
        _hotKeys->updateEventHandler();
    }
    /// A key on its way to a menu of ours; true if it does not get there.
    bool takes(int kind, std::uint32_t keyCode, std::uint32_t modifiers)
    {
        return _rawKeys.offer(keyEvent(kind, keyCode, modifiers));
    }

private Q_SLOTS:
    void init()
    {
        _switches = {};
        _ran.clear();
        _layout.printed = {{1, u"s"_s}};
        _hotKeys.reset();
        _center = std::make_unique<fakes::FakeHotKeyCenter>();
        _hotKeys =
            std::make_unique<CarbonKeyboardShortcuts>(*_center, _rawKeys, _layout, _switches);
    }
    void cleanup() { _hotKeys.reset(); }

    void aPressAndAReleaseRunTheirActions()
    {
        add(controlSpace);

        QCOMPARE(_center->press(49, 0x1000), QList{Status::noError});
        QCOMPARE(_center->release(49, 0x1000), QList{Status::noError});

        QCOMPARE(_ran, (QStringList{u"down 49"_s, u"up 49"_s}));
    }

    void nothingIsAskedOfTheDesktopBeforeTheFirstRegistration()
    {
        openMenu(true);

        QVERIFY(_center->calls.isEmpty());
        QVERIFY(!_rawKeys.isRunning());
    }

    void theHandlerIsInstalledOnceAndListensToHotKeysAlone()
    {
        add(controlSpace);
        add(optionS);

        QCOMPARE(_center->calls, (QStringList{u"register 49 4096 #1"_s, u"register 1 2048 #2"_s}));
        QCOMPARE(_center->kinds(), (QSet<int>{5, 6}));
    }

    void aHandlerThatCannotBeInstalledIsTriedAgain()
    {
        OtherHandler other;
        QVERIFY(_center->installEventHandler(other));
        add(controlSpace);
        QVERIFY(_center->kinds().isEmpty());
        _center->removeEventHandler();

        add(optionS);

        QCOMPARE(_center->kinds(), (QSet<int>{5, 6}));
        QCOMPARE(_center->press(49, 0x1000), QList{Status::noError});
    }

    void aNumberIsNeverUsedTwice()
    {
        add(controlSpace);
        _hotKeys->unregisterShortcut(controlSpace);
        _center->refusals = {{{1, 0x800}, 10}};
        support::CapturedOutput output;
        add(optionS);
        output.text();
        _center->refusals.clear();

        add(controlSpace);
        add(optionS);

        QCOMPARE(_center->numbersOf(49, 0x1000), QList{3});
        QCOMPARE(_center->numbersOf(1, 0x800), QList{4});
    }

    void theMarkIsFourLetters()
    {
        add(controlSpace);

        const auto id = _center->grabs.begin()->second.id;
        QCOMPARE(id, (platform::HotKeyId{('V' << 24) | ('H' << 16) | ('K' << 8) | 'S', 1}));
    }

    void aRefusalIsOneLine()
    {
        _center->refusals = {{{1, 0x800}, -9878}, {{7, 0x1100}, 10}};
        support::CapturedOutput output;

        add(optionS);
        add({7, 0x1100});

        QCOMPARE(output.text(), "Error registering hotkey ⌥S: -9878\n"
                                "Error registering hotkey ⌃⌘�: 10\n");
        QVERIFY(!_center->handler());
        QVERIFY(_center->press(1, 0x800).isEmpty());
    }

    void aRefusalThatComesLaterIsTheSameLine()
    {
        add(controlSpace);
        add(optionS);
        support::CapturedOutput output;

        _center->grabs.erase(_center->grabs.begin());
        _center->handler()->registrationRefused({CarbonKeyboardShortcuts::hotKeySignature, 1}, 10);
        _center->handler()->registrationRefused({CarbonKeyboardShortcuts::hotKeySignature, 1}, 10);
        _center->handler()->registrationRefused({0x41414141, 2}, 10);
        openMenu(true);
        openMenu(false);

        QCOMPARE(output.text(), "Error registering hotkey ⌃Space: 10\n");
        QVERIFY(_center->numbersOf(49, 0x1000).isEmpty());
        QCOMPARE(_center->numbersOf(1, 0x800), QList{2});
    }

    void unregisteringTakesEveryRegistrationOfThisShortcut()
    {
        add(controlSpace);
        add(optionS);
        add(controlSpace);

        _hotKeys->unregisterShortcut(controlSpace);
        _hotKeys->unregisterShortcut(controlSpace);

        QVERIFY(_center->press(49, 0x1000).isEmpty());
        QCOMPARE(_center->press(1, 0x800), QList{Status::noError});
        QCOMPARE(_center->grabs.size(), 1U);
    }

    void withdrawnHotKeysComeBackUnderTheirNumbers()
    {
        add(controlSpace);
        add(optionS);

        _hotKeys->unregisterAll();
        QVERIFY(_center->grabs.empty());
        _hotKeys->unregisterAll();
        _hotKeys->registerAll();
        _hotKeys->registerAll();

        QCOMPARE(_center->numbersOf(49, 0x1000), QList{1});
        QCOMPARE(_center->numbersOf(1, 0x800), QList{2});
    }

    void aHotKeyThatCannotComeBackIsToldAndForgotten()
    {
        add(controlSpace);
        add(optionS);
        openMenu(true);
        _center->refusals = {{{49, 0x1000}, 10}};
        support::CapturedOutput output;

        openMenu(false);

        QCOMPARE(output.text(), "Error registering hotkey ⌃Space: 10\n");
        _center->refusals.clear();
        openMenu(true);
        openMenu(false);
        QVERIFY(_center->numbersOf(49, 0x1000).isEmpty());
        QCOMPARE(_center->numbersOf(1, 0x800), QList{2});
    }

    void switchesDecideWhatIsRegisteredAndHeard_data()
    {
        QTest::addColumn<bool>("isEnabled");
        QTest::addColumn<bool>("isMenuOpen");
        QTest::addColumn<bool>("isRegistered");
        QTest::addColumn<bool>("isMenuHeard");
        QTest::newRow("as usual") << true << false << true << false;
        QTest::newRow("menu open") << true << true << false << true;
        QTest::newRow("off") << false << false << false << false;
        QTest::newRow("off, menu open") << false << true << false << false;
    }
    void switchesDecideWhatIsRegisteredAndHeard()
    {
        QFETCH(bool, isEnabled);
        QFETCH(bool, isMenuOpen);
        QFETCH(bool, isRegistered);
        QFETCH(bool, isMenuHeard);
        const QSet<int> hotKeyKinds{HotKeyEvent::pressed, HotKeyEvent::released};
        add(controlSpace);
        openMenu(true);
        _switches = {isEnabled, isMenuOpen};

        _hotKeys->updateEventHandler();

        QCOMPARE(_center->grabs.size(), isRegistered ? 1U : 0U);
        QCOMPARE(_rawKeys.isRunning(), isMenuHeard);
        QCOMPARE(_center->kinds(), isRegistered ? hotKeyKinds : QSet<int>());
    }

    void inAnOpenMenuAHotKeyActsAndDoesNotReachTheMenu()
    {
        add(controlSpace);
        openMenu(true);

        QVERIFY(!takes(HotKeyEvent::rawKeyDown, 36, 0));
        QVERIFY(takes(HotKeyEvent::rawKeyDown, 49, 0x1000));
        QVERIFY(takes(HotKeyEvent::rawKeyUp, 49, 0x1000));
        QVERIFY(!_rawKeys.offer(HotKeyEvent{HotKeyEvent::rawKeyDown, {}, {}, {}, false}));
        openMenu(false);
        QVERIFY(!takes(HotKeyEvent::rawKeyDown, 49, 0x1000));

        QCOMPARE(_ran, (QStringList{u"down 49"_s, u"up 49"_s}));
    }

    void inAnOpenMenuModifiersAreComparedWithoutTheirOtherBits()
    {
        add(controlSpace);
        openMenu(true);

        QVERIFY(!takes(HotKeyEvent::rawKeyDown, 49, 0x1200));
        QVERIFY(takes(HotKeyEvent::rawKeyDown, 49, 0x1000 | 0x400));

        QCOMPARE(_ran, QStringList{u"down 49"_s});
    }

    void aHotKeyHeldInAMenuActsOnce()
    {
        add(controlSpace);
        openMenu(true);

        QVERIFY(takes(HotKeyEvent::rawKeyDown, 49, 0x1000));
        QVERIFY(takes(HotKeyEvent::rawKeyRepeat, 49, 0x1000));
        QVERIFY(takes(HotKeyEvent::rawKeyRepeat, 49, 0x1000));

        QCOMPARE(_ran, QStringList{u"down 49"_s});
    }

    void eventsThatAreNotOursAreLeftToOthers()
    {
        add(controlSpace);
        auto *handler = _center->handler();
        HotKeyEvent event;
        event.kind = HotKeyEvent::pressed;

        QCOMPARE(handler->handleEvent(nullptr), -9874);
        QCOMPARE(handler->handleEvent(&event), Status::parameterNotFound);
        event.directObject = {0x41424344, 1};
        QCOMPARE(handler->handleEvent(&event), -9874);
        event.directObject = {CarbonKeyboardShortcuts::hotKeySignature, 2};
        QCOMPARE(handler->handleEvent(&event), -9874);
        event.directObject = {CarbonKeyboardShortcuts::hotKeySignature, 1};
        for (const int kind : {0, 2, 4, 7, -1}) {
            event.kind = kind;
            QCOMPARE(handler->handleEvent(&event), -9874);
        }
        event.kind = HotKeyEvent::rawKeyDown;
        event.keyCode = 49;
        QCOMPARE(handler->handleEvent(&event), Status::parameterNotFound);
        event.modifiers = 0x800;
        QCOMPARE(handler->handleEvent(&event), -9874);

        QVERIFY(_ran.isEmpty());
    }

    void aHotKeyHeldDownActsOnce()
    {
        add(controlSpace);

        _center->press(49, 0x1000);
        QCOMPARE(_center->press(49, 0x1000, /*isRepeat=*/true), QList{Status::noError});
        _center->press(49, 0x1000, /*isRepeat=*/true);
        _center->release(49, 0x1000);

        QCOMPARE(_ran, (QStringList{u"down 49"_s, u"up 49"_s}));
    }

    void anotherKeyboardRegistersAnew()
    {
        add(controlSpace);
        add(optionS);
        _center->calls.clear();

        _center->handler()->keyboardChanged();

        QCOMPARE(_center->calls, (QStringList{u"unregister #1"_s, u"unregister #2"_s,
                                     u"register 49 4096 #1"_s, u"register 1 2048 #2"_s}));
    }

    void anotherKeyboardDuringAMenuRegistersNothing()
    {
        add(controlSpace);
        openMenu(true);
        _center->calls.clear();

        _center->handler()->keyboardChanged();

        QVERIFY(_center->calls.isEmpty());
    }

    void anActionMayTakeItsOwnHotKeyAway()
    {
        _hotKeys->registerShortcut(
            controlSpace,
            [this](const Shortcut &fired) {
                _hotKeys->unregisterShortcut(fired);
                _ran.append(u"%1"_s.arg(fired.carbonKeyCode));
            },
            [](const Shortcut &) {});

        _center->press(49, 0x1000);
        _center->press(49, 0x1000);

        QCOMPARE(_ran, QStringList{u"49"_s});
    }

    void theEndGivesAllBack()
    {
        add(controlSpace);
        openMenu(true);
        openMenu(false);

        _hotKeys.reset();

        QVERIFY(_center->grabs.empty());
        QVERIFY(!_center->handler());
    }

    void whereTheDesktopHasNoHotKeysTheRefusalIsTold()
    {
        _center->refusals = {{{49, 0x1000}, Status::unsupported}};
        support::CapturedOutput output;

        add(controlSpace);
        _hotKeys->updateEventHandler();

        QCOMPARE(output.text(), "Error registering hotkey ⌃Space: -4\n");
        QVERIFY(!_center->handler());
    }
};

QTEST_GUILESS_MAIN(tst_CarbonKeyboardShortcuts)
#include "tst_CarbonKeyboardShortcuts.moc"
