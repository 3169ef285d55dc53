// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/widgets/KeyboardShortcutWidget.h"

#include "ui/widgets/KeyCapsPainting.h"

#include <QPainter>

namespace vellumhound::keyboard {

KeyboardShortcutWidget::KeyboardShortcutWidget(
    const KeyShortcut &shortcut, double charWidth, const ui::Theme &theme, QWidget *parent)
    : QWidget(parent)
    , _view{shortcut, ui::ColorScheme::light, charWidth}
    , _theme(theme)
{
    setObjectName(QStringLiteral("KeyboardShortcutView"));
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    refresh();
}

void KeyboardShortcutWidget::setShortcut(const KeyShortcut &shortcut)
{
    if (shortcut == _view.shortcut)
        return;
    _view.shortcut = shortcut;
    refresh();
}

void KeyboardShortcutWidget::setTheme(const ui::Theme &theme)
{
    if (theme == _theme)
        return;
    _theme = theme;
    refresh();
}

QSize KeyboardShortcutWidget::sizeHint() const
{
    return ui::keyCapsSize(_caps, _theme);
}

void KeyboardShortcutWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    ui::paintKeyCaps(painter, rect(), _caps, _theme, layoutDirection());
}

void KeyboardShortcutWidget::refresh()
{
    _view.colorScheme = _theme.isDark ? ui::ColorScheme::dark : ui::ColorScheme::light;
    _caps = _view.describe();
    setAccessibleName(_caps.signs.join(QString()));
    updateGeometry();
    update();
}

}  // namespace vellumhound::keyboard
