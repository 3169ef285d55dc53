// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexView.h"
#include "index/names/Needle.h"
#include "index/names/Ranking.h"
#include "index/names/Scan.h"
#include "index/names/UseTable.h"

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vellumhound::index {

/// Where a query looks.
struct QueryScopes {
    std::vector<std::string> folders;  ///< absolute paths in bytes, without trailing slash
    bool holdsApplications = false;
    bool isWholeComputer = false;

    bool operator==(const QueryScopes &) const = default;
};

/// The scopes of a query as ranges of one view's tables. One thread.
class ResolvedScopes {
public:
    /// The view outlives this.
    ResolvedScopes(const IndexView &view, const QueryScopes &scopes);

    /// Ranges [first, end) of records of the base, ascending, none touching another.
    const std::vector<std::pair<RecordId, RecordId>> &baseRanges() const { return _baseRanges; }
    /// Whether the entries of this folder, of the base or the tail, are in one of the scopes.
    bool holdsEntriesOf(FolderId folder);
    /// Whether this record, of the base or the tail, is.
    bool holds(RecordId record);
    bool holdsApplication(const Application &application) const;

private:
    void addFolder(FolderId folder);
    void mergeRanges();

    const IndexView &_view;
    const QueryScopes _scopes;
    std::vector<std::pair<FolderId, FolderId>> _folderRanges;
    std::vector<std::pair<RecordId, RecordId>> _baseRanges;
    std::unordered_map<FolderId, bool> _tailFolders;
};

/// Applications have record numbers of their own, from the top down, so that they can be ranked
/// among the files.
inline constexpr RecordId firstApplicationRecord = 0xFFF00000;
inline bool isApplicationRecord(RecordId record)
{
    return record >= firstApplicationRecord && record != nothing;
}

/// What of the index to search.
struct SearchRegion {
    bool withBase = true;  ///< the base and the applications too
    IndexTail::Mark from;  ///< of the tail, what was appended behind this
    IndexTail::Mark to;    ///< and not behind this
};

struct SearchAnswer {
    std::uint64_t count = 0;    ///< all hits, exactly
    std::vector<RankKey> best;  ///< best first
};

/// Which of the hits are wanted, and from when and by whose use they are ranked.
struct SearchRequest {
    std::size_t limit = 512;
    RankKey below = RankKey::aboveAll();  ///< only what stands behind it
    Recency recency;                      ///< the same for all parts of one ranking
    ScanFunction scan = bestScan();
    const UsedRecords *used = nullptr;  ///< has followed the view; null: nothing was used
};

/// The best hits, and how many there are in all, whatever the request leaves out. A hit is a name
/// that holds at least one of the needles; the needle that it holds best counts. `scopes` are those
/// of `view`.
SearchAnswer searchNames(const IndexView &view, ResolvedScopes &scopes,
    const std::vector<Needle> &needles, const SearchRegion &region, const SearchRequest &request);
SearchAnswer searchNames(const IndexView &view, ResolvedScopes &scopes, const Needle &needle,
    const SearchRegion &region, std::size_t limit);

}  // namespace vellumhound::index
