// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/widgets/Theme.h"

#include <QApplication>
#include <QDir>
#include <QFontInfo>
#include <QImage>
#include <QPainter>
#include <QScreen>
#include <QTest>
#include <QWidget>

#include <algorithm>
#include <functional>

namespace vellumhound::support {

/// One way in which every state of a widget is drawn.
struct PictureVariant {
    const char *name;
    bool isDark = false;
    int scale = 1;
    Qt::LayoutDirection direction = Qt::LeftToRight;

    ui::Theme theme() const { return isDark ? ui::Theme::dark() : ui::Theme::light(); }
};

inline constexpr PictureVariant pictureVariants[] = {
    {"light", false, 1, Qt::LeftToRight},
    {"dark, right to left", true, 1, Qt::RightToLeft},
    {"light, 200 %", false, 2, Qt::LeftToRight},
};

/// The window on which a widget is drawn: active, of the panel's colour, on a screen of the
/// variant's scale. Widgets are made as its children.
class PictureHost final : public QWidget {
public:
    PictureHost(const PictureVariant &variant, QSize size)
    {
        const auto theme = variant.theme();
        setPalette(theme.palette());
        setLayoutDirection(variant.direction);
        const auto screens = QGuiApplication::screens();
        auto *screen = *std::find_if(screens.begin(), screens.end(),
            [&](const QScreen *s) { return s->devicePixelRatio() == variant.scale; });
        setScreen(screen);
        setGeometry({screen->geometry().topLeft() + QPoint(20, 20), size});
    }
    /// Shows the host with all its children and makes it the active window.
    void present()
    {
        show();
        activateWindow();
        const bool isActive = QTest::qWaitForWindowActive(this);
        Q_ASSERT(isActive);
        Q_UNUSED(isActive);
    }
    QImage picture() { return pictureOf(*this); }
    static QImage pictureOf(QWidget &widget)
    {
        auto image = widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
        image.setDevicePixelRatio(1);
        return image;
    }
};

/// All states of one widget in all variants as one picture: a row for each state, a column for each
/// variant. It is compared with the picture of the same name in tests/pictures; what was drawn goes
/// to the build folder, where tools/update_pictures.py finds it.
class PictureSheet {
public:
    using Draw = std::function<QImage(const PictureVariant &)>;

    explicit PictureSheet(const QString &name)
        : _name(name)
    {
    }
    /// To be called before anything is drawn: no picture depends on the fonts of the machine.
    static void useItsFont()
    {
        QApplication::setFont(QFont(QStringLiteral("Inter"), 10));
        const auto family = QFontInfo(QApplication::font()).family();
        if (family != QStringLiteral("Inter"))
            qFatal("the font of the pictures is missing, there is only %s", qPrintable(family));
    }

    void add(const QString &state, const Draw &draw)
    {
        Row row{state, {}};
        for (const auto &variant : pictureVariants)
            row.cells.append(draw(variant));
        _rows.append(row);
    }

    /// What differs from the picture that is kept; empty if nothing does.
    QString difference()
    {
        const auto drawn = layOut();
        QDir().mkpath(QStringLiteral(PICTURES_DRAWN));
        const auto file = u'/' + _name + QStringLiteral(".png");
        if (!drawn.save(QStringLiteral(PICTURES_DRAWN) + file, "PNG", 0))
            return QStringLiteral("the picture cannot be written");
        const QImage kept(QStringLiteral(PICTURES_KEPT) + file);
        if (kept.isNull())
            return QStringLiteral("no picture is kept of ") + _name;
        if (kept.size() != drawn.size())
            return QStringLiteral("the sheet has another size");
        return compare(kept.convertToFormat(QImage::Format_RGB32), drawn);
    }

private:
    struct Row {
        QString state;
        QList<QImage> cells;
    };
    static constexpr int gap = 2;
    /// Beyond what other instruction sets round differently. The palest look, hover beside nothing,
    /// is 13 away from its background.
    static constexpr int leastDifference = 3;
    static constexpr int toleratedPixels = 2;  // of a cell

    QRect cellRect(qsizetype row, int column) const
    {
        int y = gap;
        for (qsizetype i = 0; i < row; ++i)
            y += heightOf(_rows[i]) + gap;
        int x = gap;
        for (int i = 0; i < column; ++i)
            x += widthOf(i) + gap;
        return {QPoint(x, y), _rows[row].cells[column].size()};
    }
    static int heightOf(const Row &row)
    {
        int height = 0;
        for (const auto &cell : row.cells)
            height = std::max(height, cell.height());
        return height;
    }
    int widthOf(int column) const
    {
        int width = 0;
        for (const auto &row : _rows)
            width = std::max(width, row.cells[column].width());
        return width;
    }
    QImage layOut() const
    {
        QRect all;
        for (qsizetype row = 0; row < _rows.size(); ++row) {
            for (int column = 0; column < _rows[row].cells.size(); ++column)
                all |= cellRect(row, column);
        }
        QImage sheet(all.right() + 1 + gap, all.bottom() + 1 + gap, QImage::Format_RGB32);
        sheet.fill(Qt::gray);
        QPainter painter(&sheet);
        for (qsizetype row = 0; row < _rows.size(); ++row) {
            for (int column = 0; column < _rows[row].cells.size(); ++column)
                painter.drawImage(cellRect(row, column).topLeft(), _rows[row].cells[column]);
        }
        return sheet;
    }
    QString compare(const QImage &kept, const QImage &drawn) const
    {
        QStringList differences;
        for (qsizetype row = 0; row < _rows.size(); ++row) {
            for (int column = 0; column < _rows[row].cells.size(); ++column) {
                const int pixels = differentPixels(kept, drawn, cellRect(row, column));
                if (pixels > toleratedPixels)
                    differences.append(
                        QStringLiteral("“%1” (%2): %3 pixels")
                            .arg(_rows[row].state, QString::fromUtf8(pictureVariants[column].name))
                            .arg(pixels));
            }
        }
        return differences.isEmpty()
                   ? QString()
                   : _name +
                         QStringLiteral(" looks different; tools/update_pictures.py shows how. ") +
                         differences.join(QStringLiteral(", "));
    }
    static int differentPixels(const QImage &kept, const QImage &drawn, const QRect &rect)
    {
        int count = 0;
        for (int y = rect.top(); y <= rect.bottom(); ++y) {
            for (int x = rect.left(); x <= rect.right(); ++x) {
                const auto a = kept.pixel(x, y);
                const auto b = drawn.pixel(x, y);
                const int most = std::max({std::abs(qRed(a) - qRed(b)),
                    std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
                count += most > leastDifference ? 1 : 0;
            }
        }
        return count;
    }

    QString _name;
    QList<Row> _rows;
};

}  // namespace vellumhound::support
