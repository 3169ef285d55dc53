// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcutView.h"
#include "ui/widgets/Theme.h"

#include <QWidget>

namespace vellumhound::keyboard {

/// Shows KeyboardShortcutView. Follows the theme that it is given; nothing in it can be pressed.
class KeyboardShortcutWidget final : public QWidget {
    Q_OBJECT

public:
    KeyboardShortcutWidget(const KeyShortcut &shortcut, double charWidth, const ui::Theme &theme,
        QWidget *parent = nullptr);

    void setShortcut(const KeyShortcut &shortcut);
    void setTheme(const ui::Theme &theme);
    const ui::KeyCaps &caps() const { return _caps; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void refresh();

    KeyboardShortcutView _view;
    ui::Theme _theme;
    ui::KeyCaps _caps;
};

}  // namespace vellumhound::keyboard
