// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Color.h"

#include <optional>

namespace vellumhound::platform {

/// How the user wants the desktop to look.
struct Appearance {
    bool isDark = false;
    std::optional<base::Color> accent;  ///< absent where the desktop has no choice of one
    bool isMotionReduced = false;

    bool operator==(const Appearance &) const = default;
};

}  // namespace vellumhound::platform
