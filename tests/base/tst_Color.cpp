// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Color.h"

#include <QTest>

using namespace vellumhound::base;

class tst_Color : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void blackOnWhiteIsTheMost()
    {
        const Color black{0, 0, 0};
        const Color white{1, 1, 1};

        QVERIFY(qAbs(contrastRatio(black, white) - 21.0) < 0.0001);
        QVERIFY(qAbs(contrastRatio(white, black) - 21.0) < 0.0001);
        QVERIFY(qAbs(contrastRatio(white, white) - 1.0) < 0.0001);
    }

    void theRatioOfTwoGreysIsKnown()
    {
        const double grey = 0x76 / 255.0;  // the darkest grey below 4.55 on white

        const auto ratio = contrastRatio({grey, grey, grey}, {1, 1, 1});

        QVERIFY(ratio > 4.53 && ratio < 4.55);
    }

    void aColorWithEnoughContrastStays()
    {
        const Color orange{1, 0.7, 0.2};

        QVERIFY(withContrast(orange, {0.12, 0.12, 0.12}, 3) == orange);
    }

    void onDarkAColorIsLightenedJustEnough()
    {
        const Color grey{0.4, 0.4, 0.4, 0.5};
        const Color background{0.12, 0.12, 0.125};

        const auto lifted = withContrast(grey, background, 3);

        QVERIFY(contrastRatio(lifted, background) >= 3);
        QVERIFY(contrastRatio(lifted, background) < 3.2);
        QVERIFY(lifted.red > grey.red);
        QCOMPARE(lifted.alpha, grey.alpha);
    }

    void onLightAColorIsDarkened()
    {
        const Color yellow{1, 0.9, 0.4};

        const auto darker = withContrast(yellow, {1, 1, 1}, 3);

        QVERIFY(contrastRatio(darker, {1, 1, 1}) >= 3);
        QVERIFY(darker.green < yellow.green);
    }

    void anUnreachableRatioGivesTheFarEnd()
    {
        QVERIFY(withContrast({0.4, 0.4, 0.4}, {0.3, 0.3, 0.3}, 21) == (Color{1, 1, 1}));
    }
};

QTEST_GUILESS_MAIN(tst_Color)
#include "tst_Color.moc"
