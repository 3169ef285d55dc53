// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "actions/widgets/Theme.h"
#include "keyboard/KeyboardShortcutView.h"

#include <QWidget>

class QPainter;

namespace vellumhound::actions {

/// The room that a row of key caps takes, for delegates that draw it themselves.
QSize keyCapsSize(const keyboard::KeyCaps &caps, const Theme &theme);
/// Draws the caps at the start of `rect` in reading direction, centred vertically.
void paintKeyCaps(QPainter &painter, const QRect &rect, const keyboard::KeyCaps &caps,
    const Theme &theme, Qt::LayoutDirection direction);

/// Shows KeyboardShortcutView. Follows the theme that it is given; nothing in it can be pressed.
class KeyboardShortcutWidget final : public QWidget {
    Q_OBJECT

public:
    KeyboardShortcutWidget(const keyboard::KeyShortcut &shortcut, double charWidth,
        const Theme &theme, QWidget *parent = nullptr);

    void setShortcut(const keyboard::KeyShortcut &shortcut);
    void setTheme(const Theme &theme);
    const keyboard::KeyCaps &caps() const { return _caps; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void refresh();

    keyboard::KeyboardShortcutView _view;
    Theme _theme;
    keyboard::KeyCaps _caps;
};

}  // namespace vellumhound::actions
