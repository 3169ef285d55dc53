// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/KeyTable.h"

#include <QSet>
#include <QTest>

#include <linux/input-event-codes.h>

using namespace vellumhound::base;

class tst_KeyTable : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void noCodeStandsTwice()
    {
        QSet<int> keyCodes;
        QSet<int> linuxCodes;

        for (const auto &key : KeyTable::keys) {
            keyCodes.insert(key.keyCode);
            linuxCodes.insert(key.linuxCode);
        }

        QCOMPARE(keyCodes.size(), qsizetype(std::size(KeyTable::keys)));
        QCOMPARE(linuxCodes.size(), qsizetype(std::size(KeyTable::keys)));
    }

    void theCodesThatScreensAskForAreWhereTheyBelong_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<int>("linuxCode");
        QTest::newRow("f") << KeyCode::f << KEY_F;
        QTest::newRow("w") << KeyCode::w << KEY_W;
        QTest::newRow("y") << KeyCode::y << KEY_Y;
        QTest::newRow("t") << KeyCode::t << KEY_T;
        QTest::newRow("k") << KeyCode::k << KEY_K;
        QTest::newRow("n") << KeyCode::n << KEY_N;
        QTest::newRow("return") << KeyCode::returnKey << KEY_ENTER;
        QTest::newRow("tab") << KeyCode::tab << KEY_TAB;
        QTest::newRow("space") << KeyCode::space << KEY_SPACE;
        QTest::newRow("escape") << KeyCode::escape << KEY_ESC;
        QTest::newRow("keypad enter") << KeyCode::keypadEnter << KEY_KPENTER;
        QTest::newRow("left") << KeyCode::left << KEY_LEFT;
        QTest::newRow("right") << KeyCode::right << KEY_RIGHT;
        QTest::newRow("down") << KeyCode::down << KEY_DOWN;
        QTest::newRow("up") << KeyCode::up << KEY_UP;
        QTest::newRow("grave") << 50 << KEY_GRAVE;
        QTest::newRow("key beside the left Shift") << 10 << KEY_102ND;
        QTest::newRow("delete forward") << 117 << KEY_DELETE;
        QTest::newRow("home") << 115 << KEY_HOME;
        QTest::newRow("end") << 119 << KEY_END;
        QTest::newRow("page up") << 116 << KEY_PAGEUP;
        QTest::newRow("page down") << 121 << KEY_PAGEDOWN;
        QTest::newRow("keypad 0") << 82 << KEY_KP0;
        QTest::newRow("keypad 9") << 92 << KEY_KP9;
        QTest::newRow("keypad point") << 65 << KEY_KPDOT;
        QTest::newRow("keypad plus") << 69 << KEY_KPPLUS;
        QTest::newRow("super left") << 55 << KEY_LEFTMETA;
        QTest::newRow("fn") << 63 << KEY_FN;
        QTest::newRow("yen") << 93 << KEY_YEN;
        QTest::newRow("underscore of JIS") << 94 << KEY_RO;
    }
    void theCodesThatScreensAskForAreWhereTheyBelong()
    {
        QFETCH(int, keyCode);
        QFETCH(int, linuxCode);

        QVERIFY(KeyTable::findByKeyCode(keyCode));
        QCOMPARE(KeyTable::findByKeyCode(keyCode)->linuxCode, linuxCode);
        QCOMPARE(KeyTable::findByLinuxCode(linuxCode)->keyCode, keyCode);
    }

    void everyLetterAndDigitHasItsKey()
    {
        const int letters[] = {KEY_A, KEY_B, KEY_C, KEY_D, KEY_E, KEY_F, KEY_G, KEY_H, KEY_I, KEY_J,
            KEY_K, KEY_L, KEY_M, KEY_N, KEY_O, KEY_P, KEY_Q, KEY_R, KEY_S, KEY_T, KEY_U, KEY_V,
            KEY_W, KEY_X, KEY_Y, KEY_Z};
        for (char c = 'a'; c <= 'z'; ++c)
            QCOMPARE(KeyTable::findByUsCharacter(c)->linuxCode, letters[c - 'a']);
        const int digits[] = {KEY_0, KEY_1, KEY_2, KEY_3, KEY_4, KEY_5, KEY_6, KEY_7, KEY_8, KEY_9};
        for (char c = '0'; c <= '9'; ++c)
            QCOMPARE(KeyTable::findByUsCharacter(c)->linuxCode, digits[c - '0']);
    }

    void theFunctionKeysAreInOrder()
    {
        const int expected[] = {KEY_F1, KEY_F2, KEY_F3, KEY_F4, KEY_F5, KEY_F6, KEY_F7, KEY_F8,
            KEY_F9, KEY_F10, KEY_F11, KEY_F12, KEY_F13, KEY_F14, KEY_F15, KEY_F16, KEY_F17, KEY_F18,
            KEY_F19, KEY_F20};
        QCOMPARE(std::size(KeyTable::functionKeyCodes), std::size(expected));
        for (std::size_t i = 0; i < std::size(expected); ++i) {
            QCOMPARE(
                KeyTable::findByKeyCode(KeyTable::functionKeyCodes[i])->linuxCode, expected[i]);
        }
    }

    void aCodeOutsideTheTableIsNotFound()
    {
        QVERIFY(!KeyTable::findByKeyCode(KeyCode::unknown));
        QVERIFY(!KeyTable::findByKeyCode(127));
        QVERIFY(!KeyTable::findByLinuxCode(0));
        QVERIFY(!KeyTable::findByUsCharacter('\0'));
        QVERIFY(!KeyTable::findByUsCharacter('*'));
    }
};

QTEST_GUILESS_MAIN(tst_KeyTable)
#include "tst_KeyTable.moc"
