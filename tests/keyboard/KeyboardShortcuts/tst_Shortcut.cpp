// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/KeyTable.h"
#include "keyboard/KeyboardShortcuts/Shortcut.h"

#include <QSet>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
namespace Flags = base::ModifierFlags;

class tst_Shortcut : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void equalityAndHashGoOverBothFields()
    {
        const Shortcut a(49, 0x1000);

        QCOMPARE(a, Shortcut(Key::space, Flags::control));
        QVERIFY(a != Shortcut(49, 0x800));
        QVERIFY(a != Shortcut(50, 0x1000));
        QCOMPARE((QSet<Shortcut>{a, Shortcut(49, 0x1000), Shortcut(49, 0x800)}.size()), 2);
    }

    void theKeysAreThoseOfTheKeyTable_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<QByteArray>("character");
        const auto row = [](Key key, const char *character) {
            QTest::newRow(character) << key.rawValue << QByteArray(character);
        };
        row(Key::a, "a"), row(Key::b, "b"), row(Key::c, "c"), row(Key::d, "d"), row(Key::e, "e");
        row(Key::f, "f"), row(Key::g, "g"), row(Key::h, "h"), row(Key::i, "i"), row(Key::j, "j");
        row(Key::k, "k"), row(Key::l, "l"), row(Key::m, "m"), row(Key::n, "n"), row(Key::o, "o");
        row(Key::p, "p"), row(Key::q, "q"), row(Key::r, "r"), row(Key::s, "s"), row(Key::t, "t");
        row(Key::u, "u"), row(Key::v, "v"), row(Key::w, "w"), row(Key::x, "x"), row(Key::y, "y");
        row(Key::z, "z"), row(Key::zero, "0"), row(Key::one, "1"), row(Key::two, "2");
        row(Key::three, "3"), row(Key::four, "4"), row(Key::five, "5"), row(Key::six, "6");
        row(Key::seven, "7"), row(Key::eight, "8"), row(Key::nine, "9"), row(Key::minus, "-");
        row(Key::equal, "="), row(Key::leftBracket, "["), row(Key::rightBracket, "]");
        row(Key::backslash, "\\"), row(Key::semicolon, ";"), row(Key::quote, "'");
        row(Key::comma, ","), row(Key::period, "."), row(Key::slash, "/"), row(Key::backtick, "`");
    }
    void theKeysAreThoseOfTheKeyTable()
    {
        QFETCH(int, keyCode);
        QFETCH(QByteArray, character);

        const auto *key = base::KeyTable::findByUsCharacter(character.at(0));

        QVERIFY(key);
        QCOMPARE(keyCode, key->keyCode);
    }

    void theFunctionKeysAreThoseOfTheKeyTable()
    {
        const Key keys[] = {Key::f1, Key::f2, Key::f3, Key::f4, Key::f5, Key::f6, Key::f7, Key::f8,
            Key::f9, Key::f10, Key::f11, Key::f12, Key::f13, Key::f14, Key::f15, Key::f16, Key::f17,
            Key::f18, Key::f19, Key::f20};

        for (std::size_t i = 0; i < std::size(keys); ++i)
            QCOMPARE(keys[i].rawValue, base::KeyTable::functionKeyCodes[i]);
    }

    void anEventGivesItsKeyAndTheFourModifiers()
    {
        base::KeyEvent event;
        event.keyCode = 49;
        event.literalFlags =
            Flags::control | Flags::shift | Flags::capsLock | Flags::function | Flags::numericPad;
        event.modifierFlags = Flags::command | Flags::shift;  // by the panel's alias

        QCOMPARE(Shortcut::ofEvent(EventType::keyDown, event), Shortcut(49, 0x1200));
        QCOMPARE(Shortcut::ofEvent(EventType::keyUp, event), Shortcut(49, 0x1200));
    }

    void onlyKeyEventsGiveAShortcut()
    {
        base::KeyEvent event;
        event.keyCode = 49;

        for (const int type : {0, 1, 9, 12, 14})
            QVERIFY(!Shortcut::ofEvent(type, event));
    }

    void aKeyWithoutACodeGivesNoShortcut()
    {
        QVERIFY(!Shortcut::ofEvent(EventType::keyDown, base::KeyEvent()));
    }

    void aKeyThatCountsAsAnotherInHotKeysIsThatOne()
    {
        base::KeyEvent event;
        event.hotKeyCode = 105;
        QCOMPARE(Shortcut::ofEvent(EventType::keyDown, event), Shortcut(105, 0));

        event.keyCode = 115;
        event.hotKeyCode = 89;
        QCOMPARE(Shortcut::ofEvent(EventType::keyDown, event), Shortcut(89, 0));
    }

    void theStoredTextHasTheTwoIntegersInOrder()
    {
        const auto text = Shortcut(49, 0x1000).encoded();

        QVERIFY(bool(text));
        QCOMPARE(text.value(), R"({"carbonKeyCode":49,"carbonModifiers":4096})");
        QCOMPARE(Shortcut::decoded(text.value()).value(), Shortcut(49, 0x1000));
    }

    void textsByOtherHandsDecode_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("other order")
            << QByteArray(R"({"carbonModifiers":4096,"carbonKeyCode":49})");
        QTest::newRow("blanks") << QByteArray(
            "\n { \"carbonKeyCode\" : 49 ,\n\t\"carbonModifiers\" : 4096 } \n");
        QTest::newRow("more members")
            << QByteArray(R"({"name":[1],"carbonKeyCode":49,"carbonModifiers":4096})");
        QTest::newRow("whole number as a fraction")
            << QByteArray(R"({"carbonKeyCode":49.0,"carbonModifiers":4.096e3})");
    }
    void textsByOtherHandsDecode()
    {
        QFETCH(QByteArray, text);

        const auto shortcut = Shortcut::decoded(text);

        QVERIFY(bool(shortcut));
        QCOMPARE(shortcut.value(), Shortcut(49, 0x1000));
    }

    void brokenTextDoesNotDecode_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("false") << QByteArray("false");
        QTest::newRow("true") << QByteArray("true");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("number") << QByteArray("49");
        QTest::newRow("text") << QByteArray("\"ctrl+space\"");
        QTest::newRow("array") << QByteArray("[49,4096]");
        QTest::newRow("no members") << QByteArray("{}");
        QTest::newRow("no modifiers") << QByteArray(R"({"carbonKeyCode":49})");
        QTest::newRow("no key code") << QByteArray(R"({"carbonModifiers":4096})");
        QTest::newRow("null member")
            << QByteArray(R"({"carbonKeyCode":null,"carbonModifiers":4096})");
        QTest::newRow("text member")
            << QByteArray(R"({"carbonKeyCode":"49","carbonModifiers":4096})");
        QTest::newRow("boolean member")
            << QByteArray(R"({"carbonKeyCode":49,"carbonModifiers":true})");
        QTest::newRow("fraction") << QByteArray(R"({"carbonKeyCode":49.5,"carbonModifiers":4096})");
        QTest::newRow("too large")
            << QByteArray(R"({"carbonKeyCode":49,"carbonModifiers":99999999999999999999})");
        QTest::newRow("cut") << QByteArray("{\"carbonKeyCode\":49,\"carbonMod");
        QTest::newRow("behind it more")
            << QByteArray(R"({"carbonKeyCode":49,"carbonModifiers":4096})"
                          "}");
        QTest::newRow("not UTF-8") << QByteArray("{\"carbonKeyCode\":49,\"\xFF\":1}");
        QTest::newRow("zeros") << QByteArray(40, '\0');
    }
    void brokenTextDoesNotDecode()
    {
        QFETCH(QByteArray, text);

        QVERIFY(!Shortcut::decoded(text));
    }
};

QTEST_GUILESS_MAIN(tst_Shortcut)
#include "tst_Shortcut.moc"
