// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/SearchEnd.h"

namespace vellumhound::core {

SearchEnd describeSearchEnd(const SearchEndState &state)
{
    const auto onScreen = state.isAtRoot ? SearchEnd::showList : SearchEnd::fillTopLevel;
    if (state.isBoxTextOfRows)
        return onScreen;
    if (state.boxText.isEmpty())
        return SearchEnd::goHome;
    const auto boxText = state.boxText.trimmed();
    if (boxText == state.searchedText)
        return SearchEnd::showList;
    // A text with blanks around it starts no search: nothing else would end this one.
    return boxText != state.boxText ? onScreen : SearchEnd::leaveToTheNext;
}

}  // namespace vellumhound::core
