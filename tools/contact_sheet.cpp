// SPDX-License-Identifier: GPL-3.0-or-later
// Draws every symbol at the sizes it is used at, on both backgrounds, so that the set can be judged
// as a set: contact-sheet <file.png>. With a second word, "enlarged", it shows the smallest sizes
// pixel by pixel, which is where a drawing falls apart.
#include "base/widgets/Symbols.h"
#include "ui/IconInfo.h"
#include "ui/widgets/FileIconView.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTextStream>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace vellumhound;

namespace {

constexpr int gapPx = 10;
constexpr int labelHeightPx = 16;
constexpr int kindCount = 24;

/// One drawing of a symbol; a ratio of 2 stands for a 200 % screen.
struct Shot {
    int sizePx;
    int ratio;
};

struct Layout {
    QList<Shot> shots;
    int magnification;
    int columns;
};

struct Background {
    QColor fill;
    QColor ink;
};

struct Cell {
    ui::IconInfo icon;
    QString label;
    bool isTinted = false;
};

QList<Cell> cells()
{
    QList<Cell> all;
    for (int kind = 0; kind < kindCount; ++kind) {
        const auto &icon = ui::iconInfo(ui::FileKind(kind));
        all.append({icon, icon.symbolName, true});
    }
    base::hasSymbol(u"doc.fill"_s);  // makes the resources known
    const auto files = QDir(u":/symbols"_s).entryList({}, QDir::Files, QDir::Name);
    for (const auto &file : files) {
        const auto name = file.chopped(4);
        all.append({{name, {}}, name, false});
    }
    return all;
}

QSize shotsSize(const Layout &layout)
{
    QSize size(gapPx, 0);
    for (const auto &shot : layout.shots) {
        const int side = shot.sizePx * shot.ratio * layout.magnification;
        size.rwidth() += side + gapPx;
        size.setHeight(std::max(size.height(), side + 2 * gapPx));
    }
    return size;
}

void drawShots(QPainter &painter, const QRect &place, const Cell &cell,
    const Background &background, const Layout &layout)
{
    painter.fillRect(place, background.fill);
    const auto color = cell.isTinted ? ui::iconColorOn(cell.icon, background.fill) : background.ink;
    int x = place.x() + gapPx;
    for (const auto &shot : layout.shots) {
        auto pixmap = base::symbolPixmap(cell.icon.symbolName, shot.sizePx, shot.ratio, color);
        pixmap.setDevicePixelRatio(1);
        const int side = shot.sizePx * shot.ratio * layout.magnification;
        painter.drawPixmap(x, place.y() + (place.height() - side) / 2, side, side, pixmap);
        x += side + gapPx;
    }
}

QImage sheet(const QList<Cell> &all, const Layout &layout)
{
    const Background backgrounds[] = {
        {QColor(u"#F6F6F8"_s), QColor(u"#1D1D1F"_s)}, {QColor(u"#1E1E20"_s), QColor(u"#F2F2F4"_s)}};
    const auto shots = shotsSize(layout);
    const QSize cellSize(2 * shots.width(), shots.height() + labelHeightPx);
    const int rows = (int(all.size()) + layout.columns - 1) / layout.columns;
    QImage image(layout.columns * (cellSize.width() + gapPx), rows * cellSize.height(),
        QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int i = 0; i < all.size(); ++i) {
        const QPoint corner(i % layout.columns * (cellSize.width() + gapPx),
            i / layout.columns * cellSize.height());
        QRect place(corner, shots);
        for (const auto &background : backgrounds) {
            drawShots(painter, place, all[i], background, layout);
            place.translate(shots.width(), 0);
        }
        painter.drawText(
            QRect(corner.x(), corner.y() + shots.height(), cellSize.width(), labelHeightPx),
            Qt::AlignVCenter, all[i].label);
    }
    return image;
}

}  // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const auto arguments = application.arguments();
    if (arguments.size() < 2) {
        QTextStream(stderr) << "contact-sheet <file.png> [enlarged]\n";
        return 2;
    }
    const Layout asUsed{{{16, 1}, {20, 1}, {32, 1}, {16, 2}, {20, 2}, {32, 2}}, 1, 3};
    const Layout enlarged{{{16, 1}, {20, 1}}, 4, 4};
    if (!sheet(cells(), arguments.size() > 2 ? enlarged : asUsed).save(arguments[1])) {
        QTextStream(stderr) << "cannot write " << arguments[1] << '\n';
        return 1;
    }
    return 0;
}
