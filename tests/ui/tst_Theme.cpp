// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Color.h"
#include "base/widgets/Symbols.h"
#include "ui/widgets/Theme.h"

#include <QGuiApplication>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::ui;

namespace {

double contrast(const QColor &a, const QColor &b)
{
    return base::contrastRatio(base::toColor(a), base::toColor(b));
}

}  // namespace

class tst_Theme : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textsCanBeReadOnTheirBackground_data()
    {
        QTest::addColumn<bool>("isDark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }
    void textsCanBeReadOnTheirBackground()
    {
        QFETCH(bool, isDark);
        const auto theme = isDark ? Theme::dark() : Theme::light();

        QCOMPARE(theme.isDark, isDark);
        QVERIFY(contrast(theme.primaryText, theme.panelBackground) >= 7);
        QVERIFY(contrast(theme.secondaryText, theme.panelBackground) >= 4.5);
        QVERIFY(contrast(theme.placeholderText, theme.panelBackground) >= 3);
        QVERIFY(contrast(theme.negative, theme.panelBackground) >= 3);
        QVERIFY(contrast(theme.accent, theme.panelBackground) >= 3);
    }

    void everyColorIsSet_data() { textsCanBeReadOnTheirBackground_data(); }
    void everyColorIsSet()
    {
        QFETCH(bool, isDark);
        const auto theme = isDark ? Theme::dark() : Theme::light();

        for (const auto &color : {theme.accent, theme.panelBackground, theme.panelSurface,
                 theme.panelLine, theme.leftColumn, theme.primaryText, theme.secondaryText,
                 theme.tertiaryText, theme.placeholderText, theme.separator, theme.selectionFill,
                 theme.selectionLine, theme.unfocusedSelection, theme.hover, theme.keyCapLine,
                 theme.clearSymbol, theme.negative, theme.shadow})
            QVERIFY(color.isValid());
    }

    void theDesktopsAccentTintsTheSelection()
    {
        const QColor green(0x33, 0xAA, 0x55);

        const auto light = Theme::light(green);
        const auto dark = Theme::dark(green);

        QCOMPARE(light.accent, green);
        QCOMPARE(light.selectionFill.rgb(), green.rgb());
        QCOMPARE(qRound(light.selectionFill.alphaF() * 100), 16);
        QCOMPARE(qRound(light.selectionLine.alphaF() * 100), 38);
        QCOMPARE(qRound(dark.selectionFill.alphaF() * 100), 30);
        QCOMPARE(qRound(dark.selectionLine.alphaF() * 100), 45);
    }

    void withoutAnAccentOursIsTaken()
    {
        QCOMPARE(Theme::light().accent, QColor(0x2F, 0x6F, 0xED));
        QCOMPARE(Theme::dark().accent, QColor(0x50, 0x8C, 0xFF));
    }

    void onlyOverABlurIsThePanelTranslucent_data() { textsCanBeReadOnTheirBackground_data(); }
    void onlyOverABlurIsThePanelTranslucent()
    {
        QFETCH(bool, isDark);
        const auto theme = isDark ? Theme::dark() : Theme::light();

        const auto overBlur = theme.overBlur();

        QCOMPARE(theme.panelSurface, theme.panelBackground);
        QCOMPARE(theme.panelBackground.alpha(), 255);
        for (const auto &color : {overBlur.panelSurface, overBlur.leftColumn}) {
            QCOMPARE(color.rgb(), theme.panelBackground.rgb());
            QCOMPARE(qRound(color.alphaF() * 100), 60);
        }
        // Windows and palettes stay as they are.
        QCOMPARE(overBlur.panelBackground, theme.panelBackground);
        QVERIFY(overBlur.palette() == theme.palette());
    }

    void thePanelsLineIsThinAndPaleOnLightAndWiderOnDark()
    {
        QCOMPARE(Theme::light().panelLineWidth, 0.5);
        QCOMPARE(qRound(Theme::light().panelLine.lightnessF() * 100), 90);
        QCOMPARE(Theme::dark().panelLineWidth, 1.0);
        QCOMPARE(qRound(Theme::dark().panelLine.lightnessF() * 100), 50);
        QCOMPARE(Theme::light().panelLine.alpha(), 255);
        QCOMPARE(Theme::dark().panelLine.alpha(), 255);
    }

    void thePaletteIsCompleteAndOpaque_data() { textsCanBeReadOnTheirBackground_data(); }
    void thePaletteIsCompleteAndOpaque()
    {
        QFETCH(bool, isDark);
        const auto theme = isDark ? Theme::dark() : Theme::light();

        const auto palette = theme.palette();

        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            for (int role = 0; role < QPalette::NColorRoles; ++role) {
                if (role == QPalette::NoRole)
                    continue;
                QVERIFY2(palette.isBrushSet(group, QPalette::ColorRole(role)),
                    qPrintable(QString::number(role)));
                QCOMPARE(palette.color(group, QPalette::ColorRole(role)).alpha(), 255);
            }
        }
        QCOMPARE(palette.color(QPalette::Window), theme.panelBackground);
        QVERIFY(contrast(palette.color(QPalette::Text), palette.color(QPalette::Base)) >= 7);
        QVERIFY(
            contrast(palette.color(QPalette::ButtonText), palette.color(QPalette::Button)) >= 7);
        QVERIFY(contrast(palette.color(QPalette::HighlightedText),
                    palette.color(QPalette::Highlight)) >= 3);
    }

    void aPaleAccentCarriesDarkText()
    {
        const auto palette = Theme::light(QColor(0xFF, 0xE0, 0x66)).palette();

        QCOMPARE(palette.color(QPalette::HighlightedText), QColor(Qt::black));
    }

    void fontsFollowTheDesktopsFontAndTheTextScale()
    {
        auto theme = Theme::light();

        QCOMPARE(theme.font(13).pixelSize(), 13);
        QCOMPARE(theme.font(13).families(), QGuiApplication::font().families());
        QCOMPARE(theme.font(11, QFont::DemiBold).weight(), QFont::DemiBold);
        theme.textScale = 1.25;
        QCOMPARE(theme.font(13).pixelSize(), 16);
        QCOMPARE(uiFont(0).pixelSize(), 1);
    }

    void theTextScaleIsToldByTheDesktopsFont_data()
    {
        QTest::addColumn<double>("points");
        QTest::addColumn<double>("dotsPerInch");
        QTest::addColumn<double>("scale");
        QTest::newRow("usual") << 10.0 << 96.0 << 1.0;
        QTest::newRow("smallest usual") << 9.0 << 96.0 << 1.0;
        QTest::newRow("largest usual") << 11.0 << 96.0 << 1.0;
        QTest::newRow("large font") << 16.5 << 96.0 << 1.5;
        QTest::newRow("small font") << 7.2 << 96.0 << 0.8;
        QTest::newRow("text scale of the desktop") << 11.0 << 120.0 << 1.25;
        QTest::newRow("huge") << 40.0 << 192.0 << 2.5;
        QTest::newRow("tiny") << 4.0 << 96.0 << 0.75;
        QTest::newRow("font in pixels") << -1.0 << 96.0 << 1.0;
        QTest::newRow("no screen") << 10.0 << 0.0 << 1.0;
    }
    void theTextScaleIsToldByTheDesktopsFont()
    {
        QFETCH(double, points);
        QFETCH(double, dotsPerInch);
        QFETCH(double, scale);

        QVERIFY(qAbs(textScaleOf(points, dotsPerInch) - scale) < 0.0001);
    }

    void themesAreComparedByValue()
    {
        auto theme = Theme::dark();
        QVERIFY(theme == Theme::dark());
        QVERIFY(!(theme == Theme::light()));

        theme.textScale = 2;

        QVERIFY(!(theme == Theme::dark()));
    }
};

QTEST_MAIN(tst_Theme)
#include "tst_Theme.moc"
