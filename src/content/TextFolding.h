// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vellumhound::content {

/// A text as the index keeps it.
struct FoldedText {
    std::string text;
    bool isCut = false;  ///< the original goes on
};

/// The form of a text in which it is searched: folded as base::fold() folds names, and every run
/// of blanks, tabs, line breaks and NULs is one blank, so that a phrase is found over the end of a
/// line. At most `mostBytes` are kept, cut between characters. Any thread; never fails.
FoldedText foldText(std::string_view utf8, std::size_t mostBytes);

/// The same form of what somebody typed. Gives the same bytes as foldText(), without its tables.
std::string foldNeedle(std::string_view utf8);

/// Whether a folded needle can be looked for in texts: two bytes that are not just one letter.
bool isSearchable(std::string_view foldedNeedle);

}  // namespace vellumhound::content
