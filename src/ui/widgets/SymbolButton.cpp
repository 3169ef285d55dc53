// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/SymbolButton.h"

#include "base/widgets/Symbols.h"

#include <QPainter>

namespace vellumhound::ui {

namespace {
constexpr int framePx = 20;
constexpr qreal pressedOpacity = 0.6;
}  // namespace

SymbolButton::SymbolButton(const QString &symbol, const QString &accessibleName, QWidget *parent)
    : QAbstractButton(parent)
    , _symbol(symbol)
{
    setAccessibleName(accessibleName);
    setToolTip(accessibleName);
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::ArrowCursor);
    setFixedSize(framePx, framePx);
}

void SymbolButton::setSymbol(const QString &symbol)
{
    if (symbol == _symbol)
        return;
    _symbol = symbol;
    update();
}

void SymbolButton::setColors(const QColor &normal, const QColor &hover)
{
    _normal = normal;
    _hover = hover;
    update();
}

QSize SymbolButton::sizeHint() const
{
    return {framePx, framePx};
}

void SymbolButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (isDown())
        painter.setOpacity(pressedOpacity);
    if (isRightToLeft()) {
        // "Back" points the other way; the round symbols look the same from both sides.
        painter.translate(width(), 0);
        painter.scale(-1, 1);
    }
    painter.drawPixmap(0, 0,
        base::symbolPixmap(_symbol, framePx, devicePixelRatioF(), underMouse() ? _hover : _normal));
}

void SymbolButton::enterEvent(QEnterEvent *event)
{
    QAbstractButton::enterEvent(event);
    update();
}

void SymbolButton::leaveEvent(QEvent *event)
{
    QAbstractButton::leaveEvent(event);
    update();
}

}  // namespace vellumhound::ui
