// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/KeyTable.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/KeyTranslator.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QTest>

#include <linux/input-event-codes.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::KeyTranslator;
namespace Flags = base::ModifierFlags;

namespace {

/// A press as the window system reports it: `linuxCode` is 0 for a press that a program sent.
QKeyEvent press(int key, int linuxCode = 0, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
    const QString &text = {})
{
    return QKeyEvent(
        QEvent::KeyPress, key, modifiers, linuxCode ? quint32(linuxCode + 8) : 0U, 0U, 0U, text);
}

constexpr auto controlShift = Qt::ControlModifier | Qt::ShiftModifier;

}  // namespace

class tst_KeyTranslator : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLetterIsToldByItsPlace()
    {
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        const auto event = translator.translate(press(Qt::Key_Z, KEY_Y, {}, u"z"_s));

        QVERIFY(event);
        QCOMPARE(event->keyCode, base::KeyCode::y);
        QCOMPARE(event->characters, u"z"_s);
        QCOMPARE(event->equivalent, u"z"_s);
    }

    void aLetterOfAnotherScriptHasTheEquivalentOfItsPlace()
    {
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        const auto event = translator.translate(press(0x0441, KEY_C, {}, u"с"_s));

        QVERIFY(event);
        QCOMPARE(event->keyCode, 8);
        QCOMPARE(event->equivalent, u"c"_s);
    }

    void aNamedKeyIsToldByItsSymbol_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("keyCode");
        QTest::newRow("return") << int(Qt::Key_Return) << 36;
        QTest::newRow("keypad enter") << int(Qt::Key_Enter) << 76;
        QTest::newRow("tab") << int(Qt::Key_Tab) << 48;
        QTest::newRow("tab with shift") << int(Qt::Key_Backtab) << 48;
        QTest::newRow("escape") << int(Qt::Key_Escape) << 53;
        QTest::newRow("space") << int(Qt::Key_Space) << 49;
        QTest::newRow("left") << int(Qt::Key_Left) << 123;
        QTest::newRow("right") << int(Qt::Key_Right) << 124;
        QTest::newRow("down") << int(Qt::Key_Down) << 125;
        QTest::newRow("up") << int(Qt::Key_Up) << 126;
        QTest::newRow("home") << int(Qt::Key_Home) << 115;
        QTest::newRow("end") << int(Qt::Key_End) << 119;
        QTest::newRow("page up") << int(Qt::Key_PageUp) << 116;
        QTest::newRow("page down") << int(Qt::Key_PageDown) << 121;
        QTest::newRow("delete") << int(Qt::Key_Delete) << 117;
        QTest::newRow("backspace") << int(Qt::Key_Backspace) << 51;
        QTest::newRow("f1") << int(Qt::Key_F1) << 122;
        QTest::newRow("f12") << int(Qt::Key_F12) << 111;
    }
    void aNamedKeyIsToldByItsSymbol()
    {
        QFETCH(int, key);
        QFETCH(int, keyCode);
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        QCOMPARE(translator.translate(press(key))->keyCode, keyCode);
        // The place of a key that somebody made into this one does not count.
        QCOMPARE(translator.translate(press(key, KEY_CAPSLOCK))->keyCode, keyCode);
        QCOMPARE(translator.translate(press(key, KEY_J))->keyCode, keyCode);
    }

    void theKeypadWithoutNumLockNavigates()
    {
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        const auto event = translator.translate(press(Qt::Key_Up, KEY_KP8, Qt::KeypadModifier));

        QVERIFY(event);
        QCOMPARE(event->keyCode, base::KeyCode::up);
        QCOMPARE(event->modifiers(), 0U);
        QVERIFY(event->modifierFlags & Flags::numericPad);
    }

    void theKeypadWithNumLockTypesDigits()
    {
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        const auto event =
            translator.translate(press(Qt::Key_8, KEY_KP8, Qt::KeypadModifier, u"8"_s));

        QVERIFY(event);
        QCOMPARE(event->keyCode, 91);
        QCOMPARE(event->equivalent, u"8"_s);
    }

    void aPressWithoutAPlaceTakesThatOfItsSymbol()
    {
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        QCOMPARE(translator.translate(press(Qt::Key_F))->keyCode, base::KeyCode::f);
        QCOMPARE(translator.translate(press(Qt::Key_Comma))->keyCode, 43);
        QCOMPARE(translator.translate(press(Qt::Key_Comma))->equivalent, u","_s);
        QCOMPARE(translator.translate(press(0x0444))->keyCode, base::KeyCode::unknown);
    }

    void aModifierAloneIsNoPress_data()
    {
        QTest::addColumn<int>("key");
        for (const auto key : {Qt::Key_Shift, Qt::Key_Control, Qt::Key_Alt, Qt::Key_Meta,
                 Qt::Key_CapsLock, Qt::Key_NumLock, Qt::Key_Super_L, Qt::Key_Super_R, Qt::Key_AltGr,
                 Qt::Key_Mode_switch, Qt::Key_Multi_key})
            QTest::addRow("%x", unsigned(key)) << int(key);
    }
    void aModifierAloneIsNoPress()
    {
        QFETCH(int, key);
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        QVERIFY(!translator.translate(press(key)));
    }

    void modifiersAreOneToOne()
    {
        KeyTranslator translator(platform::KeyboardLayout::ofSession());
        const auto literal = [&](Qt::KeyboardModifiers modifiers) {
            return translator.translate(press(Qt::Key_J, KEY_J, modifiers))->literalFlags;
        };

        QCOMPARE(literal(Qt::ShiftModifier), Flags::shift);
        QCOMPARE(literal(Qt::ControlModifier), Flags::control);
        QCOMPARE(literal(Qt::AltModifier), Flags::option);
        QCOMPARE(literal(Qt::MetaModifier), Flags::command);
    }

    void ctrlCountsAsCommandInThePanel_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("linuxCode");
        QTest::addColumn<Qt::KeyboardModifiers>("held");
        QTest::addColumn<quint32>("seen");
        using Modifiers = Qt::KeyboardModifiers;
        QTest::newRow("ctrl") << int(Qt::Key_C) << KEY_C << Modifiers(Qt::ControlModifier)
                              << Flags::command;
        QTest::newRow("ctrl and super")
            << int(Qt::Key_C) << KEY_C << Modifiers(Qt::ControlModifier | Qt::MetaModifier)
            << (Flags::control | Flags::command);
        QTest::newRow("ctrl and alt")
            << int(Qt::Key_C) << KEY_C << Modifiers(Qt::ControlModifier | Qt::AltModifier)
            << (Flags::command | Flags::option);
        QTest::newRow("ctrl and shift, other key")
            << int(Qt::Key_C) << KEY_C << Modifiers(controlShift)
            << (Flags::command | Flags::shift);
        QTest::newRow("ctrl and shift, t") << int(Qt::Key_T) << KEY_T << Modifiers(controlShift)
                                           << (Flags::command | Flags::control);
        QTest::newRow("ctrl and shift, f") << int(Qt::Key_F) << KEY_F << Modifiers(controlShift)
                                           << (Flags::command | Flags::control);
        QTest::newRow("ctrl, shift and super, t")
            << int(Qt::Key_T) << KEY_T << Modifiers(controlShift | Qt::MetaModifier)
            << (Flags::command | Flags::control | Flags::shift);
        QTest::newRow("alt") << int(Qt::Key_C) << KEY_C << Modifiers(Qt::AltModifier)
                             << Flags::option;
        QTest::newRow("shift") << int(Qt::Key_T) << KEY_T << Modifiers(Qt::ShiftModifier)
                               << Flags::shift;
    }
    void ctrlCountsAsCommandInThePanel()
    {
        QFETCH(int, key);
        QFETCH(int, linuxCode);
        QFETCH(Qt::KeyboardModifiers, held);
        QFETCH(quint32, seen);
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        const auto event = translator.translate(press(key, linuxCode, held));

        QCOMPARE(event->modifiers(), seen);
        QCOMPARE(bool(event->literalFlags & Flags::control), held.testFlag(Qt::ControlModifier));
    }

    void arrowsCountAsKeysWithoutModifiers()
    {
        KeyTranslator translator(platform::KeyboardLayout::ofSession());

        const auto event = translator.translate(press(Qt::Key_Up, KEY_UP));

        QCOMPARE(event->modifiers(), 0U);
        QCOMPARE(event->modifierFlags, Flags::numericPad | Flags::function);
    }

    void theKeypadCountsByPlaceInHotKeys_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("linuxCode");
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<int>("hotKeyCode");
        QTest::newRow("7, Num Lock off") << int(Qt::Key_Home) << KEY_KP7 << 115 << 89;
        QTest::newRow("7, Num Lock on") << int(Qt::Key_7) << KEY_KP7 << 89 << 89;
        QTest::newRow("separator, Num Lock off") << int(Qt::Key_Delete) << KEY_KPDOT << 117 << 65;
        QTest::newRow("Enter") << int(Qt::Key_Enter) << KEY_KPENTER << 76 << 76;
        QTest::newRow("Home") << int(Qt::Key_Home) << KEY_HOME << 115 << 115;
        QTest::newRow("no hardware code") << int(Qt::Key_Home) << 0 << 115 << 115;
    }
    void theKeypadCountsByPlaceInHotKeys()
    {
        QFETCH(int, key);
        QFETCH(int, linuxCode);
        QFETCH(int, keyCode);
        QFETCH(int, hotKeyCode);
        const KeyTranslator translator(platform::KeyboardLayout::ofSession());

        const auto event = translator.translate(press(key, linuxCode, Qt::ControlModifier));

        QCOMPARE(event->keyCode, keyCode);
        QCOMPARE(event->hotKeyCode.value_or(event->keyCode), hotKeyCode);
    }

    void repeatAndTimeAreKept()
    {
        KeyTranslator translator(platform::KeyboardLayout::ofSession());
        QKeyEvent repeated(
            QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier, KEY_DOWN + 8, 0, 0, {}, true);
        repeated.setTimestamp(123456);

        const auto event = translator.translate(repeated);

        QVERIFY(event->isRepeat);
        QCOMPARE(event->time, std::chrono::milliseconds(123456));
    }

    void equivalentsComeFromTheGroupWithLatinLetters_data()
    {
        QTest::addColumn<QByteArray>("layouts");
        QTest::addColumn<QByteArray>("variants");
        QTest::addColumn<unsigned>("group");
        QTest::addColumn<int>("linuxCode");
        QTest::addColumn<char>("character");
        QTest::newRow("us") << QByteArray("us") << QByteArray() << 0U << KEY_Y << 'y';
        QTest::newRow("de") << QByteArray("de") << QByteArray() << 0U << KEY_Y << 'z';
        QTest::newRow("fr") << QByteArray("fr") << QByteArray() << 0U << KEY_Q << 'a';
        QTest::newRow("dvorak") << QByteArray("us") << QByteArray("dvorak") << 0U << KEY_S << 'o';
        QTest::newRow("ru alone") << QByteArray("ru") << QByteArray() << 0U << KEY_C << 'c';
        QTest::newRow("de,ru in ru")
            << QByteArray("de,ru") << QByteArray(",") << 1U << KEY_Y << 'z';
        QTest::newRow("gr,us in gr")
            << QByteArray("gr,us") << QByteArray(",") << 0U << KEY_S << 's';
        QTest::newRow("a group that is not there")
            << QByteArray("us") << QByteArray() << 3U << KEY_S << 's';
    }
    void equivalentsComeFromTheGroupWithLatinLetters()
    {
        QFETCH(QByteArray, layouts);
        QFETCH(QByteArray, variants);
        QFETCH(unsigned, group);
        QFETCH(int, linuxCode);
        QFETCH(char, character);

        const auto layout =
            platform::KeyboardLayout::named(layouts.toStdString(), variants.toStdString());

        QCOMPARE(layout->characterOf(linuxCode, group), character);
    }
};

QTEST_MAIN(tst_KeyTranslator)
#include "tst_KeyTranslator.moc"
