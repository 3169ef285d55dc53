// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/OverlayScrollBar.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <cmath>

namespace vellumhound::ui {

namespace {

constexpr int barWidth = metrics::selectionInset;  // beside the selection, never over it
constexpr double idleThumbWidth = 4;
constexpr double activeThumbWidth = 6;
constexpr double endMargin = 3;
constexpr double shortestThumb = 28;
constexpr double idleOpacity = 0.28;
constexpr double activeOpacity = 0.5;

}  // namespace

OverlayScrollBar::OverlayScrollBar(QAbstractScrollArea &area)
    : QScrollBar(Qt::Vertical, &area)
    , _area(area)
{
    area.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto *followed = area.verticalScrollBar();
    connect(followed, &QScrollBar::rangeChanged, this, &OverlayScrollBar::follow);
    connect(followed, &QScrollBar::valueChanged, this, &QScrollBar::setValue);
    connect(this, &QScrollBar::valueChanged, followed, &QScrollBar::setValue);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setFocusPolicy(Qt::NoFocus);
    follow();
}

void OverlayScrollBar::setTheme(const Theme &theme)
{
    _idle = _active = theme.primaryText;
    _idle.setAlphaF(float(idleOpacity));
    _active.setAlphaF(float(activeOpacity));
    update();
}

void OverlayScrollBar::place()
{
    const auto column = _area.rect();
    const QRect trailing(column.right() + 1 - barWidth, column.top(), barWidth, column.height());
    setGeometry(QStyle::visualRect(layoutDirection(), column, trailing));
    follow();
    raise();
}

void OverlayScrollBar::follow()
{
    const auto *followed = _area.verticalScrollBar();
    setPageStep(followed->pageStep());
    setSingleStep(followed->singleStep());
    setRange(followed->minimum(), followed->maximum());
    setValue(followed->value());
    setVisible(followed->maximum() > followed->minimum());
    update();
}

double OverlayScrollBar::pixelsPerStep() const
{
    const double spare = height() - 2 * endMargin - thumb().height();
    return maximum() > minimum() ? spare / (maximum() - minimum()) : 0;
}

QRectF OverlayScrollBar::thumb() const
{
    const double track = height() - 2 * endMargin;
    const double all = maximum() - minimum() + pageStep();
    const double length = std::clamp(all > 0 ? track * pageStep() / all : track,
        std::min(shortestThumb, track), std::max(track, 0.0));
    const double way =
        maximum() > minimum() ? double(value() - minimum()) / (maximum() - minimum()) : 0;
    const double thickness = underMouse() || _grip ? activeThumbWidth : idleThumbWidth;
    return {(width() - thickness) / 2, endMargin + way * (track - length), thickness, length};
}

void OverlayScrollBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(underMouse() || _grip ? _active : _idle);
    const auto rect = thumb();
    painter.drawRoundedRect(rect, rect.width() / 2, rect.width() / 2);
}

bool OverlayScrollBar::event(QEvent *event)
{
    if (event->type() == QEvent::Enter || event->type() == QEvent::Leave)
        update();
    return QScrollBar::event(event);
}

void OverlayScrollBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const auto rect = thumb();
    const double y = event->position().y();
    if (y < rect.top())
        triggerAction(SliderPageStepSub);
    else if (y > rect.bottom())
        triggerAction(SliderPageStepAdd);
    else
        _grip = y - rect.top();
    update();
}

void OverlayScrollBar::mouseMoveEvent(QMouseEvent *event)
{
    const double step = pixelsPerStep();
    if (!_grip || step <= 0)
        return;
    const double top = event->position().y() - *_grip - endMargin;
    setValue(minimum() + int(std::lround(top / step)));
}

void OverlayScrollBar::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        _grip.reset();
    update();
}

}  // namespace vellumhound::ui
