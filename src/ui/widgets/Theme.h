// SPDX-License-Identifier: GPL-3.0-or-later
// long: the one place of all sizes and colours
#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace vellumhound::ui {

/// Sizes in device-independent pixels; those of texts are pixel sizes before the user's text scale.
namespace metrics {

constexpr int defaultPadding = 16;
constexpr int defaultSpacing = 8;

constexpr int panelRadius = 10;
constexpr int panelPadding = 8;
constexpr int contentWidth = 800;
constexpr int contentHeight = 500;
constexpr int panelWidth = contentWidth + 2 * panelPadding;
constexpr int panelHeight = contentHeight + defaultPadding + 2 * panelPadding;
constexpr int shadowOffset = 18;  // downwards, drawn on the margin around the panel
constexpr int shadowBlur = 50;

constexpr int searchRowHeight = 28;
constexpr int searchSymbol = 20;
constexpr int searchText = 15;
constexpr int searchToSeparator = 12;

constexpr int resultSymbol = 20;
constexpr int resultGap = 9;
constexpr int resultName = 13;
constexpr int resultNameLine = 16;
constexpr int resultPath = 11;
constexpr int resultPathLine = 14;
constexpr int resultContentHeight = 30;
constexpr int resultPadding = 4;  // above and below the content
constexpr int resultRowPitch = resultContentHeight + 2 * resultPadding;
constexpr int rowPadding = 16;     // from the column's edge to the symbol
constexpr int listTopPadding = 7;  // from the separator to the first row
// The left column reaches the edge of the panel, so each of its widths holds the padding too.
constexpr int leftColumnMinimum = 100 + panelPadding;
constexpr int leftColumnIdeal = 300 + panelPadding;
constexpr int leftColumnMaximum = 700 + panelPadding;
constexpr int selectionRadius = 7;
constexpr int selectionInset = 8;  // from the edges of the column
constexpr int selectionLine = 1;

constexpr int folderRowSymbol = 18;
constexpr int folderRowPitch = 30;

constexpr double pressedOpacity = 0.6;

constexpr int detailsLabelWidth = 100;
constexpr int detailsRowSpacing = 6;
constexpr int detailsHeight = 120;

constexpr int keyCapText = 12;
constexpr int keyCapPadding = 1;
constexpr int keyCapSpacing = 1;
constexpr int keyCapRadius = 3;
constexpr double keyCapLineWidth = 0.5;

}  // namespace metrics

namespace opacities {

constexpr double overBlur = 0.6;     // of the window background, where the desktop shines through
constexpr double composited = 0.99;  // of the panel's whole window

}  // namespace opacities

/// Every colour of the program, for one appearance, with the desktop's accent mixed in. A value:
/// made by the shell when the desktop's appearance changes and passed to the widgets, which keep a
/// copy. Translucent colours are meant to be painted over the panel's background.
struct Theme {
    bool isDark = false;
    double textScale = 1;  // the user's, applied by `font`
    QColor accent;

    QColor panelBackground;  // of windows; opaque
    QColor panelSurface;     // what the panel is filled with
    QColor panelLine;
    double panelLineWidth = 1;  // device-independent pixels
    QColor leftColumn;          // over the surface
    QColor primaryText;
    QColor secondaryText;
    QColor tertiaryText;
    QColor placeholderText;
    QColor separator;
    QColor selectionFill;  // the list has the focus
    QColor selectionLine;
    QColor unfocusedSelection;
    QColor hover;
    QColor keyCapLine;   // transparent in the dark
    QColor clearSymbol;  // grey of the symbols that stand inside the search row
    QColor negative;
    QColor shadow;  // around the panel

    /// An invalid accent gives our own.
    static Theme light(const QColor &accent = {});
    static Theme dark(const QColor &accent = {});

    bool operator==(const Theme &) const = default;

    /// The desktop's UI font at this pixel size times the user's text scale.
    QFont font(int pixelSize, QFont::Weight weight = QFont::Normal) const;
    /// The same for a panel behind which the compositor blurs the desktop.
    Theme overBlur() const;
    /// For the standard widgets: fields, buttons, menus, tables, tooltips.
    QPalette palette() const;
};

/// The desktop's UI font at exactly this pixel size.
QFont uiFont(int pixelSize, QFont::Weight weight = QFont::Normal);

/// How much larger than usual the user wants texts, 0.75 to 2.5, told by the size of the desktop's
/// UI font and the screen's logical dots per inch (96 is usual). From 9 to 11 points, which is what
/// desktops come with, the size is usual.
double textScaleOf(double uiFontPoints, double logicalDotsPerInch);

}  // namespace vellumhound::ui
