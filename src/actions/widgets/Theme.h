// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

#include <optional>

namespace vellumhound::actions {

/// Sizes of the panel in device-independent pixels, font sizes in pixels before the user's text scale.
namespace Metrics {
inline constexpr int defaultPadding = 16;
inline constexpr int defaultSpacing = 8;

inline constexpr int contentWidth = 800;
inline constexpr int contentHeight = 500;
inline constexpr int panelPadding = 8;  ///< on all edges, besides the default padding at the top
inline constexpr int panelWidth = contentWidth + 2 * panelPadding;
inline constexpr int panelHeight = contentHeight + defaultPadding + 2 * panelPadding;
inline constexpr int cornerRadius = 10;

inline constexpr int searchRowHeight = 28;
inline constexpr int searchRowGap = 12;  ///< from the row to the line below it
inline constexpr int slotSize = 20;      ///< frame of the symbol and of the trailing slot
inline constexpr int searchFontSize = 15;

inline constexpr int listTopPadding = 7;
inline constexpr int selectionInset = 8;
inline constexpr int selectionRadius = 7;
inline constexpr int rowPadding = 16;  ///< from the column's edge to the symbol
inline constexpr int symbolGap = 9;
inline constexpr int resultRowHeight = 38;
inline constexpr int resultContentHeight = 30;
inline constexpr int resultSymbol = 20;
inline constexpr int nameLineHeight = 16;
inline constexpr int pathLineHeight = 14;
inline constexpr int nameFontSize = 13;
inline constexpr int pathFontSize = 11;
inline constexpr int folderRowHeight = 30;
inline constexpr int folderSymbol = 18;

inline constexpr int leftColumnMinimum = 100;
inline constexpr int leftColumnIdeal = 300 + panelPadding;
inline constexpr int leftColumnMaximum = 700;

inline constexpr int detailLabelWidth = 100;
inline constexpr int detailRowSpacing = 6;
inline constexpr int detailsHeight = 120;
}  // namespace Metrics

/// The colours of one appearance. A value; whoever draws holds a copy.
struct Theme {
    bool isDark = false;
    QColor accent;
    QColor panelBackground;  ///< without blur behind it
    QColor primaryText;
    QColor secondaryText;
    QColor tertiaryText;
    QColor placeholderText;
    QColor separator;
    QColor selectionFill;  ///< of a list that holds the focus
    QColor selectionLine;
    QColor selectionWithoutFocus;
    QColor hover;
    QColor leftColumn;  ///< over the background
    QColor panelLine;
    double panelLineWidth = 1;

    /// Without an accent of the desktop's, our own.
    static Theme light(const std::optional<QColor> &accent = std::nullopt);
    static Theme dark(const std::optional<QColor> &accent = std::nullopt);

    bool operator==(const Theme &) const = default;
};

/// The palette for all widgets of the toolkit's own (tooltips, menus, scroll bars).
QPalette paletteOf(const Theme &theme);

/// The desktop's font at `pixelSize`, grown or shrunk with the text scale that the desktop asks for.
QFont uiFont(int pixelSize, QFont::Weight weight = QFont::Normal);

}  // namespace vellumhound::actions
