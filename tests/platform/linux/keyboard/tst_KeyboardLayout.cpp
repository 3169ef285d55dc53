// SPDX-License-Identifier: GPL-3.0-or-later
// As which key each key counts in hot keys.
#include "base/KeyTable.h"
#include "platform/linux/keyboard/KeyboardLayout.h"

#include <QTest>

#include <linux/input-event-codes.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using base::KeyCode::escape;
using base::KeyCode::unknown;
using platform::KeyboardLayout;
namespace KeyTable = base::KeyTable;

namespace {

constexpr int backspaceKey = 51;
constexpr int menuKey = 110;
constexpr int f13Key = 105;
constexpr int keypad7Key = 89;
constexpr int keypad0Key = 82;
constexpr int lastLinuxCode = 247;

std::unique_ptr<KeyboardLayout> withOptions(const char *options)
{
    return KeyboardLayout::named("us", "", options);
}

}  // namespace

class tst_KeyboardLayout : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onAUsualKeyboardEachKeyCountsAsItself_data()
    {
        QTest::addColumn<QByteArray>("layouts");
        for (const char *layouts : {"us", "de", "fr", "ru", "us,ru", "ru,us", "jp"})
            QTest::newRow(layouts) << QByteArray(layouts);
    }
    void onAUsualKeyboardEachKeyCountsAsItself()
    {
        QFETCH(QByteArray, layouts);
        const auto layout = KeyboardLayout::named(layouts.toStdString(), "");
        QStringList wrong;

        for (const auto &key : KeyTable::keys) {
            if (key.kind == KeyTable::Kind::modifier || key.linuxCode > lastLinuxCode)
                continue;
            const bool isItself = layout->hotKeyCodeAt(key.linuxCode) == key.keyCode;
            if (!isItself || !layout->placesOf(key.keyCode).contains(key.linuxCode))
                wrong.append(QString::number(key.keyCode));
        }

        QCOMPARE(wrong, QStringList());
    }

    void modifiersAndStrangersCountAsNoKey()
    {
        const auto layout = withOptions("");

        for (const int code :
            {KEY_LEFTCTRL, KEY_CAPSLOCK, KEY_NUMLOCK, KEY_RIGHTALT, KEY_POWER, 0, -1, 247, 100'000})
            QCOMPARE(layout->hotKeyCodeAt(code), unknown);
        for (const int keyCode : {unknown, 57, 63, 1000})
            QCOMPARE(layout->placesOf(keyCode), QList<int>());
    }

    void swappedKeysCountAsWhatTheLayoutMakesOfThem()
    {
        const auto layout = withOptions("caps:swapescape");

        QCOMPARE(layout->hotKeyCodeAt(KEY_CAPSLOCK), escape);
        QCOMPARE(layout->hotKeyCodeAt(KEY_ESC), unknown);
        QCOMPARE(layout->placesOf(escape), QList<int>{KEY_CAPSLOCK});
    }

    void twoKeysOfOneNameAreTheSameKey()
    {
        const auto layout = withOptions("caps:backspace");

        QCOMPARE(layout->placesOf(backspaceKey), (QList<int>{KEY_BACKSPACE, KEY_CAPSLOCK}));
    }

    void aNamedKeyMadeAModifierIsNoKey()
    {
        const auto layout = withOptions("compose:menu,altwin:menu_win");

        QCOMPARE(layout->hotKeyCodeAt(KEY_LEFTMETA), unknown);
        QVERIFY(!layout->placesOf(menuKey).contains(KEY_LEFTMETA));
    }

    void theKeypadCountsByPlaceWhateverNumLockMakesOfIt()
    {
        for (const char *options : {"", "numpad:mac", "keypad:pointerkeys", "numpad:microsoft"}) {
            const auto layout = withOptions(options);

            QCOMPARE(layout->hotKeyCodeAt(KEY_KP7), keypad7Key);
            QCOMPARE(layout->placesOf(keypad0Key), QList<int>{KEY_KP0});
            QCOMPARE(layout->placesOf(115), QList<int>{KEY_HOME});
        }
    }

    void aKeyWithoutAKnownNameCountsByPlace()
    {
        // The layout calls it a tool of the desktop.
        const auto layout = withOptions("");

        QCOMPARE(layout->hotKeyCodeAt(KEY_F13), f13Key);
        QCOMPARE(layout->placesOf(f13Key), QList<int>{KEY_F13});
    }
};

QTEST_GUILESS_MAIN(tst_KeyboardLayout)
#include "tst_KeyboardLayout.moc"
