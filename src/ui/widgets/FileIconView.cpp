// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/FileIconView.h"

#include "base/widgets/Symbols.h"

#include <QPainter>

namespace vellumhound::ui {

namespace {

constexpr double leastContrastOnDark = 3.0;
constexpr int defaultSidePx = 20;

bool isDark(const QColor &background)
{
    const base::Color white{1, 1, 1};
    const base::Color black{0, 0, 0};
    const auto color = base::toColor(background);
    return base::contrastRatio(color, white) > base::contrastRatio(color, black);
}

}  // namespace

QColor iconColorOn(const IconInfo &icon, const QColor &background)
{
    if (!isDark(background))
        return base::toQColor(icon.color);
    return base::toQColor(
        base::withContrast(icon.color, base::toColor(background), leastContrastOnDark));
}

void paintFileIcon(
    QPainter &painter, const QRectF &rect, const IconInfo &icon, const QColor &background)
{
    base::paintSymbol(painter, rect, icon.symbolName, iconColorOn(icon, background));
}

FileIconView::FileIconView(QWidget *parent)
    : QWidget(parent)
    , _icon(iconInfo(FileKind::other))
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void FileIconView::setIcon(const IconInfo &icon)
{
    if (_icon == icon)
        return;
    _icon = icon;
    update();
}

void FileIconView::setBackgroundColor(const QColor &background)
{
    if (_background == background)
        return;
    _background = background;
    update();
}

QSize FileIconView::sizeHint() const
{
    return {defaultSidePx, defaultSidePx};
}

void FileIconView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintFileIcon(
        painter, rect(), _icon, _background.isValid() ? _background : palette().window().color());
}

}  // namespace vellumhound::ui
