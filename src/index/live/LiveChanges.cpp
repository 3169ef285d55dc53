// SPDX-License-Identifier: GPL-3.0-or-later
// How the live index applies what its source of changes tells.
#include "index/disk/Logging.h"
#include "index/disk/Paths.h"
#include "index/live/LiveIndex.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace vellumhound::index {

bool LiveIndex::applyChanges()
{
    auto changes = _source.read();
    if (changes.empty())
        return false;
    for (const auto &change : changes)
        applyChange(change);
    if (!_departures.isEmpty()) {
        // The other half of a move is told right after the first, but may not have been there yet.
        changes = _source.read();
        closeProbe();  // what it knows of a folder may be older
        for (const auto &change : changes)
            applyChange(change);
    }
    settleDepartures();
    closeProbe();
    _writer.publish();
    return true;
}

void LiveIndex::applyChange(const Change &change)
{
    if (change.kind == Change::Kind::lost) {
        qCInfo(logIndex, "changes were lost, folders are checked by their times");
        recheckAll();
        // What was written in place shows by the times of files alone.
        if (onFileChanged)
            refreshTimes();
        return;
    }
    _applications.noteChange(change.watch);
    _ancestors.noteChange(change);
    const auto folder = _writer.folderOfWatch(change.watch);
    if (folder == nothing) {
        _listings.noteEarly(change);
        return;
    }
    if (_storms.note(folder, 1, _options.now())) {
        takeOff(folder);
        return;
    }
    if (change.kind == Change::Kind::folderGone) {
        folderWent(folder);
        return;
    }
    if (change.kind == Change::Kind::folderMoved) {
        folderMoved(folder);
        return;
    }
    if (!isIndexedName(change.name) && change.kind != Change::Kind::movedHere)
        return;
    if (change.kind != Change::Kind::written && isIndexedName(change.name))
        _listings.noteChange(folder, change);
    switch (change.kind) {
    case Change::Kind::written:
        _written.note(change.watch, change.name, _options.now());
        break;
    case Change::Kind::movedAway:
        depart(folder, change);
        break;
    case Change::Kind::movedHere:
        arrive(folder, change);
        break;
    default:
        reconcile(folder, change.name, {.isNewFolder = change.isNewFolder});
    }
}

/// Absent if the folder is not where the tables say, which later changes will tell of.
std::optional<EntryState> LiveIndex::stateOf(FolderId folder, const std::string &name)
{
    const auto path = _writer.view().pathOfFolder(folder);
    // Where another file system is mounted there is a folder, and nothing that may be asked.
    const auto &slowMounts = _readers.slowMounts();
    if (!slowMounts.empty() && mountOf(slowMounts, joinedPath(path, name)))
        return EntryState{true, EntryKind::folder, 0, {}};
    if (_probed != folder) {
        const bool isRoot = _writer.view().parentOf(folder) == nothing;
        _probed = _probe.open(path, isRoot, _writer.identityOf(folder)) ? folder : nothing;
    }
    if (_probed == nothing) {
        // Whatever has come to it is read once its place is known.
        _writer.setTime(folder, 0);
        sweepAgain(folder, {});
        return std::nullopt;
    }
    return _probe.stateOf(name);
}

void LiveIndex::closeProbe()
{
    _probe.close();
    _probed = nothing;
}

void LiveIndex::tell(
    FileChange::Kind kind, const std::string &path, bool isFolder, const std::string &oldPath) const
{
    if (onFileChanged)
        onFileChanged({kind, path, oldPath, isFolder});
}

void LiveIndex::removeEntry(RecordId record)
{
    if (onFileChanged) {
        const bool isFolder = _writer.view().traitsOf(record).kind() == EntryKind::folder;
        tell(FileChange::Kind::removed, _writer.view().pathOf(record), isFolder);
    }
    _writer.remove(record, [this](int watch) { unwatch(watch); });
}

void LiveIndex::reconcile(FolderId folder, const std::string &name, const Hint &hint)
{
    // What was dropped just now for something that has left may have held it.
    if (!_writer.isAlive(folder))
        return;
    const auto path = joinedPath(_writer.view().pathOfFolder(folder), name);
    const auto known = stateOf(folder, name);
    if (!known && hint.oldPath)
        tell(FileChange::Kind::removed, *hint.oldPath, false);
    if (!known)
        return;
    const auto state = *known;
    auto record = _writer.find(folder, name);
    if (record != nothing &&
        (!state.exists || state.kind != _writer.view().traitsOf(record).kind())) {
        removeEntry(record);
        record = nothing;
    }
    if (!state.exists) {
        if (hint.oldPath)
            tell(FileChange::Kind::removed, *hint.oldPath, false);
        // The change may be that of a known name, by another case of it.
        if (!state.keptAs.empty() && _writer.find(folder, state.keptAs) != nothing)
            reconcile(folder, state.keptAs, {});
        return;
    }
    const bool isFolder = state.kind == EntryKind::folder;
    const bool isNew = record == nothing;
    if (isNew) {
        record = _writer.add(folder, name, state.kind);
        if (record == nothing)
            return;
        if (isFolder)
            startFolder(record, path);
    }
    if (_writer.view().changeTimeOf(record) != state.changeTime)
        _writer.setChangeTime(record, state.changeTime);
    if (hint.oldPath)
        tell(FileChange::Kind::moved, path, isFolder, *hint.oldPath);
    else if (isNew)
        tell(FileChange::Kind::created, path, isFolder);
    else if (!isFolder)  // written, or another file under this name
        tell(FileChange::Kind::written, path, isFolder);
    // A folder that came where one of its name was known is another one.
    const auto former = isNew || !isFolder ? nothing : _writer.folderFor(record);
    if (former != nothing && hint.isNewFolder)
        requestListing(former, path);
    else if (former == nothing && !isNew && isFolder)
        startFolder(record, path);
}

// Moves. What has left its place is kept until the changes at hand are applied: if it turns up
// elsewhere, all that is known of it goes along.

void LiveIndex::depart(FolderId folder, const Change &change)
{
    Departure departure;
    if (auto rested = _departures.takeFrom({change.watch, change.name})) {
        departure = std::move(*rested);
    } else if (const auto record = _writer.find(folder, change.name); record != nothing) {
        departure.isFolder = _writer.view().traitsOf(record).kind() == EntryKind::folder;
        departure.folder = departure.isFolder ? _writer.folderFor(record) : nothing;
        departure.oldPath = _writer.view().pathOf(record);
        if (departure.folder != nothing)
            _writer.detachFolder(departure.folder);
        else
            _writer.remove(record, [](int) {});
    }
    if (!departure.oldPath.empty()) {
        if (const auto refused = _departures.leave(change.move, std::move(departure)))
            forget(*refused);
    }
    reconcile(folder, change.name, {});
}

void LiveIndex::arrive(FolderId folder, const Change &change)
{
    auto found = _departures.take(change.move);
    if (!found) {
        if (isIndexedName(change.name))
            reconcile(folder, change.name, {.isNewFolder = change.isNewFolder});
        return;
    }
    auto departure = std::move(*found);
    if (!isIndexedName(change.name)) {
        // It may come back in the same breath: many programs save so.
        passThrough(change, std::move(departure));
        return;
    }
    const auto state = stateOf(folder, change.name);
    const bool isHere =
        state && state->exists && (state->kind == EntryKind::folder) == departure.isFolder;
    if (!isHere) {
        passThrough(change, std::move(departure));
        reconcile(folder, change.name, {});
    } else if (departure.folder == nothing) {
        reconcile(folder, change.name, {.oldPath = &departure.oldPath});
    } else if (!attach(departure, folder, change.name)) {
        forget(departure);
        reconcile(folder, change.name, {.isNewFolder = true});
    }
}

void LiveIndex::passThrough(const Change &change, Departure departure)
{
    const auto replaced = _departures.rest({change.watch, change.name}, std::move(departure));
    if (replaced)
        forget(*replaced);
}

bool LiveIndex::attach(const Departure &departure, FolderId parent, const std::string &name)
{
    const auto path = joinedPath(_writer.view().pathOfFolder(parent), name);
    const auto isAt = [](const std::string &stop, const std::string &place) {
        return pathBelow(stop, place).has_value();
    };
    // Where a crawl stops depends on the place.
    const bool hasStops = std::any_of(_plan.stops().begin(), _plan.stops().end(),
        [&](const auto &stop) { return isAt(stop, path) || isAt(stop, departure.oldPath); });
    bool isBelowItself = false;
    for (auto above = parent; above != nothing; above = _writer.view().parentOf(above))
        isBelowItself = isBelowItself || above == departure.folder;
    const bool isAlive = _writer.isAlive(departure.folder);
    if (hasStops || isBelowItself || !isAlive)
        return false;
    const bool isOfSlowRoot = _readers.readerOf(_writer.rootOf(parent)) != nullptr;
    if (isOfSlowRoot)
        return false;
    if (const auto replaced = _writer.find(parent, name); replaced != nothing)
        removeEntry(replaced);
    closeProbe();
    const bool isOfFewNames = !_writer.holdsMoreThan(departure.folder, StormGuard::fewNames);
    const bool isCopied = _storms.copiesMove(isOfFewNames, _options.now());
    if (!isCopied && !_storms.isOff(departure.folder))
        moveAlone(departure.folder);

    std::unordered_map<FolderId, FolderId> numbers;
    std::vector<FolderId> moved;
    const auto record =
        _writer.moveFolder(departure.folder, parent, name, [&](FolderId old, FolderId now) {
            numbers[old] = now;
            moved.push_back(now);
        });
    if (record == nothing)
        return false;
    renumber([&](FolderId old) {
        const auto now = numbers.find(old);
        return now == numbers.end() ? old : now->second;
    });
    const auto names = _writer.movedCount();
    _counters.namesMoved += names;
    _listings.noteMoved(numbers);
    tell(FileChange::Kind::moved, path, true, departure.oldPath);
    _storms.noteMove(names, _options.now());
    if (_storms.note(parent, double(names) / StormGuard::namesPerChange, _options.now()))
        takeOff(parent);
    // Whether these are the folders that we think they are shows by their identities and times.
    checkFolders(moved, {});
    return true;
}

/// Too many names were copied lately. What is known below the folder is dropped; it is read again
/// when the moves have had time to end.
void LiveIndex::moveAlone(FolderId folder)
{
    _writer.clearFolder(folder, [this](int watch) { unwatch(watch); });
    _writer.setTime(folder, 0);
    _storms.takeOffMoved(folder, _options.now());
    takeOff(folder);
}

void LiveIndex::forget(const Departure &departure)
{
    tell(FileChange::Kind::removed, departure.oldPath, departure.isFolder);
    if (departure.folder != nothing && _writer.isAlive(departure.folder))
        dropFolder(departure.folder);
}

void LiveIndex::settleDepartures()
{
    for (const auto &departure : _departures.takeAll())
        forget(departure);
}

// Changes of folders themselves.

void LiveIndex::folderWent(FolderId folder)
{
    const auto parent = _writer.view().parentOf(folder);
    const auto record = _writer.view().recordOf(folder);
    const auto path = _writer.view().pathOfFolder(folder);
    if (parent != nothing) {
        dropFolder(folder);
        if (_writer.view().isDead(record))
            return;
        const auto state = stateOf(parent, std::string(_writer.view().nameOf(record)));
        if (state && state->exists && state->kind == EntryKind::folder)
            startFolder(record, path);  // unmounted, or another has taken its place
        else
            removeEntry(record);
        return;
    }
    // A root stays wanted: whatever stands at its path now is read.
    giveWatchBack(folder);
    requestListing(folder, path);
}

void LiveIndex::folderMoved(FolderId folder)
{
    const auto parent = _writer.view().parentOf(folder);
    if (parent == nothing)
        folderWent(folder);
    else if (_writer.watchOf(parent) < 0)
        requestListing(folder, _writer.view().pathOfFolder(folder));
}

void LiveIndex::takeOff(FolderId folder)
{
    giveWatchBack(folder);
    _sweeps.remove(folder);
    qCInfo(logIndex, "a folder changes all the time and is read now and then");
}

}  // namespace vellumhound::index
