// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/Spinner.h"

#include <QPainter>
#include <QTimerEvent>

namespace vellumhound::ui {

namespace {
constexpr int framePx = 20;
constexpr int bladeCount = 8;
constexpr int stepMs = 100;
constexpr qreal innerRadius = 3.6;
constexpr qreal outerRadius = 7.2;
constexpr qreal bladeWidth = 1.75;
}  // namespace

Spinner::Spinner(QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(framePx, framePx);
    setAccessibleName(QStringLiteral("Searching"));
}

void Spinner::setColor(const QColor &color)
{
    _color = color;
    update();
}

void Spinner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(framePx / 2.0, framePx / 2.0);
    for (int blade = 0; blade < bladeCount; ++blade) {
        auto color = _color;
        const int age = (bladeCount + _step - blade) % bladeCount;
        color.setAlphaF(float(_color.alphaF() * (1.0 - 0.8 * age / bladeCount)));
        painter.setPen(QPen(color, bladeWidth, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(blade * 360.0 / bladeCount);
        painter.drawLine(QPointF(0, -innerRadius), QPointF(0, -outerRadius));
        painter.restore();
    }
}

void Spinner::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    _timer.start(stepMs, this);
}

void Spinner::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    _timer.stop();
}

void Spinner::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != _timer.timerId()) {
        QWidget::timerEvent(event);
        return;
    }
    _step = (_step + 1) % bladeCount;
    update();
}

}  // namespace vellumhound::ui
