// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyShortcut.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
using KeyboardShortcuts::Key;
using KeyboardShortcuts::Shortcut;
namespace Flags = base::ModifierFlags;

class tst_KeyShortcut : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aHotKeyShowsTheCharacterOfItsKey_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<uint>("character");
        const std::pair<Key, char32_t> keys[] = {{Key::a, U'a'}, {Key::s, U's'}, {Key::z, U'z'},
            {Key::zero, U'0'}, {Key::nine, U'9'}, {Key::minus, U'-'}, {Key::equal, U'='},
            {Key::leftBracket, U'['}, {Key::rightBracket, U']'}, {Key::backslash, U'\\'},
            {Key::semicolon, U';'}, {Key::quote, U'\''}, {Key::comma, U','}, {Key::period, U'.'},
            {Key::slash, U'/'}, {Key::backtick, U'`'}, {Key::returnKey, 0x0D}, {Key::space, 0x20},
            {Key::deleteKey, 0x08}, {Key::escape, 0x1B}, {Key::tab, 0x09}};
        for (const auto &[key, character] : keys)
            QTest::addRow("%d", key.rawValue) << key.rawValue << uint(character);
    }
    void aHotKeyShowsTheCharacterOfItsKey()
    {
        QFETCH(int, keyCode);
        QFETCH(uint, character);

        const auto shown = KeyShortcut::of({keyCode, 0x1000});

        QCOMPARE(shown, (KeyShortcut{char32_t(character), Flags::control}));
    }

    void otherKeysShowNothing_data()
    {
        QTest::addColumn<int>("keyCode");
        for (const auto key : {Key::f1, Key::f20, Key::upArrow, Key::home, Key::deleteForward,
                 Key::keypad5, Key::keypadPlus, Key::keypadEnter, Key::keypadClear, Key::help,
                 Key::mute, Key{10}, Key{93}, Key{94}, Key{-1}, Key{1000}})
            QTest::addRow("%d", key.rawValue) << key.rawValue;
    }
    void otherKeysShowNothing()
    {
        QFETCH(int, keyCode);

        QVERIFY(!KeyShortcut::of({keyCode, 0x100}));
    }

    void lettersDigitsSignsAndFiveNamedKeysAreAll()
    {
        int shown = 0;
        for (int keyCode = -1; keyCode < 256; ++keyCode)
            shown += KeyShortcut::of({keyCode, 0}).has_value();

        QCOMPARE(shown, 26 + 10 + 11 + 5);
    }

    void modifiersCarryOverOneByOne()
    {
        for (const auto flag : {Flags::command, Flags::option, Flags::shift, Flags::control})
            QCOMPARE(KeyShortcut::of(Shortcut(Key::s, flag)), (KeyShortcut{U's', flag}));
        QCOMPARE(KeyShortcut::of({1, -1}), (KeyShortcut{U's', Flags::mask}));
    }

    void keysThatPrintAreComparedByLetter()
    {
        QCOMPARE((KeyShortcut{U'W', Flags::command}.keyEquivalent()),
            (KeyEquivalent{u"w"_s, base::KeyCode::unknown, Flags::command}));
        QCOMPARE((KeyShortcut{U',', Flags::command}.keyEquivalent()),
            (KeyEquivalent{u","_s, base::KeyCode::unknown, Flags::command}));
    }

    void namedKeysAreComparedByCode()
    {
        QCOMPARE((KeyShortcut{KeyCharacter::returnKey, Flags::command}.keyEquivalent()),
            (KeyEquivalent{{}, base::KeyCode::returnKey, Flags::command}));
        QCOMPARE((KeyShortcut{KeyCharacter::space, 0}.keyEquivalent()),
            (KeyEquivalent{{}, base::KeyCode::space, 0}));
        QCOMPARE((KeyShortcut{KeyCharacter::upArrow, 0}.keyEquivalent()),
            (KeyEquivalent{{}, base::KeyCode::up, 0}));
    }
};

QTEST_GUILESS_MAIN(tst_KeyShortcut)
#include "tst_KeyShortcut.moc"
