// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/widgets/Symbols.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QSvgRenderer>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound::base;

namespace {

QStringList allSymbols()
{
    hasSymbol(u"doc"_s);  // makes the resources known
    QStringList names;
    for (const auto &file : QDir(u":/symbols"_s).entryList(QDir::Files))
        names.append(file.chopped(4));
    return names;
}

QByteArray sourceOf(const QString &name)
{
    QFile file(u":/symbols/"_s + name + u".svg"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QImage pixels(const QPixmap &pixmap)
{
    auto image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(1);
    return image;
}

}  // namespace

class tst_Symbols : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachSymbolInUseIsThere_data()
    {
        QTest::addColumn<QString>("name");
        const QStringList names = {u"folder.fill"_s, u"doc.text.fill"_s, u"photo.fill"_s,
            u"music.note"_s, u"film.fill"_s, u"app.square.fill"_s, u"doc"_s,
            u"doc.fill.badge.plus"_s, u"doc.zipper"_s, u"chart.bar.doc.horizontal"_s,
            u"chart.bar.doc.horizontal.fill"_s, u"doc.richtext"_s,
            u"chevron.left.forwardslash.chevron.right"_s, u"curlybraces"_s, u"globe"_s,
            u"textformat"_s, u"cube.fill"_s, u"cylinder.split.1x2"_s, u"envelope"_s, u"book.fill"_s,
            u"doc.fill"_s, u"magnifyingglass"_s, u"star.fill"_s, u"star.slash.fill"_s,
            u"macwindow.and.cursorarrow"_s, u"macwindow.on.rectangle.rtl"_s,
            u"arrowshape.backward.fill"_s, u"arrow.backward"_s, u"xmark.circle.fill"_s,
            u"xmark.circle"_s, u"door.right.hand.open"_s, u"folder"_s,
            u"doc.text.magnifyingglass"_s, u"doc.on.doc"_s, u"ellipsis"_s, u"ellipsis.circle"_s,
            u"square.and.arrow.down.fill"_s, u"checkmark.circle.fill"_s,
            u"exclamationmark.triangle.fill"_s, u"gearshape"_s, u"magnifyingglass.circle"_s,
            u"sparkle.magnifyingglass"_s, u"house"_s, u"info.circle"_s, u"questionmark.circle"_s,
            u"plus"_s, u"minus"_s, u"folder.badge.plus"_s, u"wand.and.stars"_s, u"1.circle.fill"_s,
            u"2.circle.fill"_s, u"3.circle.fill"_s};
        for (const auto &name : names)
            QTest::newRow(qPrintable(name)) << name;
    }
    void eachSymbolInUseIsThere()
    {
        QFETCH(QString, name);

        QVERIFY(hasSymbol(name));
    }

    void eachSymbolIsDrawnOnTheGridWithoutMasks_data()
    {
        QTest::addColumn<QString>("name");
        for (const auto &name : allSymbols())
            QTest::newRow(qPrintable(name)) << name;
    }
    void eachSymbolIsDrawnOnTheGridWithoutMasks()
    {
        QFETCH(QString, name);
        const auto source = sourceOf(name);
        static const QRegularExpression colors(u"#(?!000\")[0-9a-fA-F]{3,8}\""_s);

        QVERIFY(QSvgRenderer(source).isValid());
        QVERIFY(source.contains("viewBox=\"0 0 24 24\""));
        QVERIFY(!source.contains("mask") && !source.contains("clip"));
        QVERIFY(!colors.match(QString::fromUtf8(source)).hasMatch());
    }

    void noSymbolIsEmptyOrTouchesTheEdge_data() { eachSymbolIsDrawnOnTheGridWithoutMasks_data(); }
    void noSymbolIsEmptyOrTouchesTheEdge()
    {
        QFETCH(QString, name);
        constexpr int side = 192;

        const auto image = pixels(symbolPixmap(name, side, 1, Qt::black));

        int ink = 0;
        int inkAtTheEdge = 0;
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                const int isInk = qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
                const bool isEdge = x == 0 || y == 0 || x == side - 1 || y == side - 1;
                ink += isInk;
                inkAtTheEdge += isEdge ? isInk : 0;
            }
        }
        QCOMPARE(inkAtTheEdge, 0);
        QVERIFY(ink > 300);
    }

    void aSymbolHasTheDevicePixelsOfItsScale_data()
    {
        QTest::addColumn<double>("ratio");
        QTest::addColumn<int>("devicePixels");
        QTest::newRow("100 %") << 1.0 << 16;
        QTest::newRow("125 %") << 1.25 << 20;
        QTest::newRow("150 %") << 1.5 << 24;
        QTest::newRow("200 %") << 2.0 << 32;
    }
    void aSymbolHasTheDevicePixelsOfItsScale()
    {
        QFETCH(double, ratio);
        QFETCH(int, devicePixels);

        const auto pixmap = symbolPixmap(u"folder.fill"_s, 16, ratio, Qt::red);

        QCOMPARE(pixmap.size(), QSize(devicePixels, devicePixels));
        QCOMPARE(pixmap.devicePixelRatio(), ratio);
    }

    void aSymbolIsTintedAllOver()
    {
        const QColor color(80, 140, 255);

        const auto image = pixels(symbolPixmap(u"gearshape"_s, 20, 2, color));

        int solid = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (qAlpha(image.pixel(x, y)) != 255)
                    continue;
                QCOMPARE(QColor(image.pixel(x, y)), color);
                ++solid;
            }
        }
        QVERIFY(solid > 20);
    }

    void theAlphaOfTheTintIsKept()
    {
        const auto image = pixels(symbolPixmap(u"folder.fill"_s, 20, 1, QColor(0, 0, 0, 102)));

        QCOMPARE(qAlpha(image.pixel(10, 12)), 102);
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
    }

    void aSymbolIsDrawnOnce()
    {
        const auto first = symbolPixmap(u"globe"_s, 17, 1.5, Qt::green);
        const auto second = symbolPixmap(u"globe"_s, 17, 1.5, Qt::green);

        QCOMPARE(first.cacheKey(), second.cacheKey());
        QVERIFY(first.cacheKey() != symbolPixmap(u"globe"_s, 17, 1.5, Qt::red).cacheKey());
    }

    void anUnknownNameIsAPageAndIsLoggedOnce()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        QTest::ignoreMessage(QtWarningMsg, "no symbol named no.such.symbol");

        const auto once = pixels(symbolPixmap(u"no.such.symbol"_s, 20, 1, Qt::black));
        const auto again = pixels(symbolPixmap(u"no.such.symbol"_s, 20, 1, Qt::black));

        QVERIFY(!hasSymbol(u"no.such.symbol"_s));
        QVERIFY(!hasSymbol(QString()));
        QCOMPARE(once, pixels(symbolPixmap(u"doc.fill"_s, 20, 1, Qt::black)));
        QCOMPARE(again, once);
    }

    void aPaintedSymbolStandsOnWholePixelsAtAnyScale_data()
    {
        aSymbolHasTheDevicePixelsOfItsScale_data();
    }
    void aPaintedSymbolStandsOnWholePixelsAtAnyScale()
    {
        QFETCH(double, ratio);
        QFETCH(int, devicePixels);
        QImage canvas(60, 60, QImage::Format_ARGB32_Premultiplied);
        canvas.setDevicePixelRatio(ratio);
        canvas.fill(Qt::transparent);

        QPainter painter(&canvas);
        paintSymbol(painter, QRectF(4.3, 2.7, 20, 16), u"doc.text.fill"_s, Qt::blue);
        painter.end();

        const auto expected = pixels(symbolPixmap(u"doc.text.fill"_s, 16, ratio, Qt::blue));
        const QPointF center(14.3 * ratio, 10.7 * ratio);
        const QPoint corner(
            qRound(center.x() - devicePixels / 2.0), qRound(center.y() - devicePixels / 2.0));
        canvas.setDevicePixelRatio(1);
        QCOMPARE(canvas.copy(QRect(corner, expected.size())), expected);
    }

    void aRectangleWithoutRoomPaintsNothing()
    {
        QImage canvas(8, 8, QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::transparent);
        const auto before = canvas;

        QPainter painter(&canvas);
        paintSymbol(painter, QRectF(2, 2, 0, 5), u"doc"_s, Qt::blue);
        painter.end();

        QCOMPARE(canvas, before);
    }

    void theProgramsIconIsDrawnInItsColors()
    {
        const auto icon = applicationIcon(64, 1.5);
        const auto image = pixels(icon);

        QCOMPARE(icon.size(), QSize(96, 96));
        QCOMPARE(icon.devicePixelRatio(), 1.5);
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(image.pixel(48, 20)), 255);
        QVERIFY(QColor(image.pixel(12, 48)).hslSaturation() > 100);
    }

    void colorsGoThereAndBack()
    {
        const Color color{0.2, 0.4, 0.6, 0.8};

        const auto back = toColor(toQColor(color));

        QVERIFY(qAbs(back.red - color.red) < 0.0001);
        QVERIFY(qAbs(back.green - color.green) < 0.0001);
        QVERIFY(qAbs(back.blue - color.blue) < 0.0001);
        QVERIFY(qAbs(back.alpha - color.alpha) < 0.0001);
    }
};

QTEST_MAIN(tst_Symbols)
#include "tst_Symbols.moc"
