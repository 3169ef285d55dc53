// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/widgets/Theme.h"

#include <QAbstractScrollArea>
#include <QScrollBar>

#include <optional>

namespace vellumhound::ui {

/// A thin vertical scroll bar that lies over its area instead of beside it, so that the rows keep
/// their width when the list becomes longer than the panel. It follows the area's own scroll bar,
/// which stays hidden, and is the area's child.
class OverlayScrollBar final : public QScrollBar {
    Q_OBJECT

public:
    explicit OverlayScrollBar(QAbstractScrollArea &area);

    void setTheme(const Theme &theme);
    /// Lies down along the area's trailing edge; for the area's resize event.
    void place();

protected:
    bool event(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *) override {}
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void follow();
    QRectF thumb() const;
    double pixelsPerStep() const;

    QAbstractScrollArea &_area;
    QColor _idle;
    QColor _active;
    std::optional<double> _grip;  // where in the thumb a drag holds it
};

}  // namespace vellumhound::ui
