// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace vellumhound::ui {

/// An indeterminate progress sign of the small size. Turns only while it is on screen, so that an
/// idle panel wakes nobody.
class Spinner final : public QWidget {
    Q_OBJECT

public:
    explicit Spinner(QWidget *parent = nullptr);

    void setColor(const QColor &color);

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    QColor _color = Qt::gray;
    QBasicTimer _timer;
    int _step = 0;
};

}  // namespace vellumhound::ui
