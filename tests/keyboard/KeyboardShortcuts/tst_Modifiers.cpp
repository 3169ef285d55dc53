// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/KeyEvent.h"
#include "keyboard/KeyboardShortcuts/Modifiers.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;

class tst_Modifiers : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachModifierHasABitInBothEncodings_data()
    {
        QTest::addColumn<int>("carbon");
        QTest::addColumn<quint32>("flag");
        QTest::newRow("none") << 0 << 0U;
        QTest::newRow("command") << 0x100 << 0x100000U;
        QTest::newRow("shift") << 0x200 << 0x20000U;
        QTest::newRow("option") << 0x800 << 0x80000U;
        QTest::newRow("control") << 0x1000 << 0x40000U;
        QTest::newRow("all") << 0x1B00 << 0x1E0000U;
    }
    void eachModifierHasABitInBothEncodings()
    {
        QFETCH(int, carbon);
        QFETCH(quint32, flag);

        QCOMPARE(carbonModifiersOf(flag), carbon);
        QCOMPARE(modifierFlagsOf(carbon), flag);
    }

    void aBitWithoutACounterpartIsDropped()
    {
        using namespace base::ModifierFlags;

        QCOMPARE(carbonModifiersOf(capsLock | numericPad | function | 0x1U), 0);
        QCOMPARE(modifierFlagsOf(0x400 | 0x2000 | 0x1), 0U);
        QCOMPARE(normalizedCarbonModifiers(-1), 0x1B00);
        QCOMPARE(normalizedCarbonModifiers(0x1400), 0x1000);
    }
};

QTEST_GUILESS_MAIN(tst_Modifiers)
#include "tst_Modifiers.moc"
