// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/NameSearch.h"

#include "index/Scan.h"

#include <algorithm>
#include <unordered_set>

namespace vellumhound::index {

namespace {

/// Desktop entries that are found as applications, by their own records, if these match too: each
/// is to appear once.
using Shadowed = std::unordered_set<RecordId>;

RecordId recordOfFile(const IndexView &view, const std::string &path)
{
    const auto slash = path.rfind('/');
    const auto folder = view.findFolder(path.substr(0, std::max<std::size_t>(slash, 1)));
    return folder == nothing ? nothing : view.find(folder, path.substr(slash + 1));
}

Shadowed shadowedEntries(const IndexView &view, const ResolvedScopes &scopes, const Needle &needle)
{
    Shadowed shadowed;
    for (const auto &application : *view.applications) {
        if (needle.match(application.fileName) == MatchClass::none ||
            !scopes.holdsApplication(application))
            continue;
        const auto record = recordOfFile(view, application.path);
        if (record != nothing)
            shadowed.insert(record);
    }
    return shadowed;
}

/// One search, part by part.
class Search {
public:
    Search(const IndexView &view, ResolvedScopes &scopes, const Needle &needle, std::size_t limit,
        RankKey below)
        : _view(view)
        , _scopes(scopes)
        , _needle(needle)
        , _top(limit, below)
        , _shadowed(shadowedEntries(view, scopes, needle))
    {
    }

    void searchApplications()
    {
        for (std::size_t i = 0; i < _view.applications->size(); ++i) {
            const auto &application = (*_view.applications)[i];
            const auto match = _needle.match(application.storedName);
            if (match == MatchClass::none || !_scopes.holdsApplication(application))
                continue;
            ++_answer.count;
            _top.offer(RankKey::of(false, match, 0, application.storedName.size(),
                firstApplicationRecord + RecordId(i)));
        }
    }

    void searchBase()
    {
        const auto &names = _view.base->names;
        for (const auto &[first, end] : _scopes.baseRanges()) {
            HitSink sink(_top, names, 0, false, [this](RecordId record) {
                return !_view.base->names.isDead(record) && !_shadowed.contains(record);
            });
            const auto extent = names.published();
            bestScan()(names.startOf(first), end == extent.count ? extent.end : names.startOf(end),
                _needle, sink);
            _answer.count += sink.count - refusedIn(first, end);
        }
    }

    void searchTail(const IndexTail::Mark &from, const IndexTail::Mark &to)
    {
        for (auto chunk = from.chunk; chunk <= to.chunk; ++chunk) {
            const auto &names = _view.tail->names(chunk);
            const auto extent = chunk == to.chunk ? to.extent : names.published();
            const std::size_t start = chunk == from.chunk ? from.extent.end : NameBlock::firstByte;
            const auto firstRecord = _view.tail->firstRecordOf(chunk);
            HitSink sink(
                _top, names, firstRecord, true, [this, &names, firstRecord](RecordId slot) {
                    return !names.isDead(slot) && !_shadowed.contains(firstRecord + slot) &&
                           _scopes.holdsEntriesOf(_view.tail->folderOf(firstRecord + slot));
                });
            searchGrowing(start, extent.end, sink);
            _answer.count += sink.count;
        }
    }

    SearchAnswer finish()
    {
        _answer.best = _top.take();
        return std::move(_answer);
    }

private:
    /// Hits of the base that the scan has counted but that do not count.
    std::uint64_t refusedIn(RecordId first, RecordId end) const
    {
        std::uint64_t refused = 0;
        const auto &names = _view.base->names;
        if (names.deadCount() > 0) {
            for (auto word = first / 64; word * 64 < end; ++word) {
                for (auto bits = names.deadWord(word); bits != 0; bits &= bits - 1) {
                    const auto record = word * 64 + RecordId(__builtin_ctzll(bits));
                    if (record >= first && record < end &&
                        _needle.match(names.stored(record)) != MatchClass::none)
                        ++refused;
                }
            }
        }
        for (const auto record : _shadowed) {
            if (record >= first && record < end)
                ++refused;
        }
        return refused;
    }

    /// Vectors must not reach beyond what is published, where the writer may be writing: the last
    /// bytes are compared one by one.
    void searchGrowing(std::size_t from, std::size_t to, HitSink &sink)
    {
        const auto reach = 64 + _needle.size();
        auto wide = from;
        if (to > from + 2 * reach)
            wide = std::max<std::size_t>(from, sink.block.startOf(sink.block.recordAt(to - reach)));
        bestScan()(from, wide, _needle, sink);
        scanPlain(wide, to, _needle, sink);
    }

    const IndexView &_view;
    ResolvedScopes &_scopes;
    const Needle &_needle;
    TopHits _top;
    const Shadowed _shadowed;
    SearchAnswer _answer;
};

}  // namespace

ResolvedScopes::ResolvedScopes(const IndexView &view, const QueryScopes &scopes)
    : _view(view)
    , _scopes(scopes)
{
    for (const auto &root : view.roots) {
        const bool isHeld =
            scopes.isWholeComputer ||
            std::any_of(scopes.folders.begin(), scopes.folders.end(),
                [&](const auto &scope) { return pathBelow(root.path, scope).has_value(); });
        if (root.folder != nothing && isHeld)
            addFolder(root.folder);
    }
    for (const auto &scope : scopes.folders)
        addFolder(view.findFolder(scope));
    mergeRanges();
}

void ResolvedScopes::addFolder(FolderId folder)
{
    if (folder == nothing)
        return;
    if (folder >= _view.tail->firstFolder()) {
        _tailFolders[folder] = true;
        return;
    }
    const auto &base = *_view.base;
    const auto end = base.subtreeEnds[folder];
    _folderRanges.emplace_back(folder, end);
    _baseRanges.emplace_back(base.firstRecords[folder], base.firstRecords[end]);
}

void ResolvedScopes::mergeRanges()
{
    std::sort(_baseRanges.begin(), _baseRanges.end());
    std::vector<std::pair<RecordId, RecordId>> merged;
    for (const auto &range : _baseRanges) {
        if (range.first == range.second)
            continue;
        if (!merged.empty() && range.first <= merged.back().second)
            merged.back().second = std::max(merged.back().second, range.second);
        else
            merged.push_back(range);
    }
    _baseRanges = std::move(merged);
}

bool ResolvedScopes::holdsEntriesOf(FolderId folder)
{
    if (folder == nothing)
        return false;
    if (folder < _view.tail->firstFolder()) {
        return std::any_of(_folderRanges.begin(), _folderRanges.end(),
            [&](const auto &range) { return folder >= range.first && folder < range.second; });
    }
    const auto known = _tailFolders.find(folder);
    if (known != _tailFolders.end())
        return known->second;
    const bool isHeld = holdsEntriesOf(_view.tail->parentOf(folder));
    _tailFolders.emplace(folder, isHeld);
    return isHeld;
}

bool ResolvedScopes::holdsApplication(const Application &application) const
{
    if (_scopes.holdsApplications || _scopes.isWholeComputer)
        return true;
    return std::any_of(_scopes.folders.begin(), _scopes.folders.end(), [&](const auto &scope) {
        const auto below = pathBelow(application.path, scope);
        return below && !below->empty() && !hasHiddenComponent(*below);
    });
}

SearchAnswer searchNames(const IndexView &view, ResolvedScopes &scopes, const Needle &needle,
    const SearchRegion &region, std::size_t limit, RankKey below)
{
    if (needle.isEmpty())
        return {};
    Search search(view, scopes, needle, limit, below);
    if (region.withBase) {
        search.searchApplications();
        search.searchBase();
    }
    search.searchTail(region.from, region.to);
    return search.finish();
}

}  // namespace vellumhound::index
