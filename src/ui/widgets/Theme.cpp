// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/Theme.h"

#include "base/widgets/Symbols.h"

#include <QGuiApplication>

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace vellumhound::ui {

namespace {

constexpr double leastTextScale = 0.75;
constexpr double mostTextScale = 2.5;

QColor white(double alpha)
{
    return QColor::fromRgbF(1, 1, 1, float(alpha));
}

QColor black(double alpha)
{
    return QColor::fromRgbF(0, 0, 0, float(alpha));
}

QColor grey(double level, double alpha)
{
    return QColor::fromRgbF(float(level), float(level), float(level), float(alpha));
}

QColor faded(QColor color, double alpha)
{
    color.setAlphaF(float(alpha));
    return color;
}

/// What is seen of a translucent colour over an opaque one: palettes are mixed by others, who do
/// not expect to see through.
QColor over(const QColor &background, const QColor &color)
{
    const auto mix = [&](float below, float above) {
        return below + (above - below) * color.alphaF();
    };
    return QColor::fromRgbF(mix(background.redF(), color.redF()),
        mix(background.greenF(), color.greenF()), mix(background.blueF(), color.blueF()));
}

QColor readableOn(const QColor &background)
{
    const auto color = base::toColor(background);
    return base::contrastRatio(color, {1, 1, 1}) >= 3.0 ? QColor(Qt::white) : QColor(Qt::black);
}

}  // namespace

Theme Theme::light(const QColor &accent)
{
    Theme theme;
    theme.isDark = false;
    theme.accent = accent.isValid() ? accent : QColor(0x2F, 0x6F, 0xED);
    theme.panelBackground = QColor(0xF6, 0xF6, 0xF8);
    theme.panelSurface = theme.panelBackground;
    theme.panelLine = grey(0.9, 1);
    theme.panelLineWidth = 0.5;
    theme.leftColumn = white(0.45);
    theme.primaryText = QColor(0x1D, 0x1D, 0x1F);
    theme.secondaryText = QColor(0x6E, 0x6E, 0x73);
    theme.tertiaryText = QColor(0xA1, 0xA1, 0xA6);
    theme.placeholderText = QColor(0x8A, 0x8A, 0x8F);
    theme.separator = black(0.09);
    theme.selectionFill = faded(theme.accent, 0.16);
    theme.selectionLine = faded(theme.accent, 0.38);
    theme.unfocusedSelection = black(0.07);
    theme.hover = black(0.05);
    theme.keyCapLine = black(0.13);
    theme.clearSymbol = theme.placeholderText;
    theme.negative = QColor(0xD9, 0x3A, 0x32);
    theme.shadow = black(0.38);
    return theme;
}

Theme Theme::dark(const QColor &accent)
{
    Theme theme;
    theme.isDark = true;
    theme.accent = accent.isValid() ? accent : QColor(0x50, 0x8C, 0xFF);
    theme.panelBackground = QColor(0x1E, 0x1E, 0x20);
    theme.panelSurface = theme.panelBackground;
    theme.panelLine = grey(0.5, 1);
    theme.panelLineWidth = 1;
    theme.leftColumn = white(0.03);
    theme.primaryText = QColor(0xF2, 0xF2, 0xF4);
    theme.secondaryText = QColor(0xA5, 0xA5, 0xAB);
    theme.tertiaryText = QColor(0x6D, 0x6D, 0x73);
    theme.placeholderText = QColor(0x85, 0x85, 0x8B);
    theme.separator = white(0.10);
    theme.selectionFill = faded(theme.accent, 0.30);
    theme.selectionLine = faded(theme.accent, 0.45);
    theme.unfocusedSelection = white(0.09);
    theme.hover = white(0.06);
    theme.keyCapLine = Qt::transparent;
    theme.clearSymbol = theme.placeholderText;
    theme.negative = QColor(0xFF, 0x62, 0x58);
    theme.shadow = black(0.38);
    return theme;
}

QFont Theme::font(int pixelSize, QFont::Weight weight) const
{
    return uiFont(int(std::lround(pixelSize * textScale)), weight);
}

Theme Theme::overBlur() const
{
    auto theme = *this;
    theme.panelSurface = faded(panelBackground, opacities::overBlur);
    theme.leftColumn = theme.panelSurface;
    return theme;
}

QPalette Theme::palette() const
{
    const auto field = isDark ? over(panelBackground, white(0.05)) : QColor(Qt::white);
    const auto button = isDark ? over(panelBackground, white(0.10)) : QColor(Qt::white);
    const auto edge = isDark ? white(0.16) : black(0.16);
    QPalette palette;
    const auto set = [&palette](QPalette::ColorRole role, const QColor &color) {
        palette.setColor(QPalette::All, role, color);
    };
    set(QPalette::Window, panelBackground);
    set(QPalette::WindowText, primaryText);
    set(QPalette::Base, field);
    set(QPalette::AlternateBase, over(field, hover));
    set(QPalette::Text, primaryText);
    set(QPalette::PlaceholderText, placeholderText);
    set(QPalette::ToolTipBase, over(panelBackground, hover));
    set(QPalette::ToolTipText, primaryText);
    set(QPalette::Button, button);
    set(QPalette::ButtonText, primaryText);
    set(QPalette::BrightText, negative);
    set(QPalette::Link, accent);
    set(QPalette::LinkVisited, accent);
    set(QPalette::Highlight, accent);
    set(QPalette::HighlightedText, readableOn(accent));
    set(QPalette::Light, over(button, white(isDark ? 0.10 : 1.0)));
    set(QPalette::Midlight, over(button, white(isDark ? 0.05 : 0.5)));
    set(QPalette::Mid, over(panelBackground, edge));
    set(QPalette::Dark, over(panelBackground, isDark ? black(0.4) : black(0.3)));
    set(QPalette::Shadow, over(panelBackground, isDark ? black(0.7) : black(0.55)));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, tertiaryText);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, over(panelBackground, hover));
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, tertiaryText);
    return palette;
}

QFont uiFont(int pixelSize, QFont::Weight weight)
{
    auto font = QGuiApplication::font();
    font.setPixelSize(std::max(1, pixelSize));
    font.setWeight(weight);
    return font;
}

double textScaleOf(double uiFontPoints, double logicalDotsPerInch)
{
    constexpr double usualDotsPerInch = 96;
    constexpr double leastUsualPoints = 9;
    constexpr double mostUsualPoints = 11;
    double scale = logicalDotsPerInch > 0 ? logicalDotsPerInch / usualDotsPerInch : 1;
    // A font given in pixels has no size in points and tells nothing.
    if (uiFontPoints > 0)
        scale *= uiFontPoints / std::clamp(uiFontPoints, leastUsualPoints, mostUsualPoints);
    return std::clamp(scale, leastTextScale, mostTextScale);
}

}  // namespace vellumhound::ui
