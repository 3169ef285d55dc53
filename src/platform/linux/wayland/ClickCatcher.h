// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QRasterWindow>
#include <QScreen>

#include <functional>

namespace vellumhound::platform {

/// An unseen window over a whole output that tells of each press of a button or a finger. It draws
/// one pixel, which the compositor stretches. Main thread.
class ClickCatcher final : public QRasterWindow {
    Q_OBJECT

public:
    /// `pressed` may destroy the window.
    ClickCatcher(QScreen *screen, std::function<void()> pressed);

    /// The one it is over, whatever the toolkit makes of the place of so small a window; null once
    /// that is gone.
    QScreen *output() const { return _output; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void touchEvent(QTouchEvent *event) override;

private:
    void report();

    const QPointer<QScreen> _output;
    const std::function<void()> _pressed;
};

}  // namespace vellumhound::platform
