// SPDX-License-Identifier: GPL-3.0-or-later
// How the live index reads folders: when they are met, when a change says so, when their time has
// come.
#include "index/disk/Logging.h"
#include "index/disk/Paths.h"
#include "index/live/LiveIndex.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <unordered_set>
#include <utility>

namespace vellumhound::index {

namespace {

/// Folders looked at in one job, so that other work gets its turn in between.
constexpr std::size_t foldersPerCheck = 512;

/// Absent for a time that is not relied upon; none for one in the future.
std::optional<std::chrono::seconds> ageOf(std::int64_t time)
{
    if (time <= 0)
        return std::nullopt;
    const auto then = std::chrono::floor<std::chrono::seconds>(std::chrono::nanoseconds(time));
    const std::chrono::seconds now(std::time(nullptr));
    return std::max(now - then, std::chrono::seconds(0));
}

/// Whether a folder of this identity is not the one that was listed. One that was never read has no
/// identity; it is being read, or tried again when its time has come.
bool isAnother(std::uint64_t identity, const FolderListing::Entry &entry)
{
    return identity != 0 && inodeOf(identity) != entry.inode;
}

}  // namespace

// Asking.

Listings::Request LiveIndex::requestFor(FolderId folder, const std::string &path, bool byTime) const
{
    Listings::Request request;
    request.folder = folder;
    request.path = path;
    request.root = _writer.rootOf(folder);
    request.reader = _readers.readerOf(request.root);
    auto &options = request.options;
    // A thread that may outlive us must not know the source. Watches tell nothing of what other
    // machines do, anyway.
    if (!request.reader && !_storms.isOff(folder))
        options.watchBy = &_source;
    options.isRoot = _writer.view().parentOf(folder) == nothing;
    options.isClockForeign = request.reader != nullptr;
    if (byTime) {
        options.knownTime = _writer.timeOf(folder);
        options.knownIdentity = _writer.identityOf(folder);
    }
    return request;
}

void LiveIndex::startFolder(RecordId record, const std::string &path)
{
    if (!_plan.descendsInto(path))
        return;
    if (_takesFolders)
        requestListing(_writer.addFolder(record), path);
    else
        _hasLeftOut = true;
}

void LiveIndex::requestListing(FolderId folder, const std::string &path)
{
    const auto request = requestFor(folder, path, false);
    if (request.reader && request.reader->isHung())
        sweepAgain(folder, {});
    else if (!_writer.view().roots[request.root].isCrawled)
        _listings.readFirst(request, _options.now());
    else
        _listings.read(request, _options.now());
}

void LiveIndex::checkFolders(const std::vector<FolderId> &folders, std::function<void()> whenDone)
{
    std::vector<Listings::Request> requests;
    for (const auto folder : folders) {
        // One that storms is read when its time comes.
        if (_storms.isOff(folder))
            continue;
        auto request = requestFor(folder, _writer.view().pathOfFolder(folder), true);
        if (!request.reader || !request.reader->isHung())
            requests.push_back(std::move(request));
    }
    _listings.readTogether(requests, std::move(whenDone), _options.now());
}

// Taking what was read.

void LiveIndex::applyListing(
    FolderId folder, const FolderListing &listing, Listings::Pending &pending)
{
    if (!_writer.isAlive(folder) || pending.isStale) {
        const bool isFree = listing.watch >= 0 && _writer.folderOfWatch(listing.watch) == nothing;
        if (isFree)
            unwatch(listing.watch);
        pending.isWantedAgain = true;
    } else {
        takeListing(folder, listing, pending);
    }
    if (pending.isWantedAgain && _writer.isAlive(folder))
        requestListing(folder, _writer.view().pathOfFolder(folder));
}

void LiveIndex::takeListing(
    FolderId folder, const FolderListing &listing, Listings::Pending &pending)
{
    if (!listing.isRead()) {
        takeFailure(folder, listing);
        return;
    }
    if (isStrangeRoot(folder, listing)) {
        readRootAgain(_writer.rootOf(folder));
        return;
    }
    const auto known = _writer.identityOf(folder);
    _writer.setIdentity(folder, listing.identity);
    const bool isRoot = _writer.view().parentOf(folder) == nothing;
    if (isRoot)
        _writer.setRootIdentity(_writer.rootOf(folder), listing.rootIdentity);
    // A root that comes back may have come with other folders above it.
    if (isRoot && _writer.watchOf(folder) < 0 && !pending.reader)
        followAncestors();
    const auto holder = _writer.folderOfWatch(listing.watch);
    const bool isShownTwice = holder != nothing && holder != folder && known == listing.identity &&
                              _writer.identityOf(holder) == listing.identity;
    // One folder at two places has one watch, which stays where it is: the other place is swept.
    // A folder that is new here takes it over, since it may have come from there.
    if (isShownTwice)
        leaveWatch(folder, listing);
    else
        takeWatch(folder, listing, pending);
    if (known != 0 && known != listing.identity)
        _writer.clearFolder(folder, [this](int watch) { unwatch(watch); });
    if (listing.isUnchanged) {
        ++_counters.foldersUnchanged;
    } else {
        ++_counters.foldersRead;
        merge(folder, pending, listing);
        // A name that is still there may be another file's by now.
        _times.want(folder, onFileChanged && !pending.isFirst);
    }
    for (const auto &change : pending.touched) {
        if (_writer.isAlive(folder) && isIndexedName(change.name))
            reconcile(folder, change.name, {.isNewFolder = change.isNewFolder});
    }
}

void LiveIndex::leaveWatch(FolderId folder, const FolderListing &listing)
{
    _writer.setTime(folder, listing.time);
    giveWatchBack(folder);
    sweepLater(folder, listing);
}

void LiveIndex::takeWatch(FolderId folder, const FolderListing &listing, Listings::Pending &pending)
{
    _writer.setTime(folder, listing.time);
    const auto old = _writer.watchOf(folder);
    if (listing.watch >= 0 && _listings.isRetired(listing.watch)) {
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
        sweepAgain(other, {});
    }
    if (listing.watch != old || other != folder) {
        _writer.setWatch(folder, listing.watch);
        if (old >= 0 && _writer.folderOfWatch(old) == nothing)
            unwatch(old);
    }
    const auto early = _listings.takeEarly(listing.watch);
    pending.touched.insert(pending.touched.end(), early.begin(), early.end());
    if (listing.watch >= 0 || _storms.isOff(folder))
        _sweeps.remove(folder);
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
    sweepAgain(folder, outcome);
    _hasRefusedInSweep = _hasRefusedInSweep || listing.isWatchRefused;
    if (listing.isWatchRefused && !std::exchange(_hasToldOfLimit, true)) {
        qCWarning(logIndex,
            "the limit of watched folders is reached (fs.inotify.max_user_watches); "
            "further folders are compared by their times now and then");
    }
}

void LiveIndex::takeFailure(FolderId folder, const FolderListing &listing)
{
    const auto parent = _writer.view().parentOf(folder);
    if (listing.isMissing() && parent != nothing) {
        // The watch of its parent tells where it went, and what is known of it goes along.
        if (_writer.watchOf(folder) < 0)
            sweepAgain(folder, {});
        const bool isParentLive = _writer.watchOf(parent) >= 0 && !_storms.isOff(parent);
        if (!isParentLive && !_listings.isReading(parent))
            requestListing(parent, _writer.view().pathOfFolder(parent));
        return;
    }
    const bool isForbidden = listing.error == EACCES || listing.error == EPERM;
    if (listing.isMissing() || isForbidden) {
        giveWatchBack(folder);
        _writer.clearFolder(folder, [this](int watch) { unwatch(watch); });
        _writer.setTime(folder, 0);
    }
    if (isForbidden)
        qCDebug(logIndex, "a folder cannot be read and is tried again later");
    const bool isMissingRoot = listing.isMissing() && parent == nothing;
    if (isMissingRoot && _ancestors.awaits(_writer.view().pathOfFolder(folder))) {
        _sweeps.remove(folder);
        return;
    }
    sweepLater(folder, listing);
    if (isMissingRoot && !_readers.readerOf(_writer.rootOf(folder)))
        followAncestors();
}

void LiveIndex::merge(
    FolderId folder, const Listings::Pending &pending, const FolderListing &listing)
{
    const auto path = _writer.view().pathOfFolder(folder);
    const auto start = [&](RecordId record, const FolderListing::Entry &entry) {
        startFolder(record, joinedPath(path, listing.nameOf(entry)));
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
        else if (isAnother(_writer.identityOf(below), *entry))
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

void LiveIndex::noteCrawled(std::uint32_t root)
{
    _writer.setRootCrawled(root);
    _hasCrawled = true;
    noteCheck();
}

// Checking by times.

void LiveIndex::recheckAll()
{
    _applications.read();
    followAncestors();
    _recheckFrom = 0;
    if (!std::exchange(_isRechecking, true))
        recheckSlice();
}

void LiveIndex::recheckSlice()
{
    std::vector<FolderId> slice;
    for (; _recheckFrom < _writer.folderEnd() && slice.size() < foldersPerCheck; ++_recheckFrom) {
        const auto isSweptAnyway = [this](FolderId folder) {
            return !_isVerifying && _readers.readerOf(_writer.rootOf(folder));
        };
        if (_writer.isAlive(_recheckFrom) && !isSweptAnyway(_recheckFrom))
            slice.push_back(_recheckFrom);
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
    _sweeps.hastenAll(_options.now());
    sweepDue(_options.now());
}

void LiveIndex::sweepAgain(FolderId folder, const Sweeper::Outcome &outcome)
{
    _sweeps.add(folder, _readers.readerOf(_writer.rootOf(folder)), outcome, _options.now());
}

void LiveIndex::sweepDue(Clock::time_point now)
{
    for (const auto &turn : _sweeps.takeDue(now))
        startTurn(turn, now);
}

void LiveIndex::startTurn(const Sweeps::Turn &turn, Clock::time_point now)
{
    std::vector<Listings::Request> requests;
    std::vector<FolderId> folders;
    for (const auto folder : turn.folders) {
        if (!_writer.isAlive(folder)) {
            _sweeps.remove(folder);
            continue;
        }
        // One that is being read is looked at by that.
        if (_listings.isReading(folder) || _storms.isOff(folder))
            continue;
        auto request = requestFor(folder, _writer.view().pathOfFolder(folder), true);
        const bool isElsewhere = request.reader != turn.reader;  // since mounts have changed
        if (isElsewhere || (request.reader && request.reader->isHung())) {
            sweepAgain(folder, {});
            continue;
        }
        folders.push_back(folder);
        requests.push_back(std::move(request));
    }
    if (!turn.reader)
        _hasRefusedInSweep = false;
    const auto whenDone = [this, reader = turn.reader, folders] { endTurn(reader, folders); };
    if (turn.reader && !requests.empty())
        _listings.readInTurn(*requests.front().reader, requests, whenDone, now);
    else
        _listings.readTogether(requests, whenDone, now);
}

void LiveIndex::endTurn(const MountReader *reader, const std::vector<FolderId> &folders)
{
    _sweeps.end(reader, _options.now());
    const bool isOneWatchedNow = std::any_of(folders.begin(), folders.end(),
        [this](FolderId folder) { return !_sweeps.contains(folder); });
    // There are watches to be had again; the others are to get some before their time.
    if (!reader && isOneWatchedNow && !_hasRefusedInSweep)
        _sweeps.hasten(_options.now());
}

}  // namespace vellumhound::index
