// SPDX-License-Identifier: GPL-3.0-or-later
// From a key pressed somewhere on the desktop to the actions bound to names.
#include "keyboard/KeyboardShortcuts/NamedShortcutsFixture.h"
#include "support/CapturedOutput.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;

class tst_HotKeys : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<NamedShortcutsFixture> _;
    QStringList _ran;
    NamedShortcuts &shortcuts() const { return *_->shortcuts; }
    NamedShortcuts::Action saying(const QString &word)
    {
        return [this, word] { _ran.append(word); };
    }

private Q_SLOTS:
    void init()
    {
        _ = std::make_unique<NamedShortcutsFixture>();
        _ran.clear();
    }
    void cleanup() { _.reset(); }

    void theActionsOfANameRunInTheOrderOfBinding()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"first"_s));
        shortcuts().onKeyUp(main, saying(u"up"_s));
        shortcuts().onKeyDown(main, saying(u"second"_s));

        _->center.press(49, 0x1000);
        QCOMPARE(_ran, (QStringList{u"first"_s, u"second"_s}));

        _->center.release(49, 0x1000);
        QCOMPARE(_ran, (QStringList{u"first"_s, u"second"_s, u"up"_s}));
    }

    void theNextStartRegistersWhatIsStored()
    {
        shortcuts().createName(u"main"_s, controlSpace);
        _->stop();
        QVERIFY(_->center.grabs.empty());
        _->start();
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        QVERIFY(_->center.grabs.empty());

        shortcuts().onKeyDown(main, saying(u"main"_s));
        shortcuts().onKeyDown(main, saying(u"main again"_s));

        QCOMPARE(_->center.numbersOf(49, 0x1000), QList{1});
        _->center.press(49, 0x1000);
        QCOMPARE(_ran, (QStringList{u"main"_s, u"main again"_s}));
    }

    void twoNamesWithOneShortcutShareARegistration()
    {
        const auto a = shortcuts().createName(u"a"_s, controlSpace);
        const auto b = shortcuts().createName(u"b"_s, controlSpace);
        shortcuts().onKeyDown(a, saying(u"a"_s));
        shortcuts().onKeyDown(b, saying(u"b"_s));

        QCOMPARE(_->center.numbersOf(49, 0x1000), QList{1});
        _->center.press(49, 0x1000);

        QCOMPARE(_ran, (QStringList{u"a"_s, u"b"_s}));
    }

    void aNameThatLeavesASharedShortcutLeavesItsHotKeyToTheOther()
    {
        const auto a = shortcuts().createName(u"a"_s, controlSpace);
        const auto b = shortcuts().createName(u"b"_s, controlSpace);
        shortcuts().onKeyDown(a, saying(u"a"_s));
        shortcuts().onKeyDown(b, saying(u"b"_s));

        shortcuts().setShortcut(a, optionS);
        _->center.press(49, 0x1000);
        _->center.press(1, 0x800);
        QCOMPARE(_ran, (QStringList{u"b"_s, u"a"_s}));

        shortcuts().setShortcut(a, controlSpace);
        shortcuts().setShortcut(a, std::nullopt);
        _->center.press(49, 0x1000);
        QCOMPARE(_ran, (QStringList{u"b"_s, u"a"_s, u"b"_s}));
        QCOMPARE(_->center.grabs.size(), 1U);
    }

    void aChangedShortcutFiresInPlaceOfTheOld()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));

        shortcuts().setShortcut(main, optionF);

        QVERIFY(_->center.press(49, 0x1000).isEmpty());
        QCOMPARE(_->center.press(3, 0x800).size(), 1);
        QCOMPARE(_ran, QStringList{u"main"_s});
    }

    void aClearedShortcutFiresNothing()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));

        shortcuts().setShortcut(main, std::nullopt);
        shortcuts().setShortcut(main, std::nullopt);

        QVERIFY(_->center.press(49, 0x1000).isEmpty());
        QVERIFY(_ran.isEmpty());
    }

    void nothingActsWhileARecorderHasTheKeyboard()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));
        shortcuts().onKeyUp(main, saying(u"up"_s));

        shortcuts().setRecorderActive(true);
        _->center.press(49, 0x1000);
        _->center.release(49, 0x1000);
        QVERIFY(_ran.isEmpty());
        QVERIFY(_->center.grabs.empty());  // or its key would never reach the recorder

        shortcuts().setRecorderActive(false);
        _->center.press(49, 0x1000);
        QCOMPARE(_ran, QStringList{u"main"_s});
    }

    void aHotKeyIsAskedForByTheNameThatNeedsIt()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        const auto other = shortcuts().createName(u"other"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));
        shortcuts().onKeyDown(other, saying(u"other"_s));
        QCOMPARE(_->center.names, QStringList{u"main"_s});

        shortcuts().setShortcut(main, optionS);

        QCOMPARE(_->center.names, (QStringList{u"main"_s, u"main"_s, u"other"_s}));
    }

    void anOpenMenuHearsTheHotKeyAndGivesItBackWhenItCloses()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));

        _->openMenu(true);
        QVERIFY(shortcuts().isMenuOpen());
        QVERIFY(_->center.grabs.empty());
        platform::HotKeyEvent key;
        key.kind = platform::HotKeyEvent::rawKeyDown;
        key.keyCode = 49;
        key.modifiers = 0x1000;
        QVERIFY(_->rawKeys.offer(key));
        QCOMPARE(_ran, QStringList{u"main"_s});

        _->openMenu(false);
        QVERIFY(!_->rawKeys.isRunning());
        QCOMPARE(_->center.numbersOf(49, 0x1000), QList{1});
    }

    void aMenuThatOpensTwiceIsOneUpdate()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));
        _->center.calls.clear();

        _->openMenu(true);
        _->openMenu(true);
        QCOMPARE(_->center.calls, QStringList{u"unregister #1"_s});

        _->openMenu(false);
        _->openMenu(false);
        QCOMPARE(_->center.calls, (QStringList{u"unregister #1"_s, u"register 49 4096 #1"_s}));
    }

    void menusAreObservedFromTheFirstNameOn()
    {
        _->openMenu(true);
        QVERIFY(!shortcuts().isMenuOpen());

        shortcuts().createName(u"other"_s);
        shortcuts().createName(u"another"_s);
        _->openMenu(true);

        QVERIFY(shortcuts().isMenuOpen());
    }

    void hotKeysCanBeSwitchedOff()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));

        shortcuts().setEnabled(false);
        QVERIFY(_->center.press(49, 0x1000).isEmpty());
        shortcuts().setEnabled(true);
        _->center.press(49, 0x1000);

        QCOMPARE(_ran, QStringList{u"main"_s});
    }

    void whatAPersonWritesIntoTheFileTakesEffect()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));
        _->changes.clear();

        QVERIFY(_->store(u"main"_s, R"({"carbonKeyCode":3,"carbonModifiers":2048})"));
        QVERIFY(_->center.press(49, 0x1000).isEmpty());
        QCOMPARE(_->center.press(3, 0x800).size(), 1);
        QCOMPARE(_ran, QStringList{u"main"_s});

        QVERIFY(_->store(u"main"_s, "nonsense"));
        QVERIFY(_->center.grabs.empty());
        QCOMPARE(_->changes, (QList{main, main}));

        QVERIFY(_->store(u"main"_s, "more nonsense"));
        QVERIFY(_->store(u"other"_s, R"({"carbonKeyCode":3,"carbonModifiers":2048})"));
        QCOMPARE(_->changes.size(), 2);
        QVERIFY(_->center.grabs.empty());
    }

    void aRefusedShortcutStaysTheUsersChoice()
    {
        _->center.refusals = {{{49, 0x1000}, 10}};
        support::CapturedOutput output;

        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, saying(u"main"_s));

        QCOMPARE(output.text(), "Error registering hotkey ⌃Space: 10\n");
        QCOMPARE(shortcuts().getShortcut(main), controlSpace);
        QCOMPARE(shortcuts().registeredShortcuts(), QSet{controlSpace});
    }

    void anActionMayChangeTheShortcutThatRunsIt()
    {
        const auto main = shortcuts().createName(u"main"_s, controlSpace);
        shortcuts().onKeyDown(main, [&] {
            _ran.append(u"change"_s);
            shortcuts().setShortcut(main, optionS);
        });
        shortcuts().onKeyDown(main, [&] {
            _ran.append(u"bind"_s);
            shortcuts().onKeyDown(shortcuts().createName(u"more"_s, optionF), saying(u"more"_s));
        });

        _->center.press(49, 0x1000);
        _->center.press(49, 0x1000);
        QCOMPARE(_ran, (QStringList{u"change"_s, u"bind"_s}));

        _->center.press(3, 0x800);
        QCOMPARE(_ran, (QStringList{u"change"_s, u"bind"_s, u"more"_s}));
    }
};

QTEST_GUILESS_MAIN(tst_HotKeys)
#include "tst_HotKeys.moc"
