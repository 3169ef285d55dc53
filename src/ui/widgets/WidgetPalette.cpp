// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/WidgetPalette.h"

#include <QApplication>
#include <QEvent>
#include <QToolTip>

namespace vellumhound::ui {

namespace {
constexpr auto everyWidget = "QWidget";
}  // namespace

WidgetPalette::WidgetPalette(QObject *parent)
    : QObject(parent)
{
    qApp->installEventFilter(this);
}

void WidgetPalette::set(const QPalette &palette)
{
    _palette = palette;
    apply();
}

void WidgetPalette::apply()
{
    QApplication::setPalette(_palette, everyWidget);
    QToolTip::setPalette(_palette);
}

bool WidgetPalette::eventFilter(QObject *watched, QEvent *event)
{
    // With a new palette of the desktop the toolkit drops those of the classes.
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange &&
        _palette != QPalette() && QApplication::palette(everyWidget) != _palette)
        apply();
    return false;
}

}  // namespace vellumhound::ui
