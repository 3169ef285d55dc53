// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace vellumhound::core {

/// What becomes of the list of a search that has come to its end.
enum class SearchEnd {
    showList,        ///< it becomes the list on screen
    fillTopLevel,    ///< the user is below the top level, and finds it on the way back
    goHome,          ///< a person has emptied the box
    leaveToTheNext,  ///< the box holds another text, whose search is about to begin
};

/// What the decision is made from.
struct SearchEndState {
    QString searchedText;  ///< trimmed
    QString boxText;
    /// The way through the folders wrote `boxText`, not a person.
    bool isBoxTextOfRows = false;
    bool isAtRoot = true;
};

/// Pure: what a search that nobody has replaced does when it ends. None leaves the spinner running
/// unless another search takes it over.
SearchEnd describeSearchEnd(const SearchEndState &state);

}  // namespace vellumhound::core
