// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "shell/LauncherView.h"

namespace vellumhound::shell {

/// What Escape does in the panel, once no screen has taken it.
enum class EscapeEffect {
    clearSearch,  ///< presses the clear button, ahead of the widget that has Qt's focus
    giveUpKey,    ///< puts the panel away, if that widget does not take the key
    nothing,
};

/// Pure: the effect, from the page below the search row and the button that stands in that row.
EscapeEffect describeEscape(LauncherContent content, screens::SearchRowTrailing trailing);

/// The effect at this moment.
EscapeEffect escapeEffect(const LauncherView &view);

}  // namespace vellumhound::shell
