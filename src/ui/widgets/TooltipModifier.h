// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/widgets/Theme.h"

#include <QWidget>

class QAbstractButton;

namespace vellumhound::ui {

/// A control with a question mark behind it, which shows an explaining text when it is clicked, and
/// only then. A further click, Escape or a click elsewhere takes the text away.
class TooltipModifier final : public QWidget {
    Q_OBJECT

public:
    /// Takes `content`.
    TooltipModifier(QWidget *content, const QString &tooltipText, const Theme &theme,
        QWidget *parent = nullptr);
    ~TooltipModifier() override;

    void setTheme(const Theme &theme);
    bool isTooltipVisible() const { return _popover != nullptr; }
    void setTooltipVisible(bool isVisible);
    QAbstractButton &button() const;

Q_SIGNALS:
    void tooltipVisibleChanged();

private:
    class Button;
    class Popover;

    QString _tooltipText;
    Theme _theme;
    Button *_button;
    Popover *_popover = nullptr;  // while the text is shown
};

}  // namespace vellumhound::ui
