// SPDX-License-Identifier: GPL-3.0-or-later
// How the live index reads folders: when they are met, when a change says so, when their time has
// come.
#include "index/disk/Logging.h"
#include "index/disk/Paths.h"
#include "index/live/LiveIndex.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <memory>
#include <utility>

namespace vellumhound::index {

namespace {

/// Folders looked at in one job, so that other work gets its turn in between.
constexpr std::size_t foldersPerCheck = 512;
/// Sweeps may take one part in so many of the time.
constexpr int shareOfSweeps = 20;
constexpr std::chrono::milliseconds pauseBetweenSweeps{1000};

/// Absent for an unknown time; none for one in the future.
std::optional<std::chrono::seconds> ageOf(std::int64_t time)
{
    if (time == 0)
        return std::nullopt;
    const auto then = std::chrono::floor<std::chrono::seconds>(std::chrono::nanoseconds(time));
    const std::chrono::seconds now(std::time(nullptr));
    return std::max(now - then, std::chrono::seconds(0));
}

}  // namespace

// Asking.

ListingOptions LiveIndex::optionsFor(FolderId folder, std::uint32_t root, bool byTime)
{
    ListingOptions options;
    // A thread that may outlive us must not know the source. Watches tell nothing of what other
    // machines do, anyway.
    if (!readerOf(root) && !_storms.isOff(folder))
        options.watchBy = &_source;
    options.followsLink = _writer.view().parentOf(folder) == nothing;
    if (byTime) {
        options.knownTime = _writer.timeOf(folder);
        options.knownIdentity = _writer.identityOf(folder);
    }
    return options;
}

void LiveIndex::startFolder(RecordId record, std::uint32_t root, const std::string &path)
{
    if (!_plan.descendsInto(path))
        return;
    if (_takesFolders)
        requestListing(_writer.addFolder(record), path, root);
    else
        _hasLeftOut = true;
}

void LiveIndex::requestListing(FolderId folder, const std::string &path, std::uint32_t root)
{
    auto *reader = readerOf(root);
    if (reader && reader->isHung()) {
        _sweeper.add(folder, {}, _options.now());
        return;
    }
    const auto [it, isNew] = _listings.try_emplace(folder);
    if (!isNew) {
        it->second.isWantedAgain = true;
        return;
    }
    it->second.root = root;
    it->second.isFirst = !_writer.view().roots[root].isCrawled;
    if (it->second.isFirst)
        ++_outstandingOf[root];
    auto job = [this, folder, path,
                   options = optionsFor(folder, root, false)]() -> Worker::Completion {
        auto listing = std::make_shared<FolderListing>(listFolder(path, options));
        return [this, folder, listing] { applyListing(folder, *listing); };
    };
    // Somebody has just made this folder and may look for it now; a crawl can wait.
    if (reader)
        reader->post(std::move(job), _options.now());
    else if (it->second.isFirst)
        _worker.post(std::move(job));
    else
        _worker.postUrgent(std::move(job));
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
        const auto root = _writer.rootOf(folder);
        auto *reader = readerOf(root);
        if (reader && reader->isHung())
            continue;
        const auto [it, isNew] = _listings.try_emplace(folder);
        if (!isNew) {
            it->second.isWantedAgain = true;
            continue;
        }
        it->second.root = root;
        Check check{
            folder, _writer.view().pathOfFolder(folder), optionsFor(folder, root, true), {}};
        if (!reader) {
            checks->push_back(std::move(check));
            continue;
        }
        reader->post(
            [this, check = std::move(check)]() mutable -> Worker::Completion {
                auto listing =
                    std::make_shared<FolderListing>(listFolder(check.path, check.options));
                return [this, folder = check.folder, listing] { applyListing(folder, *listing); };
            },
            _options.now());
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

// Taking what was read.

void LiveIndex::applyListing(FolderId number, const FolderListing &listing)
{
    auto folder = number;
    for (auto now = _renumbered.find(folder); now != _renumbered.end();
         now = _renumbered.find(folder))
        folder = now->second;
    const auto found = _listings.find(folder);
    if (found == _listings.end())
        return;
    auto pending = std::move(found->second);
    _listings.erase(found);
    if (!_writer.isAlive(folder) || pending.isStale) {
        const bool isFree = listing.watch >= 0 && _writer.folderOfWatch(listing.watch) == nothing;
        if (isFree)
            unwatch(listing.watch);
        pending.isWantedAgain = true;
    } else {
        takeListing(folder, listing, pending);
    }
    if (pending.isWantedAgain && _writer.isAlive(folder))
        requestListing(folder, _writer.view().pathOfFolder(folder), _writer.rootOf(folder));
    if (pending.isFirst)
        finishListing(pending.root);
    if (_listings.empty()) {
        _early.clear();
        _retired.clear();
        _renumbered.clear();
    }
}

void LiveIndex::takeListing(FolderId folder, const FolderListing &listing, Listing &pending)
{
    if (!listing.isRead()) {
        takeFailure(folder, listing, pending);
        return;
    }
    const auto known = _writer.identityOf(folder);
    _writer.setIdentity(folder, listing.identity);
    takeWatch(folder, listing, pending);
    if (known != 0 && known != listing.identity)
        _writer.clearFolder(folder, [this](int watch) { unwatch(watch); });
    if (listing.isUnchanged) {
        ++_counters.foldersUnchanged;
    } else {
        ++_counters.foldersRead;
        merge(folder, pending, listing);
        _times.want(folder, false);
    }
    for (const auto &change : pending.touched) {
        if (_writer.isAlive(folder) && isIndexedName(change.name))
            reconcile(folder, change.name, {.isNewFolder = change.isNewFolder});
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
    const auto other = _writer.folderOfWatch(listing.watch);
    if (other != nothing && other != folder) {
        // What this watch told since the folder was read was taken for the other one's.
        pending.isWantedAgain = true;
        _writer.setWatch(other, ChangeSource::noWatch);
        _sweeper.add(other, {}, _options.now());
    }
    if (listing.watch != old || other != folder) {
        _writer.setWatch(folder, listing.watch);
        if (old >= 0 && _writer.folderOfWatch(old) == nothing)
            unwatch(old);
    }
    if (const auto early = _early.find(listing.watch); early != _early.end()) {
        pending.touched.insert(pending.touched.end(), early->second.begin(), early->second.end());
        _early.erase(early);
    }
    if (listing.watch >= 0 || _storms.isOff(folder))
        _sweeper.remove(folder);
    else
        sweepLater(folder, listing);
}

void LiveIndex::sweepLater(FolderId folder, const FolderListing &listing)
{
    Sweeper::Outcome outcome;
    outcome.isRead = listing.isRead();
    outcome.age = ageOf(listing.time);
    const auto parent = _writer.view().parentOf(folder);
    outcome.depth = parent == nothing
                        ? 0
                        : _writer.view().traitsOf(_writer.view().recordOf(folder)).depth() + 1;
    _sweeper.add(folder, outcome, _options.now());
    if (listing.isWatchRefused && !std::exchange(_hasToldOfLimit, true)) {
        qCWarning(logIndex,
            "the limit of watched folders is reached (fs.inotify.max_user_watches); "
            "further folders are compared by their times now and then");
    }
}

void LiveIndex::takeFailure(FolderId folder, const FolderListing &listing, const Listing &pending)
{
    const auto parent = _writer.view().parentOf(folder);
    if (listing.isMissing() && parent != nothing) {
        // The watch of its parent tells where it went, and what is known of it goes along.
        if (_writer.watchOf(folder) < 0)
            _sweeper.add(folder, {}, _options.now());
        const bool isParentLive = _writer.watchOf(parent) >= 0 && !_storms.isOff(parent);
        if (!isParentLive && !_listings.contains(parent)) {
            requestListing(parent, _writer.view().pathOfFolder(parent), pending.root);
        }
        return;
    }
    const bool isForbidden = listing.error == EACCES || listing.error == EPERM;
    if (listing.isMissing() || isForbidden) {
        const auto watch = _writer.watchOf(folder);
        _writer.setWatch(folder, ChangeSource::noWatch);
        if (watch >= 0)
            unwatch(watch);
        _writer.clearFolder(folder, [this](int freed) { unwatch(freed); });
        _writer.setTime(folder, 0);
    }
    if (isForbidden)
        qCDebug(logIndex, "a folder cannot be read and is tried again later");
    sweepLater(folder, listing);
}

void LiveIndex::merge(FolderId folder, const Listing &pending, const FolderListing &listing)
{
    const auto path = _writer.view().pathOfFolder(folder);
    const auto start = [&](RecordId record, const FolderListing::Entry &entry) {
        startFolder(record, pending.root, joinedPath(path, listing.nameOf(entry)));
    };
    const auto known = _writer.entriesOf(folder);
    if (known.empty() && (pending.isFirst || !onFileChanged)) {
        _writer.addAll(folder, listing, start);
        return;
    }
    // What was told since knows better than the listing, and is looked at afterwards.
    std::unordered_set<std::string_view> touched;
    for (const auto &change : pending.touched)
        touched.insert(change.name);
    std::vector<bool> isSettled(listing.entries.size());
    std::vector<FolderId> replaced;
    for (const auto record : known) {
        const auto name = _writer.view().nameOf(record);
        const auto entry = std::lower_bound(listing.entries.begin(), listing.entries.end(), name,
            [&](const auto &e, std::string_view wanted) { return listing.nameOf(e) < wanted; });
        const bool isListed = entry != listing.entries.end() && listing.nameOf(*entry) == name;
        const bool isStillThere = isListed && entry->kind == _writer.view().traitsOf(record).kind();
        if (isListed && (isStillThere || touched.contains(name)))
            isSettled[std::size_t(entry - listing.entries.begin())] = true;
        if (!isStillThere && !touched.contains(name))
            removeEntry(record);
        if (!isStillThere || entry->kind != EntryKind::folder)
            continue;
        const auto below = _writer.folderFor(record);
        if (below == nothing)
            start(record, *entry);
        else if (inodeOf(_writer.identityOf(below)) != entry->inode)
            replaced.push_back(below);  // or something is mounted there
    }
    if (!replaced.empty())
        checkFolders(replaced, {});
    for (std::size_t i = 0; i < listing.entries.size(); ++i) {
        const auto &entry = listing.entries[i];
        const auto name = listing.nameOf(entry);
        if (isSettled[i] || touched.contains(name))
            continue;
        const auto record = _writer.add(folder, name, entry.kind);
        if (record != nothing && entry.kind == EntryKind::folder)
            start(record, entry);
        if (!pending.isFirst && onFileChanged)
            tell(
                FileChange::Kind::created, joinedPath(path, name), entry.kind == EntryKind::folder);
    }
}

void LiveIndex::finishListing(std::uint32_t root)
{
    if (--_outstandingOf[root] > 0)
        return;
    _writer.setRootCrawled(root);
    _hasCrawled = true;
    noteCheck();
}

// Checking by times.

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
    if (_isRechecking) {
        checkFolders(slice, [this] { recheckSlice(); });
    } else {
        _isVerifying = false;
        noteCheck();
    }
}

void LiveIndex::noteCheck()
{
    static const platform::Clock machineClock;
    _lastCheck = (_options.wallClock ? *_options.wallClock : machineClock).now();
}

void LiveIndex::sweep()
{
    _sweeper.hasten(_options.now());
    _sweepFrom = {};
    sweepDue(_options.now());
}

void LiveIndex::sweepDue(Clock::time_point now)
{
    if (_isSweeping || now < _sweepFrom)
        return;
    auto folders = _sweeper.takeDue(now, foldersPerCheck);
    std::erase_if(folders, [this](FolderId folder) {
        const bool isGone = !_writer.isAlive(folder);
        if (isGone)
            _sweeper.remove(folder);
        return isGone;
    });
    if (folders.empty())
        return;
    _isSweeping = true;
    checkFolders(folders, [this, folders, started = Clock::now()] {
        _isSweeping = false;
        const auto took = std::chrono::ceil<std::chrono::milliseconds>(Clock::now() - started);
        const auto pause = took * (shareOfSweeps - 1);
        const bool areAllWatched = std::all_of(folders.begin(), folders.end(),
            [this](FolderId folder) { return !_sweeper.contains(folder); });
        _sweepFrom = _options.now() + std::max(pause, pauseBetweenSweeps);
        // There are watches to be had again; the others are to get some before their time.
        if (areAllWatched)
            _sweeper.hasten(_options.now());
    });
}

}  // namespace vellumhound::index
