// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/FileRowDelegate.h"

#include "ui/IconInfo.h"
#include "ui/widgets/FileIconView.h"

#include <QListView>
#include <QPainter>

namespace vellumhound::ui {

namespace {

constexpr qreal lineWidth = 1;

/// A rectangle whose outline falls on whole pixels.
QRectF crisp(const QRectF &rect)
{
    return rect.adjusted(0.5, 0.5, -0.5, -0.5);
}

}  // namespace

FileRowDelegate::FileRowDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
{
}

void FileRowDelegate::setTheme(const Theme &theme)
{
    _theme = theme;
}

QSize FileRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    const int height =
        _height == Height::withPath ? metrics::resultRowPitch : metrics::folderRowPitch;
    return {option.rect.width(), height};
}

void FileRowDelegate::paintBackground(QPainter &painter, const QStyleOptionViewItem &option) const
{
    const QRectF rect =
        QRectF(option.rect).adjusted(metrics::selectionInset, 0, -metrics::selectionInset, 0);
    const bool isSelected = option.state & QStyle::State_Selected;
    const bool isHovered = option.state & QStyle::State_MouseOver;
    if (!isSelected && !isHovered)
        return;
    const bool hasFocus = isSelected && option.widget && option.widget->hasFocus();
    painter.setPen(hasFocus ? QPen(_theme.selectionLine, lineWidth) : QPen(Qt::NoPen));
    if (isSelected)
        painter.setBrush(hasFocus ? _theme.selectionFill : _theme.unfocusedSelection);
    else
        painter.setBrush(_theme.hover);
    painter.drawRoundedRect(
        hasFocus ? crisp(rect) : rect, metrics::selectionRadius, metrics::selectionRadius);
}

void FileRowDelegate::paint(
    QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    paintBackground(*painter, option);

    const bool hasPath = _height == Height::withPath;
    const int symbolPx = hasPath ? metrics::resultSymbol : metrics::folderRowSymbol;
    const bool isMirrored = option.direction == Qt::RightToLeft;
    const QRect content = option.rect.adjusted(metrics::rowPadding, 0, -metrics::rowPadding, 0);
    const auto placed = [&](const QRect &rect) {
        return QStyle::visualRect(option.direction, option.rect, rect);
    };
    const QRect symbol(
        content.left(), content.top() + (content.height() - symbolPx) / 2, symbolPx, symbolPx);
    paintFileIcon(*painter, placed(symbol), index.data(FileRole::icon).value<IconInfo>(),
        _theme.panelBackground);

    const QRect text = content.adjusted(symbolPx + metrics::resultGap, 0, 0, 0);
    // A path reads from its root however the desktop reads; a name goes by its own letters.
    painter->setLayoutDirection(Qt::LayoutDirectionAuto);
    const auto drawLine = [&](const QRect &rect, const QFont &font, const QColor &color,
                              const QString &line) {
        painter->setFont(font);
        painter->setPen(color);
        const auto elided = QFontMetrics(font).elidedText(line, Qt::ElideMiddle, rect.width());
        painter->drawText(placed(rect),
            Qt::AlignVCenter | Qt::TextSingleLine | (isMirrored ? Qt::AlignRight : Qt::AlignLeft) |
                Qt::AlignAbsolute,
            elided);
    };
    const auto name = index.data(Qt::DisplayRole).toString();
    const auto nameFont = _theme.font(metrics::resultName);
    if (!hasPath) {
        drawLine(text, nameFont, _theme.primaryText, name);
    } else {
        const int top = text.top() + (text.height() - metrics::resultContentHeight) / 2;
        drawLine({text.left(), top, text.width(), metrics::resultNameLine}, nameFont,
            _theme.primaryText, name);
        painter->setLayoutDirection(Qt::LeftToRight);
        drawLine(
            {text.left(), top + metrics::resultNameLine, text.width(), metrics::resultPathLine},
            _theme.font(metrics::resultPath), _theme.secondaryText,
            index.data(FileRole::displayPath).toString());
    }
    painter->restore();
}

}  // namespace vellumhound::ui
