// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/PanelSurface.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace vellumhound::shell {

namespace {

using ui::metrics::shadowBlur;  // twice the deviation of the blur, where it has faded
using ui::metrics::shadowOffset;
/// The blur works inward as far as it does outward.
constexpr int smallestPanel = 2 * (shadowBlur + shadowOffset) + 2;

/// How dark a blurred straight edge is, `inside` pixels inward: 0 where the blur has faded, 1 well
/// inside.
double darknessAt(double inside)
{
    const double deviation = shadowBlur / 2.0;
    const auto normal = [](double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); };
    const double faded = normal(-2);
    return std::clamp((normal(inside / deviation) - faded) / (1 - 2 * faded), 0.0, 1.0);
}

/// Darkness along one axis; the shadow is the product of both, as the blur is wide beside the
/// corner's radius.
std::vector<double> profile(int pixels, double scale, double start, double end)
{
    std::vector<double> values(static_cast<std::size_t>(pixels));
    for (int i = 0; i < pixels; ++i) {
        const double at = (i + 0.5) / scale;
        values[std::size_t(i)] = darknessAt(at - start) * darknessAt(end - at);
    }
    return values;
}

}  // namespace

QRegion roundedRegion(const QRect &rect, int radius)
{
    QRegion region(rect.adjusted(0, radius, 0, -radius));
    for (int row = 0; row < radius; ++row) {
        const double above = radius - row - 0.5;
        const int inset = int(std::ceil(radius - std::sqrt(radius * radius - above * above)));
        const int width = rect.width() - 2 * inset;
        region += QRect(rect.left() + inset, rect.top() + row, width, 1);
        region += QRect(rect.left() + inset, rect.bottom() - row, width, 1);
    }
    return region;
}

void PanelShadow::render(const QColor &color, double scale)
{
    const auto margins = panelShadowMargins;
    const int width = smallestPanel + margins.left() + margins.right();
    const int height = smallestPanel + margins.top() + margins.bottom();
    QImage image(int(std::ceil(width * scale)), int(std::ceil(height * scale)),
        QImage::Format_ARGB32_Premultiplied);
    const auto across =
        profile(image.width(), scale, margins.left(), margins.left() + smallestPanel);
    const double top = margins.top() + shadowOffset;
    const auto down = profile(image.height(), scale, top, top + smallestPanel);
    for (int y = 0; y < image.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const double dark = across[std::size_t(x)] * down[std::size_t(y)] * color.alphaF();
            line[x] = qPremultiply(
                qRgba(color.red(), color.green(), color.blue(), int(std::lround(dark * 255))));
        }
    }
    _pixels = QPixmap::fromImage(std::move(image));
    _color = color;
    _scale = scale;
}

void PanelShadow::paint(QPainter &painter, const QRect &panel, const QColor &color, double scale)
{
    if (_scale != scale || _color != color)
        render(color, scale);
    const auto margins = panelShadowMargins;
    const auto outer = panel.marginsAdded(margins);
    // Three columns and three rows: edges as they are, the middle stretched.
    const double left = margins.left() + smallestPanel / 2.0;
    const double right = margins.right() + smallestPanel / 2.0 - 1;
    const double top = margins.top() + smallestPanel / 2.0;
    const double bottom = margins.bottom() + smallestPanel / 2.0 - 1;
    const double fullWidth = left + right + 1;
    const double fullHeight = top + bottom + 1;
    const std::array fromX{0.0, left, left + 1, fullWidth};
    const std::array fromY{0.0, top, top + 1, fullHeight};
    const std::array toX{0.0, left, outer.width() - right, double(outer.width())};
    const std::array toY{0.0, top, outer.height() - bottom, double(outer.height())};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            const QRectF source(fromX[column] * scale, fromY[row] * scale,
                (fromX[column + 1] - fromX[column]) * scale, (fromY[row + 1] - fromY[row]) * scale);
            const QRectF target(outer.x() + toX[column], outer.y() + toY[row],
                toX[column + 1] - toX[column], toY[row + 1] - toY[row]);
            painter.drawPixmap(target, _pixels, source);
        }
    }
}

PanelBorder::PanelBorder(PanelShadow &shadow, QWidget *parent)
    : QWidget(parent)
    , _shadow(shadow)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
}

void PanelBorder::setLine(const QColor &color, double width)
{
    _color = color;
    _width = width;
    update();
}

void PanelBorder::setShadowColor(const QColor &color)
{
    _shadowColor = color;
    update();
}

/// Takes what the panel shows in that corner away where it is outside, and puts the shadow there.
void PanelBorder::roundOff(QPainter &painter, const QRect &corner)
{
    const auto scale = devicePixelRatioF();
    QPixmap inside((QSizeF(corner.size()) * scale).toSize());
    inside.setDevicePixelRatio(scale);
    inside.fill(Qt::transparent);
    auto outside = inside;
    const auto panel = rect().translated(-corner.topLeft());
    const auto drawPanel = [&](QPainter &on) {
        on.setRenderHint(QPainter::Antialiasing);
        on.setPen(Qt::NoPen);
        on.setBrush(Qt::black);
        on.drawRoundedRect(panel, panelCornerRadius, panelCornerRadius);
    };
    QPainter onInside(&inside);
    drawPanel(onInside);
    onInside.end();
    QPainter onOutside(&outside);
    _shadow.paint(onOutside, panel, _shadowColor, scale);
    onOutside.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    drawPanel(onOutside);
    onOutside.end();

    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.drawPixmap(corner.topLeft(), inside);
    painter.setCompositionMode(QPainter::CompositionMode_Plus);
    painter.drawPixmap(corner.topLeft(), outside);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

void PanelBorder::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (_shadowColor.isValid()) {
        QRect corner(0, 0, panelCornerRadius, panelCornerRadius);
        for (const int x : {0, width() - corner.width()}) {
            for (const int y : {0, height() - corner.height()}) {
                corner.moveTo(x, y);
                roundOff(painter, corner);
            }
        }
    }
    if (_width <= 0)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(_color, _width));
    const double inset = _width / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset),
        panelCornerRadius - inset, panelCornerRadius - inset);
}

}  // namespace vellumhound::shell
