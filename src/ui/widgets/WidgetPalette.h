// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QPalette>

namespace vellumhound::ui {

/// Gives the program's widgets a palette and leaves the application's own as it is: that one is the
/// desktop's, and the only word on light or dark where there is no portal.
///
/// Main thread; one in a process, made after the application object.
class WidgetPalette final : public QObject {
    Q_OBJECT

public:
    explicit WidgetPalette(QObject *parent = nullptr);

    void set(const QPalette &palette);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void apply();

    QPalette _palette;
};

}  // namespace vellumhound::ui
