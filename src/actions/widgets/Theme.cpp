// SPDX-License-Identifier: GPL-3.0-or-later
#include "actions/widgets/Theme.h"

#include <QApplication>
#include <QFontInfo>

#include <algorithm>
#include <cmath>

namespace vellumhound::actions {

namespace {

/// `color` at `percent` of opacity.
QColor at(QColor color, double percent)
{
    color.setAlphaF(float(percent / 100));
    return color;
}

/// Pixel size of the desktop's font at the usual scale: 10 points at 96 dots an inch.
constexpr double usualFontPx = 13.33;
constexpr double smallestTextScale = 0.85;
constexpr double largestTextScale = 1.25;  // the rows have fixed heights

}  // namespace

Theme Theme::light(const std::optional<QColor> &accent)
{
    Theme theme;
    theme.accent = accent.value_or(QColor(0x2F, 0x6F, 0xED));
    theme.panelBackground = QColor(0xF6, 0xF6, 0xF8);
    theme.primaryText = QColor(0x1D, 0x1D, 0x1F);
    theme.secondaryText = QColor(0x6E, 0x6E, 0x73);
    theme.tertiaryText = QColor(0xA1, 0xA1, 0xA6);
    theme.placeholderText = QColor(0x8A, 0x8A, 0x8F);
    theme.separator = at(Qt::black, 9);
    theme.selectionFill = at(theme.accent, 16);
    theme.selectionLine = at(theme.accent, 38);
    theme.selectionWithoutFocus = at(Qt::black, 7);
    theme.hover = at(Qt::black, 5);
    theme.leftColumn = at(Qt::white, 45);
    theme.panelLine = QColor::fromRgbF(0.9F, 0.9F, 0.9F);
    theme.panelLineWidth = 0.5;
    return theme;
}

Theme Theme::dark(const std::optional<QColor> &accent)
{
    Theme theme;
    theme.isDark = true;
    theme.accent = accent.value_or(QColor(0x50, 0x8C, 0xFF));
    theme.panelBackground = QColor(0x1E, 0x1E, 0x20);
    theme.primaryText = QColor(0xF2, 0xF2, 0xF4);
    theme.secondaryText = QColor(0xA5, 0xA5, 0xAB);
    theme.tertiaryText = QColor(0x6D, 0x6D, 0x73);
    theme.placeholderText = QColor(0x85, 0x85, 0x8B);
    theme.separator = at(Qt::white, 10);
    theme.selectionFill = at(theme.accent, 30);
    theme.selectionLine = at(theme.accent, 45);
    theme.selectionWithoutFocus = at(Qt::white, 9);
    theme.hover = at(Qt::white, 6);
    theme.leftColumn = at(Qt::white, 3);
    theme.panelLine = QColor(0x80, 0x80, 0x80);
    theme.panelLineWidth = 1;
    return theme;
}

QPalette paletteOf(const Theme &theme)
{
    QPalette palette(theme.panelBackground);
    const auto veil = theme.isDark ? QColor(0x2C, 0x2C, 0x2F) : QColor(Qt::white);
    palette.setColor(QPalette::Window, theme.panelBackground);
    palette.setColor(QPalette::WindowText, theme.primaryText);
    palette.setColor(QPalette::Base, veil);
    palette.setColor(QPalette::AlternateBase, theme.panelBackground);
    palette.setColor(QPalette::Text, theme.primaryText);
    palette.setColor(QPalette::Button, veil);
    palette.setColor(QPalette::ButtonText, theme.primaryText);
    palette.setColor(QPalette::PlaceholderText, theme.placeholderText);
    palette.setColor(QPalette::ToolTipBase, veil);
    palette.setColor(QPalette::ToolTipText, theme.primaryText);
    palette.setColor(QPalette::Highlight, theme.accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, theme.accent);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, theme.tertiaryText);
    return palette;
}

QFont uiFont(int pixelSize, QFont::Weight weight)
{
    auto font = QApplication::font();
    const double desktopPx = QFontInfo(font).pixelSize();
    const double textScale
        = std::clamp(desktopPx / usualFontPx, smallestTextScale, largestTextScale);
    // A desktop font within a pixel of the usual one asks for no other size.
    const bool isUsual = std::abs(desktopPx - usualFontPx) < 1.5;
    font.setPixelSize(isUsual ? pixelSize : int(std::lround(pixelSize * textScale)));
    font.setWeight(weight);
    return font;
}

}  // namespace vellumhound::actions
