// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Color.h"

#include <QColor>
#include <QPixmap>
#include <QString>

class QPainter;
class QRectF;

namespace vellumhound::base {

/// Our own set of symbols by name ("doc.text.fill"), black on a grid of 24, tinted when they are
/// drawn. The main thread only.

/// Whether the set has a symbol of this name.
bool hasSymbol(const QString &name);

/// The symbol in a square of `sizePx` device-independent pixels, drawn for `devicePixelRatio`, in
/// one colour with its alpha. Kept in a bounded cache. A name that the set has not is drawn as
/// "doc.fill" and logged once.
QPixmap symbolPixmap(const QString &name, int sizePx, double devicePixelRatio, const QColor &color);

/// Draws the symbol as large as fits, centred, on whole device pixels so that its edges stay crisp
/// at fractional scales.
void paintSymbol(QPainter &painter, const QRectF &rect, const QString &name, const QColor &color);

/// The program's own icon, in its colours, for where the desktop's icon theme is not asked.
QPixmap applicationIcon(int sizePx, double devicePixelRatio);

/// A toolkit-free colour for a painter.
QColor toQColor(const Color &color);
Color toColor(const QColor &color);

}  // namespace vellumhound::base
