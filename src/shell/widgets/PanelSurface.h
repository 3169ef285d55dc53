// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/widgets/Theme.h"

#include <QMargins>
#include <QPixmap>
#include <QRegion>
#include <QWidget>

class QPainter;

namespace vellumhound::shell {

inline constexpr int panelCornerRadius = ui::metrics::panelRadius;

/// Room that the shadow needs around the panel to fade out.
inline constexpr QMargins panelShadowMargins{ui::metrics::shadowBlur,
    ui::metrics::shadowBlur - ui::metrics::shadowOffset, ui::metrics::shadowBlur,
    ui::metrics::shadowBlur + ui::metrics::shadowOffset};

/// `rect` without what lies beyond its rounded corners, by whole pixels.
QRegion roundedRegion(const QRect &rect, int radius);

/// The soft shadow around the panel. Its pixels are made once for each scale factor and stretched
/// along the edges.
class PanelShadow {
public:
    /// Draws it around `panel`; what lies under the panel is drawn too.
    void paint(QPainter &painter, const QRect &panel, const QColor &color, double scale);

private:
    void render(const QColor &color, double scale);

    QPixmap _pixels;  // of the smallest panel, with its margins
    QColor _color;
    double _scale = 0;
};

/// The panel's edge, above all that the panel holds: rounds the corners off and draws the thin line
/// along them.
class PanelBorder final : public QWidget {
    Q_OBJECT

public:
    /// `shadow` is the panel's, which outlives the border.
    PanelBorder(PanelShadow &shadow, QWidget *parent);

    void setLine(const QColor &color, double width);
    /// The colour of the shadow that lies beyond the corners. An invalid one: the corners are not
    /// rounded off here, as the shape of the window does it.
    void setShadowColor(const QColor &color);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void roundOff(QPainter &painter, const QRect &corner);

    PanelShadow &_shadow;
    QColor _shadowColor;
    QColor _color;
    double _width = 0;
};

}  // namespace vellumhound::shell
