// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/PanelAppearance.h"

namespace vellumhound::shell {

namespace {

constexpr base::Color ofBytes(int red, int green, int blue)
{
    return {red / 255.0, green / 255.0, blue / 255.0, 1};
}

constexpr base::Color ofWhite(double white)
{
    return {white, white, white, 1};
}

}  // namespace

PanelAppearance panelAppearance(bool isDark)
{
    if (isDark)
        return {ofBytes(0x1E, 0x1E, 0x20), ofWhite(0.5), 1.0, true};
    return {ofBytes(0xF6, 0xF6, 0xF8), ofWhite(0.9), 0.5, false};
}

}  // namespace vellumhound::shell
