// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "shell/PanelAppearance.h"
#include "ui/widgets/Theme.h"

#include <QMargins>
#include <QPixmap>
#include <QWidget>

class QPainter;

namespace vellumhound::shell {

inline constexpr int panelCornerRadius = ui::metrics::panelRadius;

/// Room that the shadow needs around the panel to fade out.
inline constexpr QMargins panelShadowMargins{50, 32, 50, 68};

/// The soft shadow around the panel. Its pixels are made once for each scale factor and stretched
/// along the edges.
class PanelShadow {
public:
    /// Draws it around `panel`; what lies under the panel is drawn too.
    void paint(QPainter &painter, const QRect &panel, double scale);

private:
    void render(double scale);

    QPixmap _pixels;  // of the smallest panel, with its margins
    double _scale = 0;
};

/// The thin line along the panel's edge, above all that the panel holds.
class PanelBorder final : public QWidget {
    Q_OBJECT

public:
    explicit PanelBorder(QWidget *parent);

    void setLine(const base::Color &colour, double width);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor _colour;
    double _width = 0;
};

QColor toQColor(const base::Color &color);

}  // namespace vellumhound::shell
