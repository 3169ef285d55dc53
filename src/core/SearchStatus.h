// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

namespace vellumhound::core {

/// Where the rows of the top-level list come from.
enum class ResultType {
    search = 0,
    favorites = 1,
    selectedFilesFromFinder = 2,
    browseFinderWindows = 3,
};

/// What the search has come to.
struct SearchStatus {
    enum class Kind {
        results,    ///< a list stands, be it an empty one: a search without hits ends here
        noResults,  ///< the home screen
        searching,
    };

    Kind kind = Kind::noResults;
    qsizetype count = 0;  ///< rows of the list; 0 unless there are results

    static SearchStatus results(qsizetype count) { return {Kind::results, count}; }
    static SearchStatus noResults() { return {}; }
    static SearchStatus searching() { return {Kind::searching, 0}; }

    bool isResults() const { return kind == Kind::results; }
    bool isNoResults() const { return kind == Kind::noResults; }
    bool isSearching() const { return kind == Kind::searching; }

    bool operator==(const SearchStatus &) const = default;
};

}  // namespace vellumhound::core
