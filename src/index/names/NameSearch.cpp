// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/NameSearch.h"

#include "index/disk/Paths.h"
#include "index/names/Noise.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

namespace vellumhound::index {

namespace {

/// Desktop entries that are found as applications, by their own records, if these match too: each
/// is to appear once.
using Shadowed = std::unordered_set<RecordId>;

/// The best match of all needles.
MatchClass matchOf(const std::vector<Needle> &needles, std::string_view name)
{
    auto best = MatchClass::none;
    for (const auto &needle : needles)
        best = std::max(best, needle.match(name));
    return best;
}

Shadowed shadowedEntries(
    const IndexView &view, const ResolvedScopes &scopes, const std::vector<Needle> &needles)
{
    Shadowed shadowed;
    for (const auto &application : *view.applications) {
        if (matchOf(needles, application.fileName) == MatchClass::none ||
            !scopes.holdsApplication(application))
            continue;
        const auto record = view.findPath(application.path);
        if (record != nothing)
            shadowed.insert(record);
    }
    return shadowed;
}

/// One search, part by part.
class Search {
public:
    Search(const IndexView &view, ResolvedScopes &scopes, const std::vector<Needle> &needles,
        const SearchRegion &region, const SearchRequest &request)
        : _view(view)
        , _scopes(scopes)
        , _needles(needles)
        , _region(region)
        , _scan(request.scan)
        , _used(request.used)
        , _top(request.limit, request.recency, request.below)
        , _shadowed(shadowedEntries(view, scopes, needles))
    {
    }

    SearchAnswer run()
    {
        // The used ones first: they stand high, and the scans can pass over more.
        searchUsed();
        if (_region.withBase) {
            searchApplications();
            for (std::size_t i = 0; i < _needles.size(); ++i)
                searchBase(i);
        }
        for (std::size_t i = 0; i < _needles.size(); ++i)
            searchTail(i);
        _answer.best = _top.take();
        return std::move(_answer);
    }

private:
    /// With several needles a record's other matches must be looked at, so each is visited.
    bool visitsAllOfBase() const { return _needles.size() > 1; }

    void searchApplications()
    {
        for (std::size_t i = 0; i < _view.applications->size(); ++i) {
            const auto &application = (*_view.applications)[i];
            const auto match = matchOf(_needles, application.storedName);
            if (match == MatchClass::none || !_scopes.holdsApplication(application))
                continue;
            ++_answer.count;
            // An application's own age says nothing: it stands where one changed just now would.
            const auto used = _used ? _used->table().lastUseOf(application.path) : 0;
            const auto changed = ~std::uint32_t(0);
            _top.offer(RankKey::of({false, match, used, changed, 0, application.storedName.size()},
                _top.recency(), firstApplicationRecord + RecordId(i)));
        }
    }

    void searchUsed()
    {
        if (!_used)
            return;
        const auto tailFrom =
            _view.tail->firstRecordOf(_region.from.chunk) + _region.from.extent.count;
        const auto tailTo = _view.tail->firstRecordOf(_region.to.chunk) + _region.to.extent.count;
        for (const auto &[record, seconds] : _used->uses()) {
            const bool isInBase = _view.isInBase(record);
            const bool isInRegion =
                isInBase ? _region.withBase : record >= tailFrom && record < tailTo;
            if (!isInRegion || _view.isDead(record) || _shadowed.contains(record))
                continue;
            const auto name = _view.storedNameOf(record);
            const auto match = matchOf(_needles, name);
            if (match == MatchClass::none || !_scopes.holds(record))
                continue;
            if (!isInBase || visitsAllOfBase())
                ++_answer.count;  // elsewhere the scan counts it
            const auto traits = _view.traitsOf(record);
            _top.offer(RankKey::of({traits.isNoise() || isNoiseName(name), match, seconds,
                                       _view.changeTimeOf(record), traits.depth(), name.size()},
                _top.recency(), record));
        }
    }

    bool isWanted(RecordId record) const
    {
        return !_view.isDead(record) && !_shadowed.contains(record) &&
               (!_used || !_used->contains(record));
    }

    /// Whether a hit of the needle `number` is to be counted as that one's: it holds no needle
    /// before. `match` becomes the best of all.
    bool belongsTo(std::size_t number, std::string_view name, MatchClass &match) const
    {
        for (std::size_t i = 0; i < _needles.size(); ++i) {
            const auto other = i == number ? match : _needles[i].match(name);
            if (i < number && other != MatchClass::none)
                return false;
            match = std::max(match, other);
        }
        return true;
    }

    std::optional<std::vector<BlockFilter::Range>> narrowedBy(
        const Needle &needle, RecordId first, RecordId end) const
    {
        const auto &filter = _view.filter;
        return filter ? filter->narrowed(needle, first, end) : std::nullopt;
    }

    void searchBase(std::size_t number)
    {
        const auto &names = _view.base->names;
        const auto extent = names.published();
        for (const auto &[first, end] : _scopes.baseRanges()) {
            HitSink sink(_top, names, 0, visitsAllOfBase(),
                [this, number, &names](RecordId record, MatchClass &match) {
                    return isWanted(record) &&
                           (!visitsAllOfBase() || belongsTo(number, names.stored(record), match));
                });
            const auto scanRecords = [&](RecordId from, RecordId to) {
                _scan(names.startOf(from), to == extent.count ? extent.end : names.startOf(to),
                    _needles[number], sink);
            };
            if (const auto narrowed = narrowedBy(_needles[number], first, end)) {
                for (const auto &[from, to] : *narrowed)
                    scanRecords(from, to);
            } else {
                scanRecords(first, end);
            }
            _answer.count += sink.count;
            if (!visitsAllOfBase())
                _answer.count -= refusedIn(first, end);
        }
    }

    void searchTail(std::size_t number)
    {
        for (auto chunk = _region.from.chunk; chunk <= _region.to.chunk; ++chunk) {
            const auto &names = _view.tail->names(chunk);
            const auto extent = chunk == _region.to.chunk ? _region.to.extent : names.published();
            const std::size_t start =
                chunk == _region.from.chunk ? _region.from.extent.end : NameBlock::firstByte;
            const auto firstRecord = _view.tail->firstRecordOf(chunk);
            HitSink sink(_top, names, firstRecord, true,
                [this, number, &names, firstRecord](RecordId slot, MatchClass &match) {
                    return isWanted(firstRecord + slot) &&
                           _scopes.holdsEntriesOf(_view.tail->folderOf(firstRecord + slot)) &&
                           (_needles.size() == 1 || belongsTo(number, names.stored(slot), match));
                });
            searchGrowing(start, extent.end, _needles[number], sink);
            _answer.count += sink.count;
        }
    }

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
                        _needles.front().isIn(names.stored(record)))
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
    void searchGrowing(std::size_t from, std::size_t to, const Needle &needle, HitSink &sink) const
    {
        const auto reach = 64 + needle.size();
        auto wide = from;
        if (to > from + 2 * reach)
            wide = std::max<std::size_t>(from, sink.block.startOf(sink.block.recordAt(to - reach)));
        _scan(from, wide, needle, sink);
        scanPlain(wide, to, needle, sink);
    }

    const IndexView &_view;
    ResolvedScopes &_scopes;
    const std::vector<Needle> &_needles;
    const SearchRegion &_region;
    const ScanFunction _scan;
    const UsedRecords *const _used;
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

bool ResolvedScopes::holds(RecordId record)
{
    if (!_view.isInBase(record))
        return holdsEntriesOf(_view.tail->folderOf(record));
    return std::any_of(_baseRanges.begin(), _baseRanges.end(),
        [&](const auto &range) { return record >= range.first && record < range.second; });
}

SearchAnswer searchNames(const IndexView &view, ResolvedScopes &scopes,
    const std::vector<Needle> &needles, const SearchRegion &region, const SearchRequest &request)
{
    auto wanted = needles;
    std::erase_if(wanted, [](const Needle &needle) { return needle.isEmpty(); });
    if (wanted.empty())
        return {};
    return Search(view, scopes, wanted, region, request).run();
}

SearchAnswer searchNames(const IndexView &view, ResolvedScopes &scopes, const Needle &needle,
    const SearchRegion &region, std::size_t limit)
{
    SearchRequest request;
    request.limit = limit;
    return searchNames(view, scopes, std::vector{needle}, region, request);
}

}  // namespace vellumhound::index
