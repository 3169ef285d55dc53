// SPDX-License-Identifier: GPL-3.0-or-later
// long: all that writes the tables stands together, since each part must keep the others right
#include "index/names/IndexWriter.h"

#include "base/Fold.h"
#include "index/disk/Paths.h"
#include "index/names/Noise.h"

#include <algorithm>
#include <utility>

namespace vellumhound::index {

namespace {

std::size_t hashOf(std::string_view name)
{
    return std::hash<std::string_view>()(name);
}

}  // namespace

IndexWriter::IndexWriter(PublishedView &published)
    : _published(published)
{
    auto view = std::make_shared<IndexView>();
    view->base = std::make_shared<IndexBase>(NameBlock::Capacity{});
    view->base->setFolders({{0}, {}, {}, {}, {}});
    view->tail = std::make_shared<IndexTail>(0, 0);
    view->applications = std::make_shared<const ApplicationTable>();
    _view = std::move(view);
    _published.publish(_view);
}

void IndexWriter::publish()
{
    _view->tail->publish();
    if (_published.current() != _view)
        _published.publish(_view);
}

void IndexWriter::adopt(std::shared_ptr<IndexBase> base, std::vector<IndexRoot> roots,
    std::vector<std::int64_t> folderTimes)
{
    Q_ASSERT(_view->roots.empty() && folderTimes.size() == base->folderCount());
    auto view = changedView();
    view->tail = std::make_shared<IndexTail>(base->recordCount(), FolderId(base->folderCount()));
    view->base = std::move(base);
    view->roots = std::move(roots);
    _watches.assign(folderTimes.size(), ChangeSource::noWatch);
    _identities.assign(folderTimes.size(), 0);
    _times = std::move(folderTimes);
    _view = std::move(view);
    publish();
}

void IndexWriter::forgetAll(const std::function<void(int)> &unwatch)
{
    Q_ASSERT(!_isCompacting);
    publish();
    auto view = changedView();
    const auto mark = view->tail->mark();
    const auto end = view->tail->firstRecordOf(mark.chunk) + mark.extent.count;
    view->base = std::make_shared<IndexBase>(NameBlock::Capacity{});
    view->base->setFolders({{0}, {}, {}, {}, {}});
    view->tail = std::make_shared<IndexTail>(end, folderEnd());
    view->filter = nullptr;
    for (auto &root : view->roots)
        root.folder = nothing;
    _view = std::move(view);
    _watches.assign(_watches.size(), gone);
    for (const auto &[watch, folder] : std::exchange(_folderOfWatch, {}))
        unwatch(watch);
    _folderFor.clear();
    _runs.clear();
    _added.clear();
    _tailCount = 0;
    _deadCount = 0;
    _addedCount = 0;
    ++_changeCount;
    publish();
}

void IndexWriter::setFilter(
    const std::shared_ptr<const IndexBase> &base, std::shared_ptr<const BlockFilter> filter)
{
    if (base != _view->base)
        return;
    auto view = changedView();
    view->filter = std::move(filter);
    _view = std::move(view);
}

std::uint32_t IndexWriter::addRoot(const std::string &path)
{
    ++_changeCount;
    auto view = changedView();
    const auto root = std::uint32_t(view->roots.size());
    view->roots.push_back({path, registerFolder(nothing, root), false, false, {}});
    _view = std::move(view);
    return root;
}

void IndexWriter::removeRoot(std::uint32_t root)
{
    auto view = changedView();
    view->roots[root].folder = nothing;
    ++_changeCount;
    _view = std::move(view);
}

void IndexWriter::setRootCrawled(std::uint32_t root)
{
    auto view = changedView();
    view->roots[root].isCrawled = true;
    _view = std::move(view);
}

void IndexWriter::setRootIdentity(std::uint32_t root, const RootIdentity &identity)
{
    if (_view->roots[root].identity == identity)
        return;
    auto view = changedView();
    view->roots[root].identity = identity;
    _view = std::move(view);
}

void IndexWriter::setRootMayHang(std::uint32_t root, bool mayHang)
{
    if (_view->roots[root].mayHang == mayHang)
        return;
    auto view = changedView();
    view->roots[root].mayHang = mayHang;
    _view = std::move(view);
}

void IndexWriter::setSlowMounts(std::vector<Mount> mounts)
{
    auto view = changedView();
    view->slowMounts = std::make_shared<const std::vector<Mount>>(std::move(mounts));
    _view = std::move(view);
}

void IndexWriter::setApplications(ApplicationTable applications)
{
    auto view = changedView();
    view->applications = std::make_shared<const ApplicationTable>(std::move(applications));
    view->hasApplications = true;
    _view = std::move(view);
}

std::uint32_t IndexWriter::rootOf(FolderId folder) const
{
    return _view->rootOf(folder);
}

RecordId IndexWriter::find(FolderId folder, std::string_view name) const
{
    if (const auto added = _added.find(folder); added != _added.end()) {
        const auto [first, end] = added->second.equal_range(hashOf(name));
        for (auto it = first; it != end; ++it) {
            if (!_view->isDead(it->second) && _view->nameOf(it->second) == name)
                return it->second;
        }
    }
    if (const auto runs = _runs.find(folder); runs != _runs.end()) {
        for (const auto &run : runs->second) {
            auto low = run.first;
            auto high = run.first + run.count;
            while (low < high) {
                const auto middle = low + (high - low) / 2;
                if (_view->nameOf(middle) < name)
                    low = middle + 1;
                else
                    high = middle;
            }
            if (low < run.first + run.count && _view->nameOf(low) == name && !_view->isDead(low))
                return low;
        }
    }
    return _view->findInBase(folder, name);
}

RecordId IndexWriter::findPath(std::string_view path) const
{
    FolderId folder = nothing;
    std::string_view rest;
    for (const auto &root : _view->roots) {
        const auto below = pathBelow(path, root.path);
        if (root.folder != nothing && below && (folder == nothing || below->size() < rest.size())) {
            folder = root.folder;
            rest = *below;
        }
    }
    RecordId record = nothing;
    while (folder != nothing && !rest.empty()) {
        const auto slash = rest.find('/');
        record = find(folder, rest.substr(0, slash));
        if (slash == std::string_view::npos || record == nothing)
            return record;
        rest = rest.substr(slash + 1);
        folder = folderFor(record);
        record = nothing;
    }
    return record;
}

FolderId IndexWriter::folderFor(RecordId record) const
{
    const auto found = _folderFor.find(record);
    auto folder = found != _folderFor.end() ? found->second : nothing;
    if (folder == nothing && _view->isInBase(record))
        folder = _view->base->folderFor(record);
    return folder != nothing && isAlive(folder) ? folder : nothing;
}

Traits IndexWriter::traitsBelow(FolderId folder) const
{
    if (_view->parentOf(folder) == nothing)
        return Traits::of(EntryKind::file, 0, false);
    const auto record = _view->recordOf(folder);
    const auto own = _view->traitsOf(record);
    return Traits::of(
        EntryKind::file, own.depth() + 1, own.isNoise() || isNoiseFolder(_view->nameOf(record)));
}

RecordId IndexWriter::append(FolderId folder, std::string_view name, Traits traits)
{
    const bool isAscii = std::all_of(
        name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const auto record = isAscii ? _view->tail->append(folder, name, name, traits)
                                : _view->tail->append(folder, name, base::fold(name), traits);
    if (record != nothing)
        ++_tailCount;
    ++_changeCount;
    return record;
}

RecordId IndexWriter::add(FolderId folder, std::string_view name, EntryKind kind)
{
    const auto below = traitsBelow(folder);
    const auto record = append(folder, name, Traits::of(kind, below.depth(), below.isNoise()));
    if (record != nothing) {
        _added[folder].emplace(hashOf(name), record);
        ++_addedCount;
    }
    return record;
}

void IndexWriter::addAll(FolderId folder, const FolderListing &listing,
    const std::function<void(RecordId, const FolderListing::Entry &)> &onFolder)
{
    const auto below = traitsBelow(folder);
    std::vector<Run> runs;
    std::vector<std::pair<RecordId, const FolderListing::Entry *>> folders;
    for (const auto &entry : listing.entries) {
        const auto record = append(
            folder, listing.nameOf(entry), Traits::of(entry.kind, below.depth(), below.isNoise()));
        if (record == nothing)
            break;
        if (!runs.empty() && runs.back().first + runs.back().count == record)
            ++runs.back().count;
        else
            runs.push_back({record, 1});
        if (entry.kind == EntryKind::folder)
            folders.emplace_back(record, &entry);
    }
    if (!runs.empty()) {
        auto &known = _runs[folder];
        known.insert(known.end(), runs.begin(), runs.end());
    }
    for (const auto &[record, entry] : folders)
        onFolder(record, *entry);
}

void IndexWriter::setChangeTime(RecordId record, std::uint32_t seconds)
{
    if (_view->changeTimeOf(record) == seconds)
        return;
    ++_changeCount;
    if (_view->isInBase(record))
        _view->base->names.setChangeTime(record, seconds);
    else
        _view->tail->setChangeTime(record, seconds);
    // The new base may have taken over the older time already.
    if (_isCompacting)
        _datedMeanwhile.emplace_back(record, seconds);
}

FolderId IndexWriter::registerFolder(FolderId parent, RecordId record)
{
    const auto folder = _view->tail->addFolder(parent, record);
    _watches.push_back(ChangeSource::noWatch);
    _times.push_back(0);
    _identities.push_back(0);
    return folder;
}

FolderId IndexWriter::addFolder(RecordId record)
{
    const auto folder = registerFolder(_view->folderOf(record), record);
    _folderFor[record] = folder;
    return folder;
}

template <class Visit> void IndexWriter::forEachEntry(FolderId folder, Visit visit) const
{
    const auto offer = [&](RecordId record) {
        if (!_view->isDead(record))
            visit(record);
    };
    if (folder < _view->tail->firstFolder()) {
        const auto end = _view->base->firstRecords[folder + 1];
        for (auto record = _view->base->firstRecords[folder]; record < end; ++record)
            offer(record);
    }
    if (const auto runs = _runs.find(folder); runs != _runs.end()) {
        for (const auto &run : runs->second) {
            for (RecordId i = 0; i < run.count; ++i)
                offer(run.first + i);
        }
    }
    if (const auto added = _added.find(folder); added != _added.end()) {
        for (const auto &[hash, record] : added->second)
            offer(record);
    }
}

std::vector<RecordId> IndexWriter::entriesOf(FolderId folder) const
{
    std::vector<RecordId> entries;
    forEachEntry(folder, [&](RecordId record) { entries.push_back(record); });
    return entries;
}

bool IndexWriter::holdsMoreThan(FolderId top, std::size_t most) const
{
    std::size_t count = 0;
    std::vector<FolderId> folders{top};
    while (!folders.empty() && count <= most) {
        const auto folder = folders.back();
        folders.pop_back();
        for (const auto record : entriesOf(folder)) {
            ++count;
            const auto below = folderFor(record);
            if (below != nothing)
                folders.push_back(below);
        }
    }
    return count > most;
}

void IndexWriter::kill(RecordId record)
{
    const bool wasIn =
        _view->isInBase(record) ? _view->base->names.kill(record) : _view->tail->kill(record);
    if (!wasIn)
        return;
    ++_deadCount;
    ++_changeCount;
    if (_isCompacting)
        _killedMeanwhile.push_back(record);
}

void IndexWriter::remove(RecordId record, const std::function<void(int)> &unwatch)
{
    const auto folder = folderFor(record);
    kill(record);
    if (folder != nothing)
        removeFolder(folder, unwatch);
}

void IndexWriter::removeFolder(FolderId top, const std::function<void(int)> &unwatch)
{
    std::vector<FolderId> folders{top};
    while (!folders.empty()) {
        const auto folder = folders.back();
        folders.pop_back();
        const auto watch = std::exchange(_watches[folder], gone);
        // A folder that was moved may already be watched at its new place, under the same number.
        const auto known = _folderOfWatch.find(watch);
        if (known != _folderOfWatch.end() && known->second == folder) {
            _folderOfWatch.erase(known);
            unwatch(watch);
        }
        for (const auto record : entriesOf(folder)) {
            if (_view->traitsOf(record).kind() == EntryKind::folder) {
                const auto below = folderFor(record);
                if (below != nothing)
                    folders.push_back(below);
            }
            kill(record);
        }
        _runs.erase(folder);
        _added.erase(folder);
    }
}

void IndexWriter::clearFolder(FolderId folder, const std::function<void(int)> &unwatch)
{
    for (const auto record : entriesOf(folder))
        remove(record, unwatch);
    _runs.erase(folder);
    _added.erase(folder);
}

std::vector<RecordId> IndexWriter::copyEntries(FolderId from, FolderId to)
{
    auto entries = entriesOf(from);
    std::sort(entries.begin(), entries.end(),
        [this](RecordId a, RecordId b) { return _view->nameOf(a) < _view->nameOf(b); });
    const auto below = traitsBelow(to);
    auto &runs = _runs[to];
    for (const auto entry : entries) {
        const auto kind = _view->traitsOf(entry).kind();
        const auto record =
            append(to, _view->nameOf(entry), Traits::of(kind, below.depth(), below.isNoise()));
        if (record == nothing)
            break;
        if (!runs.empty() && runs.back().first + runs.back().count == record)
            ++runs.back().count;
        else
            runs.push_back({record, 1});
        setChangeTime(record, _view->changeTimeOf(entry));
        const auto folder = kind == EntryKind::folder ? folderFor(entry) : nothing;
        if (folder != nothing)
            addFolder(record);
    }
    return entries;
}

RecordId IndexWriter::moveFolder(FolderId top, FolderId parent, std::string_view name,
    const std::function<void(FolderId, FolderId)> &moved)
{
    const auto time = _view->changeTimeOf(_view->recordOf(top));
    const auto moving = add(parent, name, EntryKind::folder);
    if (moving == nothing)
        return nothing;
    setChangeTime(moving, time);
    std::vector<std::pair<FolderId, FolderId>> folders{{top, addFolder(moving)}};
    std::vector<RecordId> old;
    for (std::size_t i = 0; i < folders.size(); ++i) {
        const auto [from, to] = folders[i];
        for (const auto entry : copyEntries(from, to)) {
            old.push_back(entry);
            if (_view->traitsOf(entry).kind() != EntryKind::folder)
                continue;
            const auto below = folderFor(entry);
            const auto copy = below == nothing ? nothing : find(to, _view->nameOf(entry));
            if (copy != nothing)
                folders.emplace_back(below, folderFor(copy));
        }
    }
    // A search that begins now finds both, one that began before finds the old ones to the last.
    _view->tail->publish();
    for (const auto &[from, to] : folders) {
        auto watch = std::exchange(_watches[from], gone);
        // Another place may have been found to be this watch's meanwhile.
        if (folderOfWatch(watch) == from)
            _folderOfWatch.erase(watch);
        else
            watch = ChangeSource::noWatch;
        setWatch(to, watch);
        _times[to] = _times[from];
        _identities[to] = _identities[from];
        _runs.erase(from);
        _added.erase(from);
        moved(from, to);
    }
    _movedCount = old.size() + 1;
    kill(_view->recordOf(top));
    for (const auto record : old)
        kill(record);
    return moving;
}

void IndexWriter::setWatch(FolderId folder, int watch)
{
    const auto known = _folderOfWatch.find(_watches[folder]);
    if (known != _folderOfWatch.end() && known->second == folder)
        _folderOfWatch.erase(known);
    _watches[folder] = watch;
    if (watch >= 0)
        _folderOfWatch[watch] = folder;
}

FolderId IndexWriter::folderOfWatch(int watch) const
{
    const auto found = _folderOfWatch.find(watch);
    return found == _folderOfWatch.end() ? nothing : found->second;
}

std::uint32_t IndexWriter::unsettledCount() const
{
    return _tailCount + _deadCount;
}

std::function<CompactedIndex()> IndexWriter::beginCompaction(std::uint32_t filterFrom)
{
    publish();
    _isCompacting = true;
    _compactedTo = _view->tail->mark();
    _killedMeanwhile.clear();
    _datedMeanwhile.clear();
    return [view = _view, mark = _compactedTo, end = _view->tail->folderEnd(), times = _times,
               filterFrom] {
        auto compacted = compact(*view, mark, end, filterFrom);
        compacted.folderTimes.resize(compacted.base->folderCount());
        for (FolderId folder = 0; folder < end; ++folder) {
            if (compacted.newFolders[folder] != nothing)
                compacted.folderTimes[compacted.newFolders[folder]] = times[folder];
        }
        compacted.roots = view->roots;
        for (auto &root : compacted.roots) {
            if (root.folder != nothing)
                root.folder = compacted.newFolders[root.folder];
        }
        return compacted;
    };
}

void IndexWriter::finishCompaction(
    CompactedIndex compacted, const std::function<void(FolderId, FolderId)> &moved)
{
    publish();  // what is walked over below is what is published
    const auto old = std::exchange(_view, nullptr);
    auto view = std::make_shared<IndexView>(*old);
    view->base = compacted.base;
    view->filter = compacted.filter;
    view->tail =
        std::make_shared<IndexTail>(view->base->recordCount(), FolderId(view->base->folderCount()));
    _view = view;

    const auto oldWatches = std::exchange(_watches, {});
    const auto oldTimes = std::exchange(_times, {});
    const auto oldIdentities = std::exchange(_identities, {});
    _watches.assign(view->base->folderCount(), ChangeSource::noWatch);
    _times.assign(view->base->folderCount(), 0);
    _identities.assign(view->base->folderCount(), 0);
    _folderFor.clear();
    _runs.clear();
    _added.clear();
    _tailCount = 0;
    _deadCount = 0;
    _addedCount = 0;
    _isCompacting = false;
    for (const auto record : std::exchange(_killedMeanwhile, {})) {
        if (record < compacted.newRecords.size() && compacted.newRecords[record] != nothing)
            kill(compacted.newRecords[record]);
    }
    for (const auto &[record, seconds] : std::exchange(_datedMeanwhile, {})) {
        if (record < compacted.newRecords.size() && compacted.newRecords[record] != nothing)
            setChangeTime(compacted.newRecords[record], seconds);
    }

    // What was appended meanwhile follows in its order: a folder's entry stands before the entries
    // of the folder, so the numbers that are asked for are known by then.
    auto &records = compacted.newRecords;
    auto &folders = compacted.newFolders;
    records.resize(
        old->tail->firstRecordOf(old->tail->mark().chunk) + old->tail->mark().extent.count,
        nothing);
    folders.resize(oldWatches.size(), nothing);
    const std::function<FolderId(FolderId)> newFolder = [&](FolderId folder) {
        if (folders[folder] != nothing || oldWatches[folder] == gone)
            return folders[folder];
        const auto parent = old->parentOf(folder);
        const auto record = old->recordOf(folder);
        if (parent == nothing)
            folders[folder] = registerFolder(nothing, record);
        else if (records[record] != nothing)
            folders[folder] = addFolder(records[record]);
        return folders[folder];
    };
    forEachRecord(*old->tail, _compactedTo, old->tail->mark(), [&](RecordId record) {
        if (old->isDead(record))
            return;
        const auto parent = newFolder(old->folderOf(record));
        if (parent != nothing)
            records[record] = add(parent, old->nameOf(record), old->traitsOf(record).kind());
        if (records[record] != nothing)
            setChangeTime(records[record], old->changeTimeOf(record));
    });

    _folderOfWatch.clear();
    for (FolderId folder = 0; folder < oldWatches.size(); ++folder) {
        const auto now = newFolder(folder);
        if (now == nothing)
            continue;
        if (oldWatches[folder] == gone) {  // it went while the base was built
            _watches[now] = gone;
            continue;
        }
        setWatch(now, oldWatches[folder]);
        _times[now] = oldTimes[folder];
        _identities[now] = oldIdentities[folder];
        moved(folder, now);
    }
    for (auto &root : view->roots) {
        if (root.folder != nothing)
            root.folder = folders[root.folder];
    }
    publish();
}

std::size_t IndexWriter::memoryBytes() const
{
    constexpr std::size_t node = 40;  // of a hash table, bucket included
    auto bytes = _view->base->memoryBytes() + _view->tail->memoryBytes();
    bytes += _view->filter ? _view->filter->memoryBytes() : 0;
    bytes += _watches.capacity() * sizeof(int) +
             (_times.capacity() + _identities.capacity()) * sizeof(std::int64_t);
    bytes += node * (_folderOfWatch.size() + _folderFor.size() + 2 * _runs.size());
    return bytes + node * (2 * _added.size() + _addedCount);
}

}  // namespace vellumhound::index
