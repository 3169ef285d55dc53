// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/widgets/Symbols.h"
#include "ui/widgets/FileIconView.h"

#include <QImage>
#include <QPainter>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using ui::FileIconView;
using ui::FileKind;
using ui::iconColorOn;
using ui::iconInfo;

namespace {

const QColor lightBackground(0xf6, 0xf6, 0xf8);
const QColor darkBackground(0x1e, 0x1e, 0x20);

/// The most solid pixel of what was painted.
QColor inkOf(const QImage &image)
{
    QColor ink(Qt::transparent);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alpha() > ink.alpha())
                ink = image.pixelColor(x, y);
        }
    }
    return ink;
}

QImage rendered(FileIconView &view)
{
    QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    view.render(&image, {}, {}, QWidget::RenderFlags());
    return image;
}

}  // namespace

class tst_FileIconView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onDarkEveryKindCanBeSeen_data()
    {
        QTest::addColumn<FileKind>("kind");
        for (int kind = 0; kind <= int(FileKind::other); ++kind)
            QTest::addRow("%d", kind + 1) << FileKind(kind);
    }
    void onDarkEveryKindCanBeSeen()
    {
        QFETCH(FileKind, kind);
        const auto &icon = iconInfo(kind);
        const auto background = base::toColor(darkBackground);

        const auto color = iconColorOn(icon, darkBackground);

        QVERIFY(base::contrastRatio(base::toColor(color), background) >= 2.99);
        if (base::contrastRatio(icon.color, background) >= 3)
            QCOMPARE(color, base::toQColor(icon.color));
        else
            QVERIFY(color != base::toQColor(icon.color));
    }

    void onLightTheColorIsItsOwn_data() { onDarkEveryKindCanBeSeen_data(); }
    void onLightTheColorIsItsOwn()
    {
        QFETCH(FileKind, kind);

        QCOMPARE(
            iconColorOn(iconInfo(kind), lightBackground), base::toQColor(iconInfo(kind).color));
    }

    void everyKindHasADrawing_data() { onDarkEveryKindCanBeSeen_data(); }
    void everyKindHasADrawing()
    {
        QFETCH(FileKind, kind);

        QVERIFY(base::hasSymbol(iconInfo(kind).symbolName));
    }

    void theIconIsPaintedInItsColorAndFitsTheRectangle()
    {
        QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);

        QPainter painter(&image);
        paintFileIcon(painter, QRectF(10, 5, 20, 30), iconInfo(FileKind::folder), lightBackground);
        painter.end();

        QCOMPARE(inkOf(image).rgb(), base::toQColor(iconInfo(FileKind::folder).color).rgb());
        QCOMPARE(inkOf(image.copy(0, 0, 40, 10)).alpha(), 0);
        QCOMPARE(inkOf(image.copy(0, 30, 40, 10)).alpha(), 0);
    }

    void theViewShowsAGreyPageUntilItIsTold()
    {
        FileIconView view;

        QVERIFY(view.icon() == iconInfo(FileKind::other));
        QCOMPARE(view.sizeHint(), QSize(20, 20));
    }

    void theViewPaintsItsIconForItsBackground()
    {
        FileIconView view;
        view.resize(20, 20);
        view.setIcon(iconInfo(FileKind::sourceCode));

        view.setBackgroundColor(lightBackground);
        const auto onLight = rendered(view);
        view.setBackgroundColor(darkBackground);
        const auto onDark = rendered(view);

        QVERIFY(inkOf(onLight).alpha() > 0);
        QVERIFY(inkOf(onDark).lightness() > inkOf(onLight).lightness());
    }

    void withoutABackgroundThePaletteTellsIt()
    {
        FileIconView view;
        view.resize(20, 20);
        view.setIcon(iconInfo(FileKind::sourceCode));
        auto palette = view.palette();
        palette.setColor(QPalette::Window, darkBackground);
        view.setPalette(palette);
        const auto byPalette = rendered(view);

        view.setBackgroundColor(darkBackground);

        QCOMPARE(rendered(view), byPalette);
    }
};

QTEST_MAIN(tst_FileIconView)
#include "tst_FileIconView.moc"
