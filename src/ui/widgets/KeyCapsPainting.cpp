// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/KeyCapsPainting.h"

#include "base/widgets/Symbols.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QStyle>

#include <cmath>

namespace vellumhound::ui {

namespace {

double capWidth(const QString &sign, double charWidth, const QFontMetricsF &font)
{
    return std::ceil(qMax(charWidth, font.horizontalAdvance(sign))) + 2 * metrics::keyCapPadding;
}

double capHeight(const QFontMetricsF &font)
{
    return std::ceil(font.height()) + 2 * metrics::keyCapPadding;
}

}  // namespace

QSize keyCapsSize(const KeyCaps &caps, const Theme &theme)
{
    const QFontMetricsF font(theme.font(metrics::keyCapText));
    double width = int(qMax<qsizetype>(caps.signs.size() - 1, 0)) * metrics::keyCapSpacing;
    for (const auto &sign : caps.signs)
        width += capWidth(sign, caps.charWidth, font);
    return {int(std::ceil(width)), int(capHeight(font))};
}

void paintKeyCaps(QPainter &painter, const QRect &rect, const KeyCaps &caps, const Theme &theme,
    Qt::LayoutDirection direction)
{
    const auto font = theme.font(metrics::keyCapText);
    const QFontMetricsF fontMetrics(font);
    const QSize size = keyCapsSize(caps, theme);
    const QRect row =
        QStyle::alignedRect(direction, Qt::AlignLeading | Qt::AlignVCenter, size, rect);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(font);
    const bool isRightToLeft = direction == Qt::RightToLeft;
    double x = isRightToLeft ? row.right() + 1 : row.left();
    for (const auto &sign : caps.signs) {
        const double width = capWidth(sign, caps.charWidth, fontMetrics);
        const QRectF cap(isRightToLeft ? x - width : x, row.top(), width, size.height());
        painter.setPen(Qt::NoPen);
        painter.setBrush(base::toQColor(caps.fill));
        painter.drawRoundedRect(cap, metrics::keyCapRadius, metrics::keyCapRadius);
        if (theme.keyCapLine.alpha() > 0) {
            const double inset = metrics::keyCapLineWidth / 2;
            painter.setPen(QPen(theme.keyCapLine, metrics::keyCapLineWidth));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(cap.adjusted(inset, inset, -inset, -inset),
                metrics::keyCapRadius, metrics::keyCapRadius);
        }
        painter.setPen(base::toQColor(caps.text));
        painter.drawText(cap, Qt::AlignCenter, sign);
        x += (width + metrics::keyCapSpacing) * (isRightToLeft ? -1 : 1);
    }
    painter.restore();
}

}  // namespace vellumhound::ui
