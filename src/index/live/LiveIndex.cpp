// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/LiveIndex.h"

#include "index/disk/Paths.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <unordered_map>
#include <utility>

namespace vellumhound::index {

namespace {

constexpr auto applicationsPath = "/Applications";
/// Entries whose change times are read in one job.
constexpr std::size_t entriesPerJob = 4096;

bool isRootOf(const CrawlPlan &plan, const std::string &path)
{
    return std::find(plan.roots().begin(), plan.roots().end(), path) != plan.roots().end();
}

}  // namespace

LiveIndex::LiveIndex(Worker &worker, ChangeSource &source, PublishedView &published,
    DesktopEntries desktopEntries, LiveIndexOptions options)
    : _worker(worker)
    , _source(source)
    , _options(std::move(options))
    , _writer(published)
    , _mounts(_options.readMounts())
    , _readers([&worker] { worker.wakeOwner(); }, _options.hangLimit)
    , _applications(worker, source, std::move(desktopEntries))
    , _ancestors(worker, source)
    , _listings(worker)
    , _written(_options.writePause)
    , _sweeps(_options.sweepPace)
    , _keeper(worker, _options.snapshot)
{
    _listings.onRead = [this](FolderId folder, const auto &listing, auto &pending) {
        applyListing(folder, listing, pending);
    };
    _listings.onFirstCrawlEnded = [this](std::uint32_t root) { noteCrawled(root); };
    _applications.onRead = [this](ApplicationTable table, const std::vector<int> &freed) {
        takeApplications(std::move(table), freed);
    };
    _ancestors.onWatched = [this](const std::vector<int> &freed) { takeAncestors(freed); };
    noteMounts();
    _applications.read();
}

LiveIndex::~LiveIndex() = default;

// What is crawled.

void LiveIndex::setRules(const std::vector<Rule> &rules)
{
    _rules = rules;
    _scopes.clear();
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
    // Our own writing is nothing to write again for.
    auto excluded = _excluded;
    if (!_options.snapshot.folder.empty())
        excluded.push_back(_options.snapshot.folder);
    const auto old = std::exchange(_plan, CrawlPlan(wanted, excluded, _mounts, _plan.roots()));

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
    _listings.cancel([this](FolderId folder) { return !_writer.isAlive(folder); });
    for (const auto &path : old.stops()) {
        const auto record = _plan.stops().contains(path) ? nothing : folderAt(path);
        if (record != nothing && _writer.folderFor(record) == nothing)
            startFolder(record, path);
    }
    for (const auto &path : _plan.roots()) {
        if (!isRootOf(old, path))
            startRoot(path);
    }
    followAncestors();
    _writer.publish();
}

void LiveIndex::startRoot(const std::string &path)
{
    const auto root = _writer.addRoot(path);
    noteMounts();
    requestListing(_writer.view().roots[root].folder, path);
}

void LiveIndex::dropRoot(std::uint32_t root)
{
    const auto folder = _writer.view().roots[root].folder;
    dropFolder(folder);
    _writer.removeRoot(root);
    // Its watches are to be had again.
    _sweeps.hasten(_options.now());
}

void LiveIndex::dropFolder(FolderId folder)
{
    _writer.removeFolder(folder, [this](int watch) { unwatch(watch); });
}

void LiveIndex::unwatch(int watch)
{
    if (_applications.holds(watch) || _ancestors.holds(watch))
        return;
    _listings.noteRetired(watch);
    _source.unwatch(watch);
}

void LiveIndex::giveWatchBack(FolderId folder)
{
    const auto watch = _writer.watchOf(folder);
    _writer.setWatch(folder, ChangeSource::noWatch);
    if (watch >= 0 && _writer.folderOfWatch(watch) == nothing)
        unwatch(watch);
}

void LiveIndex::mountsChanged()
{
    auto mounts = _options.readMounts();
    const auto old = std::exchange(_mounts, mounts);
    closeProbe();
    noteMounts();
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
    for (std::uint32_t root = 0; root < _writer.view().roots.size(); ++root) {
        const auto entry = _writer.view().roots[root];
        const bool isAffected = std::any_of(changed.begin(), changed.end(),
            [&](const auto &point) { return pathBelow(entry.path, point).has_value(); });
        if (entry.folder != nothing && isAffected)
            requestListing(entry.folder, entry.path);
    }
    for (const auto &path : changed) {
        const auto record = isRootOf(_plan, path) ? nothing : _writer.findPath(path);
        const auto folder = record == nothing ? nothing : _writer.folderFor(record);
        if (folder == nothing)
            continue;
        dropFolder(folder);
        startFolder(record, path);
    }
    _writer.publish();
}

// File systems that may hang.

void LiveIndex::noteMounts()
{
    const auto &roots = _writer.view().roots;
    _readers.assign(_mounts, roots);
    _writer.setSlowMounts(_readers.slowMounts());
    _applications.avoid(_readers.slowMounts());
    for (std::uint32_t root = 0; root < _writer.view().roots.size(); ++root)
        _writer.setRootMayHang(root, _readers.readerOf(root) != nullptr);
}

void LiveIndex::giveUpHungMounts(Clock::time_point now)
{
    for (const auto *reader : _readers.giveUpHung(now)) {
        for (const auto folder : _listings.abandon(*reader)) {
            if (_writer.isAlive(folder))
                sweepAgain(folder, {});
        }
        _sweeps.end(reader, now);
    }
}

void LiveIndex::takeApplications(ApplicationTable table, const std::vector<int> &freed)
{
    for (const auto watch : freed) {
        if (_writer.folderOfWatch(watch) == nothing)
            unwatch(watch);
    }
    _writer.setApplications(std::move(table));
    _hasCrawled = true;
}

// The folders above the roots.

void LiveIndex::followAncestors()
{
    _ancestors.follow(_plan.roots(), _readers.slowMounts());
}

/// One of them was moved, has gone or is watched now for the first time: what stands at the paths
/// of the roots may be something else than what is known.
void LiveIndex::takeAncestors(const std::vector<int> &freed)
{
    for (const auto watch : freed) {
        if (_writer.folderOfWatch(watch) == nothing)
            unwatch(watch);
    }
    std::vector<FolderId> folders;
    for (std::uint32_t root = 0; root < _writer.view().roots.size(); ++root) {
        const auto &entry = _writer.view().roots[root];
        if (entry.folder != nothing && !_readers.readerOf(root))
            folders.push_back(entry.folder);
    }
    checkFolders(folders, {});
}

// Change times.

void LiveIndex::refreshTimes()
{
    _times.clear();
    for (FolderId folder = 0; folder < _writer.folderEnd(); ++folder) {
        if (_writer.isAlive(folder))
            _times.want(folder, true);
    }
    readTimes();
}

void LiveIndex::readTimes()
{
    const bool mustWait = _isReadingTimes || _writer.isCompacting() || _listings.isWorkerReading();
    if (mustWait || _times.isEmpty())
        return;
    auto requests = std::make_shared<std::vector<TimesRequest>>();
    for (std::size_t count = 0; count < entriesPerJob;) {
        const auto wanted = _times.take();
        if (!wanted)
            break;
        const auto folder = wanted->folder;
        if (!_writer.isAlive(folder) || _readers.readerOf(_writer.rootOf(folder)))
            continue;
        TimesRequest request{
            folder, wanted->isRefresh, _writer.view().pathOfFolder(folder), {}, {}, {}};
        for (const auto record : _writer.entriesOf(folder)) {
            if (wanted->isRefresh || _writer.view().changeTimeOf(record) == 0)
                request.records.push_back(record);
        }
        if (!wanted->isRefresh && request.records.size() > entriesPerJob) {
            request.records.resize(entriesPerJob);
            _times.want(folder, false);
        }
        for (const auto &mount : _readers.slowMounts()) {
            const auto below = pathBelow(mount.point, request.path);
            if (below)
                request.avoided.emplace_back(*below);
        }
        count += request.records.size();
        if (!request.records.empty())
            requests->push_back(std::move(request));
    }
    if (requests->empty())
        return;
    _isReadingTimes = true;
    _writer.publish();  // the job reads names by the view
    _worker.postIdle(
        [this, requests,
            view = std::make_shared<IndexView>(_writer.view())]() -> Worker::Completion {
            const auto answered = readChangeTimes(*view, *requests);
            return [this, requests, answered] { takeTimes(*requests, answered); };
        });
}

void LiveIndex::takeTimes(const std::vector<TimesRequest> &requests, std::size_t answered)
{
    _isReadingTimes = false;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        const auto &request = requests[i];
        if (i >= answered) {
            _times.want(request.folder, request.isRefresh);
            continue;
        }
        for (std::size_t entry = 0; entry < request.records.size(); ++entry)
            takeTime(request.records[entry], request.times[entry]);
        _counters.timesRead += request.records.size();
    }
}

void LiveIndex::takeTime(RecordId record, std::uint32_t time)
{
    const auto &view = _writer.view();
    const auto former = view.changeTimeOf(record);
    _writer.setChangeTime(record, time);
    const bool hasChanged = former != 0 && former != time;
    if (onFileChanged && hasChanged && !view.isDead(record) &&
        view.traitsOf(record).kind() == EntryKind::file)
        tell(FileChange::Kind::written, view.pathOf(record), false);
}

// What comes round.

void LiveIndex::renumber(const std::function<FolderId(FolderId)> &newNumber)
{
    _sweeps.renumber(newNumber);
    _storms.renumber(newNumber);
    _times.renumber(newNumber);
}

void LiveIndex::compactIfWorthIt()
{
    if (_listings.isWorkerReading() || _sweeps.isUnderWay(nullptr) || _isRechecking ||
        _isReadingTimes)
        return;
    if (_compacted) {
        auto compacted = *std::exchange(_compacted, std::nullopt);
        SnapshotContents contents{compacted.base, std::move(compacted.folderTimes),
            std::move(compacted.roots), std::exchange(_stopsOfCompaction, {})};
        std::unordered_map<FolderId, FolderId> numbers;
        _writer.finishCompaction(
            std::move(compacted), [&](FolderId old, FolderId now) { numbers[old] = now; });
        const auto newNumber = [&](FolderId old) {
            const auto found = numbers.find(old);
            return found == numbers.end() ? nothing : found->second;
        };
        renumber(newNumber);
        _listings.renumber(newNumber);
        _keeper.offerBase(std::move(contents));
    }
    const auto limit = _options.compactAbove + _writer.view().base->recordCount() / 16;
    const bool isWorthIt = _keeper.isWanted() || _writer.unsettledCount() > limit;
    if (_writer.isCompacting() || !isWorthIt || !_isChecked)
        return;
    _stopsOfCompaction = {_plan.stops().begin(), _plan.stops().end()};
    _keeper.noteChanges(_writer.changeCount());
    _keeper.beginBase();
    _worker.post(
        [this, build = _writer.beginCompaction(_options.filterFrom)]() -> Worker::Completion {
            auto compacted = std::make_shared<CompactedIndex>(build());
            return [this, compacted] { _compacted = std::move(*compacted); };
        });
}

bool LiveIndex::step()
{
    // Changes first, and again between the folders of a crawl: they are what somebody waits for.
    bool hasWorked = applyChanges();
    auto completions = _worker.takeDone();
    auto done = _readers.takeDone(_options.now());
    std::move(done.begin(), done.end(), std::back_inserter(completions));
    for (const auto &completion : completions) {
        completion();
        closeProbe();
        hasWorked = true;
        applyChanges();
    }
    hasWorked = doWhatIsDue() || hasWorked;
    if (!hasWorked)
        return false;
    compactIfWorthIt();
    readTimes();
    _writer.publish();
    _keeper.noteChanges(_writer.changeCount());
    if (std::exchange(_hasCrawled, false) && onCrawled)
        onCrawled();
    return true;
}

bool LiveIndex::doWhatIsDue()
{
    const auto due = nextDue();
    const auto now = _options.now();
    if (!due || *due > now)
        return false;
    giveUpHungMounts(now);
    for (const auto &entry : _written.takeDue(now)) {
        const auto folder = _writer.folderOfWatch(entry.watch);
        if (folder != nothing)
            reconcile(folder, entry.name, {});
    }
    closeProbe();
    for (const auto folder : _storms.takeDue(now)) {
        if (_writer.isAlive(folder))
            requestListing(folder, _writer.view().pathOfFolder(folder));
    }
    sweepDue(now);
    return true;
}

std::optional<LiveIndex::Clock::time_point> LiveIndex::nextDue() const
{
    auto first = _written.due();
    const auto consider = [&](const std::optional<Clock::time_point> &due) {
        if (due && (!first || *due < *first))
            first = due;
    };
    consider(_storms.due());
    consider(_sweeps.due());
    consider(_readers.due());
    return first;
}

}  // namespace vellumhound::index
