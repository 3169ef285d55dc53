// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/IndexView.h"

#include <memory>
#include <vector>

namespace vellumhound::index {

/// A base built from a view, and where its records and folders have gone.
struct CompactedIndex {
    std::shared_ptr<IndexBase> base;
    std::vector<RecordId> newRecords;  ///< by old number; `nothing` for what was dead
    std::vector<FolderId> newFolders;
};

/// Puts base and tail, up to the marks, into one new base without the dead. Any thread: the view's
/// writer may go on meanwhile; what it kills or appends is then its own to bring over.
CompactedIndex compact(const IndexView &view, const IndexTail::Mark &mark, FolderId folderEnd);

}  // namespace vellumhound::index
