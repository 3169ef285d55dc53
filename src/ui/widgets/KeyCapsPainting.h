// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/KeyCaps.h"
#include "ui/widgets/Theme.h"

#include <QRect>
#include <QSize>

class QPainter;

namespace vellumhound::ui {

/// The room that a row of key caps takes, for delegates that draw it themselves.
QSize keyCapsSize(const KeyCaps &caps, const Theme &theme);
/// Draws the caps at the start of `rect` in reading direction, centred vertically.
void paintKeyCaps(QPainter &painter, const QRect &rect, const KeyCaps &caps, const Theme &theme,
    Qt::LayoutDirection direction);

}  // namespace vellumhound::ui
