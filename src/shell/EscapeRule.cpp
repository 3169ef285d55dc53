// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/EscapeRule.h"

namespace vellumhound::shell {

EscapeEffect describeEscape(LauncherContent content, screens::SearchRowTrailing trailing)
{
    if (content == LauncherContent::onboarding)
        return EscapeEffect::nothing;
    const bool hasClearButton = trailing == screens::SearchRowTrailing::clearButton;
    return hasClearButton ? EscapeEffect::clearSearch : EscapeEffect::giveUpKey;
}

EscapeEffect escapeEffect(const LauncherView &view)
{
    return describeEscape(view.content(), view.fileSearchView().description().trailing);
}

}  // namespace vellumhound::shell
