// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Color.h"

#include <QTest>

using namespace vellumhound::base;

namespace {
constexpr Color black{0, 0, 0, 1};
constexpr Color white{1, 1, 1, 1};
}  // namespace

class tst_Color : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void contrastGoesFromOneToTwentyOne()
    {
        QCOMPARE(contrastRatio(black, white), 21.0);
        QCOMPARE(contrastRatio(white, black), 21.0);
        QCOMPARE(contrastRatio(white, white), 1.0);
        // The well-known border of grey on white.
        QVERIFY(contrastRatio({0x76 / 255.0, 0x76 / 255.0, 0x76 / 255.0, 1}, white) > 4.5);
        QVERIFY(contrastRatio({0x77 / 255.0, 0x77 / 255.0, 0x77 / 255.0, 1}, white) < 4.5);
    }

    void aColourWithEnoughContrastStays()
    {
        const Color blue{0, 0, 0.6, 0.5};

        QCOMPARE(withContrast(blue, white, 4.5), blue);
    }

    void aColourMovesAwayFromItsBackground()
    {
        const Color yellow{1, 0.9, 0, 0.7};

        const auto dark = withContrast(yellow, white, 4.5);
        QVERIFY(contrastRatio(dark, white) >= 4.5);
        QVERIFY(dark.red < yellow.red && dark.green < yellow.green);
        QCOMPARE(dark.alpha, 0.7);

        const auto light = withContrast({0, 0, 0.3, 1}, black, 4.5);
        QVERIFY(contrastRatio(light, black) >= 4.5);
        QVERIFY(light.red > 0 && light.blue > 0.3);
    }

    void everyGreyCanBeWrittenOn()
    {
        for (int level = 0; level <= 255; ++level) {
            const Color grey{level / 255.0, level / 255.0, level / 255.0, 1};
            QVERIFY(contrastRatio(withContrast(grey, grey, 4.5), grey) >= 4.5);
        }
    }

    void whatCannotBeReachedEndsAtTheExtreme()
    {
        QCOMPARE(withContrast(white, white, 30), black);
        QCOMPARE(withContrast(black, black, 30), white);
    }
};

QTEST_APPLESS_MAIN(tst_Color)
#include "tst_Color.moc"
