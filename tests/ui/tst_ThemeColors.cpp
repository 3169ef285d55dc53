// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ThemeColors.h"

#include <QString>
#include <QTest>

using namespace Qt::StringLiterals;
using vellumhound::base::Color;
using vellumhound::ui::colorFromHex;

namespace {

Color bytes(int red, int green, int blue, int alpha = 255)
{
    return {red / 255.0, green / 255.0, blue / 255.0, alpha / 255.0};
}

}  // namespace

class tst_ThemeColors : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTextGivesAColor_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Color>("color");
        QTest::newRow("six digits") << u"#303030"_s << bytes(48, 48, 48);
        QTest::newRow("six digits, order") << u"#FAF9F6"_s << bytes(250, 249, 246);
        QTest::newRow("lower case") << u"#faf9f6"_s << bytes(250, 249, 246);
        QTest::newRow("without sign") << u"0080ff"_s << bytes(0, 128, 255);
        QTest::newRow("signs and blanks around") << u"  (#0080ff);\n"_s << bytes(0, 128, 255);
        QTest::newRow("three digits") << u"abc"_s << bytes(170, 187, 204);
        QTest::newRow("three digits with sign") << u"#f0a"_s << bytes(255, 0, 170);
        QTest::newRow("eight digits, alpha first") << u"#80FF8040"_s << bytes(255, 128, 64, 128);
        QTest::newRow("transparent") << u"00FFFFFF"_s << bytes(255, 255, 255, 0);
        QTest::newRow("four digits") << u"#abcd"_s << bytes(0, 0, 0);
        QTest::newRow("five digits") << u"#12345"_s << bytes(0, 0, 0);
        QTest::newRow("seven digits") << u"#1234567"_s << bytes(0, 0, 0);
        QTest::newRow("nine digits") << u"#123456789"_s << bytes(0, 0, 0);
        QTest::newRow("twenty digits") << u"ffffffffffffffffffff"_s << bytes(0, 0, 0);
        QTest::newRow("empty") << QString() << bytes(0, 0, 0);
        QTest::newRow("only signs") << u"#--#"_s << bytes(0, 0, 0);
        QTest::newRow("six letters, none a digit") << u"zzzzzz"_s << bytes(0, 0, 0);
        QTest::newRow("digits up to a letter") << u"12zz34"_s << bytes(0, 0, 18);
        QTest::newRow("digits up to a sign") << u"ff-0ff"_s << bytes(0, 0, 255);
        QTest::newRow("prefix counts as characters") << u"0xabcdef"_s << bytes(171, 205, 239, 0);
    }
    void aTextGivesAColor()
    {
        QFETCH(QString, text);
        QFETCH(Color, color);

        const auto actual = colorFromHex(text);

        QCOMPARE(actual.red, color.red);
        QCOMPARE(actual.green, color.green);
        QCOMPARE(actual.blue, color.blue);
        QCOMPARE(actual.alpha, color.alpha);
    }

    void theThemeColorsAreKeptForLife()
    {
        QVERIFY(vellumhound::ui::lightThemeColor() == bytes(250, 249, 246));
        QVERIFY(vellumhound::ui::darkThemeColor() == bytes(48, 48, 48));
        QCOMPARE(&vellumhound::ui::lightThemeColor(), &vellumhound::ui::lightThemeColor());
    }
};

QTEST_GUILESS_MAIN(tst_ThemeColors)
#include "tst_ThemeColors.moc"
