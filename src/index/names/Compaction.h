// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexView.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace vellumhound::index {

/// A base built from a view, and where its records and folders have gone.
struct CompactedIndex {
    std::shared_ptr<IndexBase> base;
    std::shared_ptr<const BlockFilter> filter;  ///< null where a scan does as well
    std::vector<RecordId> newRecords;           ///< by old number; `nothing` for what was dead
    std::vector<FolderId> newFolders;
    std::vector<std::int64_t> folderTimes;  ///< those known when it began, by new number
    std::vector<IndexRoot> roots;           ///< those of the view, with new folders
};

/// Puts base and tail, up to the marks, into one new base without the dead. Any thread: the view's
/// writer may go on meanwhile; what it kills or appends is then its own to bring over.
/// A base of at least `filterFrom` names gets a filter.
CompactedIndex compact(const IndexView &view, const IndexTail::Mark &mark, FolderId folderEnd,
    std::uint32_t filterFrom = BlockFilter::usualLeast);

}  // namespace vellumhound::index
