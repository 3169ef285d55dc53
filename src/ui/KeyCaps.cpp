// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/KeyCaps.h"

namespace vellumhound::ui {

base::Color keyCapText(ColorScheme colorScheme)
{
    return colorScheme == ColorScheme::dark ? base::Color{1, 1, 1} : base::Color{0, 0, 0};
}

base::Color keyCapFill(ColorScheme colorScheme)
{
    return colorScheme == ColorScheme::dark ? base::Color{0.3, 0.3, 0.3, 0.8}
                                            : base::Color{0.98, 0.98, 0.98, 1};
}

}  // namespace vellumhound::ui
