// SPDX-License-Identifier: GPL-3.0-or-later
// long: one state machine; its steps are read together
#include "index/LiveIndex.h"

#include "base/NativePath.h"
#include "index/Logging.h"

#include <algorithm>
#include <memory>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

constexpr auto applicationsPath = "/Applications";
/// Folders looked at in one job, so that other work gets its turn in between.
constexpr std::size_t foldersPerCheck = 512;

}  // namespace

LiveIndex::LiveIndex(Worker &worker, ChangeSource &source, PublishedView &published,
    DesktopEntries desktopEntries, LiveIndexOptions options)
    : _worker(worker)
    , _source(source)
    , _desktopEntries(std::move(desktopEntries))
    , _options(std::move(options))
    , _writer(published)
    , _mounts(_options.readMounts())
{
    readApplications();
}

LiveIndex::~LiveIndex() = default;

// What is crawled.

void LiveIndex::setRules(const std::vector<Rule> &rules)
{
    _included.clear();
    _excluded.clear();
    for (const auto &rule : rules) {
        const auto path = standardizedPath(rule.path);
        if (!path.empty() && path != applicationsPath)
            (rule.isIncluded ? _included : _excluded).push_back(path);
    }
    applyPlan();
}

void LiveIndex::addScopes(const std::vector<std::string> &folders)
{
    bool isNew = false;
    for (const auto &folder : folders) {
        const bool isKnown = std::find(_scopes.begin(), _scopes.end(), folder) != _scopes.end();
        if (isKnown || folder == applicationsPath)
            continue;
        _scopes.push_back(folder);
        isNew = isNew || !_plan.reaches(folder);
    }
    if (isNew)
        applyPlan();
}

void LiveIndex::applyPlan()
{
    auto wanted = _included;
    wanted.insert(wanted.end(), _scopes.begin(), _scopes.end());
    const auto old = std::exchange(_plan, CrawlPlan(wanted, _excluded, _mounts, _plan.roots()));

    const auto isRootOf = [](const CrawlPlan &plan, const std::string &path) {
        return std::find(plan.roots().begin(), plan.roots().end(), path) != plan.roots().end();
    };
    for (std::uint32_t root = 0; root < _writer.view().roots.size(); ++root) {
        const auto entry = _writer.view().roots[root];
        if (entry.folder != nothing && !isRootOf(_plan, entry.path))
            dropRoot(root);
    }
    const auto folderAt = [this](const std::string &path) {
        const auto record = _writer.findPath(path);
        const bool isFolder =
            record != nothing && _writer.view().traitsOf(record).kind() == EntryKind::folder;
        return isFolder ? record : nothing;
    };
    for (const auto &path : _plan.stops()) {
        const auto record = old.stops().contains(path) ? nothing : folderAt(path);
        if (record != nothing && _writer.folderFor(record) != nothing)
            dropFolder(_writer.folderFor(record));
    }
    for (const auto &path : old.stops()) {
        const auto record = _plan.stops().contains(path) ? nothing : folderAt(path);
        if (record != nothing && _writer.folderFor(record) == nothing)
            startFolder(record, _writer.rootOf(_writer.view().folderOf(record)), path);
    }
    for (const auto &path : _plan.roots()) {
        if (isRootOf(old, path))
            continue;
        const auto root = _writer.addRoot(path);
        _outstandingOf.resize(root + 1);
        requestListing(_writer.view().roots[root].folder, path, root);
    }
    _writer.publish();
}

void LiveIndex::dropRoot(std::uint32_t root)
{
    const auto folder = _writer.view().roots[root].folder;
    dropFolder(folder);
    _writer.removeRoot(root);
}

void LiveIndex::dropFolder(FolderId folder)
{
    _writer.removeFolder(folder, [this](int watch) { unwatch(watch); });
}

void LiveIndex::unwatch(int watch)
{
    if (_applicationWatches.contains(watch))
        return;
    if (!_listings.empty())
        _retired.insert(watch);
    _source.unwatch(watch);
}

void LiveIndex::mountsChanged()
{
    auto mounts = _options.readMounts();
    const auto old = std::exchange(_mounts, mounts);
    // What stands at a place that another mount has taken or left is another tree.
    const auto differs = [](const std::vector<Mount> &all, const Mount &mount) {
        return std::find(all.begin(), all.end(), mount) == all.end();
    };
    std::vector<std::string> changed;
    for (const auto &mount : old) {
        if (differs(mounts, mount))
            changed.push_back(mount.point);
    }
    for (const auto &mount : mounts) {
        if (differs(old, mount))
            changed.push_back(mount.point);
    }
    applyPlan();
    for (const auto &path : changed) {
        const auto record = _writer.findPath(path);
        const auto folder = record == nothing ? nothing : _writer.folderFor(record);
        if (folder == nothing)
            continue;
        const auto root = _writer.rootOf(folder);
        dropFolder(folder);
        startFolder(record, root, path);
    }
    _writer.publish();
}

// Listings.

void LiveIndex::startFolder(RecordId record, std::uint32_t root, const std::string &path)
{
    if (_plan.descendsInto(path))
        requestListing(_writer.addFolder(record), path, root);
}

void LiveIndex::requestListing(FolderId folder, const std::string &path, std::uint32_t root)
{
    const auto [it, isNew] = _listings.try_emplace(folder);
    if (!isNew) {
        it->second.isWantedAgain = true;
        return;
    }
    it->second.root = root;
    it->second.isFirst = !_writer.view().roots[root].isCrawled;
    if (it->second.isFirst)
        ++_outstandingOf[root];
    ListingOptions options;
    options.watchBy = &_source;
    options.followsLink = _writer.view().parentOf(folder) == nothing;
    auto job = [this, folder, path, options]() -> Worker::Completion {
        auto listing = std::make_shared<FolderListing>(listFolder(path, options));
        return [this, folder, listing] { applyListing(folder, *listing); };
    };
    // Somebody has just made this folder and may look for it now; a crawl can wait.
    if (it->second.isFirst)
        _worker.post(std::move(job));
    else
        _worker.postUrgent(std::move(job));
}

void LiveIndex::applyListing(FolderId folder, const FolderListing &listing)
{
    const auto found = _listings.find(folder);
    if (found == _listings.end())
        return;
    auto pending = std::move(found->second);
    _listings.erase(found);
    if (!_writer.isAlive(folder)) {
        const bool isFree = listing.watch >= 0 && _writer.folderOfWatch(listing.watch) == nothing;
        if (isFree)
            unwatch(listing.watch);
    } else {
        takeWatch(folder, listing, pending);
        if (!listing.isUnchanged)
            merge(folder, pending.root, listing);
        for (const auto &change : pending.touched)
            applyChange(change);
        if (pending.isWantedAgain && _writer.isAlive(folder))
            requestListing(folder, _writer.view().pathOfFolder(folder), pending.root);
    }
    if (pending.isFirst)
        finishListing(pending.root);
    if (_listings.empty()) {
        _early.clear();
        _retired.clear();
    }
}

void LiveIndex::takeWatch(FolderId folder, const FolderListing &listing, Listing &pending)
{
    _writer.setTime(folder, listing.time);
    const auto old = _writer.watchOf(folder);
    if (listing.watch >= 0 && _retired.contains(listing.watch)) {
        // Given back between the moment it was taken and now.
        pending.isWantedAgain = true;
        _writer.setWatch(folder, ChangeSource::noWatch);
        return;
    }
    if (listing.watch != old) {
        _writer.setWatch(folder, listing.watch);
        if (old >= 0 && _writer.folderOfWatch(old) == nothing)
            unwatch(old);
    }
    if (const auto early = _early.find(listing.watch); early != _early.end()) {
        pending.touched.insert(pending.touched.end(), early->second.begin(), early->second.end());
        _early.erase(early);
    }
    const bool isRoot = _writer.view().parentOf(folder) == nothing;
    const bool mustBeSwept = listing.watch < 0 && (listing.isRead || isRoot);
    if (!mustBeSwept) {
        _unwatched.erase(folder);
        return;
    }
    _unwatched[folder] = true;
    if (listing.isRead && !std::exchange(_hasToldOfLimit, true)) {
        qCWarning(logIndex,
            "the limit of watched folders is reached (fs.inotify.max_user_watches); "
            "further folders are checked every %lld s",
            static_cast<long long>(
                std::chrono::ceil<std::chrono::seconds>(_options.sweepInterval).count()));
    }
    scheduleSweep();
}

void LiveIndex::merge(FolderId folder, std::uint32_t root, const FolderListing &listing)
{
    const auto path = _writer.view().pathOfFolder(folder);
    const auto start = [&](RecordId record, const FolderListing::Entry &entry) {
        startFolder(record, root, joinedPath(path, listing.nameOf(entry)));
    };
    const auto known = _writer.entriesOf(folder);
    if (known.empty()) {
        _writer.addAll(folder, listing, start);
        return;
    }
    std::vector<bool> isKnown(listing.entries.size());
    for (const auto record : known) {
        const auto name = _writer.view().nameOf(record);
        const auto entry = std::lower_bound(listing.entries.begin(), listing.entries.end(), name,
            [&](const auto &e, std::string_view wanted) { return listing.nameOf(e) < wanted; });
        const bool isStillThere = entry != listing.entries.end() &&
                                  listing.nameOf(*entry) == name &&
                                  entry->kind == _writer.view().traitsOf(record).kind();
        if (isStillThere)
            isKnown[std::size_t(entry - listing.entries.begin())] = true;
        else
            _writer.remove(record, [this](int watch) { unwatch(watch); });
    }
    for (std::size_t i = 0; i < listing.entries.size(); ++i) {
        if (isKnown[i])
            continue;
        const auto &entry = listing.entries[i];
        const auto record = _writer.add(folder, listing.nameOf(entry), entry.kind);
        if (record != nothing && entry.kind == EntryKind::folder)
            start(record, entry);
    }
}

void LiveIndex::finishListing(std::uint32_t root)
{
    if (--_outstandingOf[root] > 0)
        return;
    _writer.setRootCrawled(root);
    _hasCrawled = true;
}

// Changes.

bool LiveIndex::step()
{
    bool hasWorked = false;
    // Changes first, and again between the folders of a crawl: they are what somebody waits for.
    const auto applyChanges = [&] {
        const auto changes = _source.read();
        for (const auto &change : changes)
            applyChange(change);
        if (!changes.empty()) {
            hasWorked = true;
            _writer.publish();
        }
    };
    applyChanges();
    for (const auto &completion : _worker.takeDone()) {
        completion();
        hasWorked = true;
        applyChanges();
    }
    if (!hasWorked)
        return false;
    compactIfWorthIt();
    _writer.publish();
    if (std::exchange(_hasCrawled, false) && onCrawled)
        onCrawled();
    return true;
}

void LiveIndex::applyChange(const Change &change)
{
    if (change.kind == Change::Kind::lost) {
        qCInfo(logIndex, "changes were lost, folders are checked by their times");
        recheckAll();
        return;
    }
    if (_applicationWatches.contains(change.watch))
        readApplications();
    const auto folder = _writer.folderOfWatch(change.watch);
    if (folder == nothing) {
        if (!_listings.empty())
            _early[change.watch].push_back(change);
        return;
    }
    if (const auto listing = _listings.find(folder); listing != _listings.end())
        listing->second.touched.push_back(change);
    if (change.kind == Change::Kind::folderGone)
        folderWent(folder);
    else
        reconcile(folder, change.name, change.isNewFolder);
}

void LiveIndex::reconcile(FolderId folder, const std::string &name, bool isNewFolder)
{
    if (name.empty() || name.front() == '.')
        return;
    const auto path = joinedPath(_writer.view().pathOfFolder(folder), name);
    const auto state = stateOfEntry(path);
    auto record = _writer.find(folder, name);
    if (record != nothing &&
        (!state.exists || state.kind != _writer.view().traitsOf(record).kind())) {
        _writer.remove(record, [this](int watch) { unwatch(watch); });
        record = nothing;
    }
    if (!state.exists)
        return;
    const auto root = _writer.rootOf(folder);
    if (record == nothing) {
        record = _writer.add(folder, name, state.kind);
        if (record != nothing && state.kind == EntryKind::folder)
            startFolder(record, root, path);
        return;
    }
    // A folder that came where one of its name was known is another one.
    const auto known = _writer.folderFor(record);
    if (isNewFolder && known != nothing)
        requestListing(known, path, root);
}

void LiveIndex::folderWent(FolderId folder)
{
    const auto parent = _writer.view().parentOf(folder);
    const auto record = _writer.view().recordOf(folder);
    const auto path = _writer.view().pathOfFolder(folder);
    if (parent != nothing) {
        const auto root = _writer.rootOf(folder);
        dropFolder(folder);
        const auto state = stateOfEntry(path);
        if (state.exists && state.kind == EntryKind::folder)
            startFolder(record, root, path);  // unmounted, or another has taken its place
        else
            _writer.remove(record, [this](int watch) { unwatch(watch); });
        return;
    }
    // A root stays wanted: whatever stands at its path now is read.
    const auto watch = _writer.watchOf(folder);
    _writer.setWatch(folder, ChangeSource::noWatch);
    if (watch >= 0)
        unwatch(watch);
    requestListing(folder, path, record);
}

void LiveIndex::recheckAll()
{
    readApplications();
    _recheckFrom = 0;
    if (!std::exchange(_isRechecking, true))
        recheckSlice();
}

void LiveIndex::recheckSlice()
{
    std::vector<FolderId> slice;
    while (_recheckFrom < _writer.folderEnd() && slice.size() < foldersPerCheck) {
        if (_writer.isAlive(_recheckFrom))
            slice.push_back(_recheckFrom);
        ++_recheckFrom;
    }
    _isRechecking = !slice.empty();
    if (_isRechecking)
        checkFolders(slice, [this] { recheckSlice(); });
}

void LiveIndex::checkFolders(const std::vector<FolderId> &folders, std::function<void()> whenDone)
{
    struct Check {
        FolderId folder = nothing;
        std::string path;
        ListingOptions options;
        FolderListing listing;
    };
    auto checks = std::make_shared<std::vector<Check>>();
    for (const auto folder : folders) {
        const auto [it, isNew] = _listings.try_emplace(folder);
        if (!isNew) {
            it->second.isWantedAgain = true;
            continue;
        }
        it->second.root = _writer.rootOf(folder);
        Check check{folder, _writer.view().pathOfFolder(folder), {}, {}};
        check.options.watchBy = &_source;
        check.options.followsLink = _writer.view().parentOf(folder) == nothing;
        check.options.knownTime = _writer.timeOf(folder);
        checks->push_back(std::move(check));
    }
    _worker.post([this, checks, whenDone = std::move(whenDone)]() -> Worker::Completion {
        for (auto &check : *checks)
            check.listing = listFolder(check.path, check.options);
        return [this, checks, whenDone] {
            for (const auto &check : *checks)
                applyListing(check.folder, check.listing);
            if (whenDone)
                whenDone();
        };
    });
}

void LiveIndex::scheduleSweep()
{
    if (_unwatched.empty())
        _nextSweep.reset();
    else if (!_nextSweep)
        _nextSweep = std::chrono::steady_clock::now() + _options.sweepInterval;
}

void LiveIndex::sweep()
{
    std::vector<FolderId> folders;
    std::erase_if(_unwatched, [this](const auto &entry) { return !_writer.isAlive(entry.first); });
    for (const auto &[folder, isSwept] : _unwatched)
        folders.push_back(folder);
    std::sort(folders.begin(), folders.end());
    for (std::size_t first = 0; first < folders.size(); first += foldersPerCheck) {
        const auto end = std::min(folders.size(), first + foldersPerCheck);
        checkFolders(
            {folders.begin() + std::ptrdiff_t(first), folders.begin() + std::ptrdiff_t(end)}, {});
    }
    _nextSweep.reset();
    scheduleSweep();
}

// Applications and compaction.

void LiveIndex::readApplications()
{
    if (_isReadingApplications) {
        _areApplicationsStale = true;
        return;
    }
    _isReadingApplications = true;
    struct Outcome {
        std::unordered_set<int> watches;
        ApplicationTable table;
    };
    _worker.postUrgent([this]() -> Worker::Completion {
        auto outcome = std::make_shared<Outcome>();
        for (const auto &folder : _desktopEntries.watchedFolders()) {
            const int descriptor = openFolder(base::pathToBytes(folder).toStdString(), true);
            if (descriptor < 0)
                continue;
            const int watch = _source.watch(descriptor, ChangeSource::Interest::contents);
            if (watch >= 0)
                outcome->watches.insert(watch);
            ::close(descriptor);
        }
        outcome->table = _desktopEntries.applications();
        return [this, outcome] {
            const auto old = std::exchange(_applicationWatches, outcome->watches);
            for (const auto watch : old) {
                const bool isUnused =
                    !_applicationWatches.contains(watch) && _writer.folderOfWatch(watch) == nothing;
                if (isUnused)
                    unwatch(watch);
            }
            _writer.setApplications(std::move(outcome->table));
            _isReadingApplications = false;
            _hasCrawled = true;
            if (std::exchange(_areApplicationsStale, false))
                readApplications();
        };
    });
}

void LiveIndex::compactIfWorthIt()
{
    if (!_listings.empty() || _isRechecking)
        return;
    if (_compacted) {
        std::unordered_map<FolderId, bool> unwatched;
        _writer.finishCompaction(
            *std::exchange(_compacted, std::nullopt), [&](FolderId old, FolderId now) {
                if (_unwatched.contains(old))
                    unwatched[now] = true;
            });
        _unwatched = std::move(unwatched);
    }
    const auto limit = _options.compactAbove + _writer.view().base->recordCount() / 16;
    if (_writer.isCompacting() || _writer.unsettledCount() <= limit)
        return;
    _worker.post([this, build = _writer.beginCompaction()]() -> Worker::Completion {
        auto compacted = std::make_shared<CompactedIndex>(build());
        return [this, compacted] { _compacted = std::move(*compacted); };
    });
}

}  // namespace vellumhound::index
