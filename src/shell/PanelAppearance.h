// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Color.h"

namespace vellumhound::shell {

/// How the panel's own surface looks.
struct PanelAppearance {
    base::Color background;
    base::Color borderColour;
    double borderWidth = 0;  // device-independent pixels
    bool isDark = false;

    bool operator==(const PanelAppearance &) const = default;
};

/// The panel's look on a light or a dark desktop.
PanelAppearance panelAppearance(bool isDark);

}  // namespace vellumhound::shell
