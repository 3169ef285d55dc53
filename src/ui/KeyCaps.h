// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Color.h"

#include <QStringList>

namespace vellumhound::ui {

enum class ColorScheme { light, dark };

/// One row of key caps, left to right, as it is to be drawn. Lengths in device-independent pixels.
struct KeyCaps {
    QStringList signs;
    double charWidth = 0;  ///< a cap's sign has at least this width
    base::Color text;
    base::Color fill;

    bool operator==(const KeyCaps &) const = default;
};

base::Color keyCapText(ColorScheme colorScheme);
base::Color keyCapFill(ColorScheme colorScheme);

}  // namespace vellumhound::ui
