// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/MenubarIcon.h"

#include <QImage>
#include <QPainter>
#include <QtTest>

using namespace vellumhound::shell;
using namespace Qt::StringLiterals;

namespace {

/// The smallest rectangle that holds whatever is drawn.
QRect drawnPart(const QImage &image)
{
    QRect part;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 64)
                part |= QRect(x, y, 1, 1);
        }
    }
    return part;
}

/// How much of the ink is in pixels that are full of it; the rest is in smeared edges.
double solidShare(const QImage &image)
{
    int solid = 0;
    int all = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int alpha = qAlpha(image.pixel(x, y));
            all += alpha;
            solid += alpha > 230 ? alpha : 0;
        }
    }
    return all ? double(solid) / all : 0;
}

QImage pictureOf(const QIcon &icon, int cellPx, double scale)
{
    return icon.pixmap(QSize(cellPx, cellPx), scale).toImage();
}

}  // namespace

class tst_MenubarIcon : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void thePictureIsEighteenHighAtAnyScale_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : {1.0, 1.25, 1.5, 2.0})
            QTest::addRow("%g", scale) << scale;
    }
    void thePictureIsEighteenHighAtAnyScale()
    {
        QFETCH(double, scale);
        const auto icon = menubarIcon({Qt::black, {}, {}});

        const auto image = pictureOf(icon, 22, scale);

        QCOMPARE(image.height(), qRound(22 * scale));
        const auto part = drawnPart(image);
        // The drawing leaves half a pixel of its grid above and below.
        QVERIFY2(
            qAbs(part.height() - 17 * scale) <= scale, qPrintable(QString::number(part.height())));
        QVERIFY(qAbs(part.center().x() - image.width() / 2.0) <= 1);
        QVERIFY2(solidShare(image) > 0.6, qPrintable(QString::number(solidShare(image))));
    }

    void onlyTheInkIsUsed()
    {
        const QColor ink(10, 200, 30);
        const auto image = pictureOf(menubarIcon({ink, {}, {}}), 44, 1);

        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (qAlpha(image.pixel(x, y)) == 255)
                    QCOMPARE(image.pixelColor(x, y), ink);
            }
        }
        QVERIFY(!drawnPart(image).isEmpty());
    }

    void theHaloStandsAroundTheInk()
    {
        const auto plain = pictureOf(menubarIcon({Qt::black, {}, {}}), 44, 2);
        const auto image = pictureOf(menubarIcon({Qt::black, QColor(Qt::white), {}}), 44, 2);

        QVERIFY(drawnPart(image).contains(drawnPart(plain), true));
        int around = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (qAlpha(plain.pixel(x, y)) == 255)
                    QCOMPARE(image.pixelColor(x, y), QColor(Qt::black));
                if (qAlpha(plain.pixel(x, y)) == 0)
                    around += image.pixelColor(x, y) == QColor(Qt::white) ? 1 : 0;
            }
        }
        QVERIFY2(around > 40, qPrintable(QString::number(around)));
    }

    void aPainterGetsWholePixels()
    {
        QImage image(44, 44, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(2);
        image.fill(Qt::transparent);
        QPainter painter(&image);

        menubarIcon({Qt::black, {}, {}}).paint(&painter, QRect(0, 0, 22, 22));
        painter.end();

        QCOMPARE(image, pictureOf(menubarIcon({Qt::black, {}, {}}), 22, 2)
                            .convertToFormat(QImage::Format_ARGB32_Premultiplied));
    }

    void theNameInTheThemeIsHandedOn()
    {
        QCOMPARE(menubarIcon({Qt::black, {}, u"some-symbolic"_s}).name(), u"some-symbolic"_s);
        QCOMPARE(menubarIcon({Qt::black, {}, {}}).name(), QString());
    }

    void onlySomeDesktopsColourThePicture()
    {
        QVERIFY(recoloursSymbolicIcons(u"KDE"));
        QVERIFY(recoloursSymbolicIcons(u"ubuntu:GNOME"));
        QVERIFY(!recoloursSymbolicIcons(u"sway"));
        QVERIFY(!recoloursSymbolicIcons(u"XFCE"));
        QVERIFY(!recoloursSymbolicIcons(u""));
    }
};

QTEST_MAIN(tst_MenubarIcon)
#include "tst_MenubarIcon.moc"
