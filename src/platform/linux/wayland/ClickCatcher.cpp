// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/ClickCatcher.h"

#include <QApplication>
#include <QPainter>
#include <QTouchEvent>
#include <QWidget>

namespace vellumhound::platform {

ClickCatcher::ClickCatcher(QScreen *screen, std::function<void()> pressed)
    : _output(screen)
    , _pressed(std::move(pressed))
{
    setScreen(screen);
    setPosition(screen->geometry().topLeft());
    setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    auto seeThrough = format();
    seeThrough.setAlphaBufferSize(8);
    setFormat(seeThrough);
    resize(1, 1);
}

void ClickCatcher::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(QRect(QPoint(), size()), Qt::transparent);
}

void ClickCatcher::mousePressEvent(QMouseEvent *)
{
    report();
}

void ClickCatcher::touchEvent(QTouchEvent *event)
{
    if (event->type() == QEvent::TouchBegin)
        report();
}

/// A press beside an open menu closes the menu alone, as it does inside the panel. The report comes
/// a turn later, when nothing of this window is in use any more.
void ClickCatcher::report()
{
    if (auto *popup = QApplication::activePopupWidget())
        popup->close();
    else
        QMetaObject::invokeMethod(
            this, [pressed = _pressed] { pressed(); }, Qt::QueuedConnection);
}

}  // namespace vellumhound::platform
