// SPDX-License-Identifier: GPL-3.0-or-later
// long: the conductor of the parts that keep the tables equal to the disk
#pragma once

#include "index/live/AncestorWatch.h"
#include "index/live/ApplicationWatch.h"
#include "index/live/ChangeTimes.h"
#include "index/live/CrawlPlan.h"
#include "index/live/Departures.h"
#include "index/live/IndexStatus.h"
#include "index/live/Listings.h"
#include "index/live/MountReaders.h"
#include "index/live/SnapshotKeeper.h"
#include "index/live/StormGuard.h"
#include "index/live/Sweeps.h"
#include "index/live/WhyNotFound.h"
#include "index/live/Worker.h"
#include "index/live/WrittenEntries.h"
#include "index/names/IndexWriter.h"
#include "platform/Clock.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vellumhound::index {

/// What a live index is made with, beside the objects that it works with.
struct LiveIndexOptions {
    /// The mounts of this process.
    std::function<std::vector<Mount>()> readMounts = index::readMounts;
    std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
    /// Outlives the index; null: the machine's.
    const platform::Clock *wallClock = nullptr;
    /// How often folders are looked at that are not watched.
    Sweeper::Pace sweepPace;
    /// Something written over and over is looked at so often.
    std::chrono::milliseconds writePause{100};
    /// A file system that may hang and does not answer for so long is held to be hung.
    std::chrono::milliseconds hangLimit = std::chrono::seconds(10);
    /// So many changes, and a sixteenth of the whole, are put into a new base.
    std::uint32_t compactAbove = 4096;
    /// A base of so many names gets a filter.
    std::uint32_t filterFrom = BlockFilter::usualLeast;
    SnapshotOptions snapshot;
};

/// Something that happened to an entry, for those who keep more of it than its name. What stood
/// below a folder that was moved or removed is not told one by one.
struct FileChange {
    enum class Kind { created, written, removed, moved };

    Kind kind = Kind::created;
    std::string path;
    std::string oldPath;  ///< of a move
    bool isFolder = false;

    bool operator==(const FileChange &) const = default;
};

/// Work done since the start, and what is not as it should be.
struct LiveCounters {
    std::uint64_t foldersRead = 0;       ///< their entries
    std::uint64_t foldersUnchanged = 0;  ///< looked at, but still of the time that was known
    std::uint64_t namesMoved = 0;        ///< taken along by folders that were moved
    std::uint64_t timesRead = 0;         ///< change times read in the background
    std::size_t stormFolders = 0;        ///< read now and then, since they change all the time
    std::size_t hungMounts = 0;          ///< that do not answer at the moment
};

/// Keeps the tables equal to the disk: crawls what the plan wants, watches it and applies changes.
/// A change is only a hint where to look; what counts is what the disk says afterwards, so neither
/// the order of changes nor their loss can make the index wrong for good.
///
/// The conductor: what is being read (Listings), on its way (Departures), due (Sweeps, StormGuard,
/// WrittenEntries) or beside the tables (ApplicationWatch, AncestorWatch, MountReaders,
/// SnapshotKeeper) is kept by classes of their own; here is what they mean for the tables.
///
/// Everything on one thread. Disk reading beyond single entries is done by the worker, whose
/// completions step() runs; file systems that may hang are read by threads of their own alone.
class LiveIndex {
public:
    using Clock = std::chrono::steady_clock;

    LiveIndex(Worker &worker, ChangeSource &source, PublishedView &published,
        DesktopEntries desktopEntries, LiveIndexOptions options = {});
    ~LiveIndex();
    LiveIndex(const LiveIndex &) = delete;
    LiveIndex &operator=(const LiveIndex &) = delete;

    /// Goes on from what the last session has kept on disk, if there is something: it can be
    /// searched at once and is compared with the disk afterwards. Before everything else.
    void startFromSnapshot();
    /// Has the index kept on disk. Production calls it when nextSave() has come.
    void save();
    /// Absent while nothing has changed since it was kept.
    std::optional<std::chrono::steady_clock::time_point> nextSave() const { return _keeper.due(); }
    /// Any thread. What is being written is given up.
    void stopSaving() { _keeper.stop(); }
    /// Writes once more if that takes no time worth speaking of. The worker has stopped.
    void saveAtEnd();
    /// Has the names brought back into memory.
    void prefault() const { _writer.view().base->names.prefault(); }

    /// Replaces the folders to crawl and to leave out.
    void setRules(const std::vector<Rule> &rules);
    /// What is crawled.
    const CrawlPlan &plan() const { return _plan; }
    /// Folders that a query has named; they are crawled from now on, until rules are set again: a
    /// scope comes from a rule, and ends with it.
    void addScopes(const std::vector<std::string> &folders);
    /// Something was mounted or unmounted.
    void mountsChanged();
    /// Compares the folders with the disk by their times and reads those that differ; but those of
    /// mounts that may hang, of which no watch tells, only after a start from a snapshot.
    void recheckAll();
    /// Looks at all folders that are not watched, at once.
    void sweep();
    /// Reads the change times of all entries again, when nothing else is to be done.
    void refreshTimes();

    /// Applies finished work, changes, and what is due. True if there was any.
    bool step();
    /// When step() is to be called though nothing has happened. Absent while every folder is
    /// watched and nothing was written just now: then nothing needs to be done.
    std::optional<Clock::time_point> nextDue() const;

    /// Called after the first crawl of a tree has ended and readers can see all of it.
    std::function<void()> onCrawled;
    /// If set: called for what happens to entries, but not for what a tree's first crawl finds.
    std::function<void(const FileChange &)> onFileChanged;

    bool isBusy() const { return isWorkerBusy() || !_listings.isEmpty(); }
    /// Whether further folders are read. Those that were left out are once there is room again.
    void setTakesFolders(bool takesFolders);
    /// What is covered and done, but for texts and rests.
    IndexStatus status() const;
    /// What is known of an absolute path in bytes; the scopes are the caller's.
    FindingFacts findingFacts(const std::string &path) const;
    /// Everything is known that is to be known, change times included.
    bool isSettled() const;
    std::uint64_t nameCount() const { return _writer.nameCount(); }
    std::size_t watchedFolderCount() const { return _writer.watchedFolderCount(); }
    std::size_t sweptFolderCount() const { return _sweeps.size(); }
    std::size_t memoryBytes() const { return _writer.memoryBytes(); }
    LiveCounters counters() const;

private:
    /// More about a change than that there was one.
    struct Hint {
        bool isNewFolder = false;
        const std::string *oldPath = nullptr;  // set: it came from there
    };

    /// What other work waits for is being done. What readers of slow mounts do is not that.
    bool isWorkerBusy() const
    {
        return _listings.isWorkerReading() || _isRechecking || _writer.isCompacting();
    }

    // LiveIndex.cpp: what is crawled, and what comes round.
    void applyPlan();
    void dropRoot(std::uint32_t root);
    void dropFolder(FolderId folder);
    void unwatch(int watch);
    void giveWatchBack(FolderId folder);
    void noteMounts();
    void giveUpHungMounts(Clock::time_point now);
    void takeApplications(ApplicationTable table, const std::vector<int> &freed);
    void followAncestors();
    void takeAncestors(const std::vector<int> &freed);
    void snapshotChecked(bool isSound);
    bool isStrangeRoot(FolderId folder, const FolderListing &listing) const;
    void readRootAgain(std::uint32_t root);
    void makeFilter();
    void startOver();
    void startRoot(const std::string &path);
    void compactIfWorthIt();
    void readTimes();
    void takeTimes(const std::vector<TimesRequest> &requests, std::size_t answered);
    void takeTime(RecordId record, std::uint32_t time);
    void renumber(const std::function<FolderId(FolderId)> &newNumber);
    bool doWhatIsDue();

    // LiveListings.cpp: folders are read.
    Listings::Request requestFor(FolderId folder, const std::string &path, bool byTime) const;
    void requestListing(FolderId folder, const std::string &path);
    void startFolder(RecordId record, const std::string &path);
    void applyListing(FolderId folder, const FolderListing &listing, Listings::Pending &pending);
    void takeListing(FolderId folder, const FolderListing &listing, Listings::Pending &pending);
    void takeWatch(FolderId folder, const FolderListing &listing, Listings::Pending &pending);
    void leaveWatch(FolderId folder, const FolderListing &listing);
    void takeFailure(FolderId folder, const FolderListing &listing);
    void sweepLater(FolderId folder, const FolderListing &listing);
    void merge(FolderId folder, const Listings::Pending &pending, const FolderListing &listing);
    void noteCrawled(std::uint32_t root);
    void recheckSlice();
    void noteCheck();
    void checkFolders(const std::vector<FolderId> &folders, std::function<void()> whenDone);
    void sweepDue(Clock::time_point now);
    void startTurn(const Sweeps::Turn &turn, Clock::time_point now);
    void endTurn(const MountReader *reader, const std::vector<FolderId> &folders);
    void sweepAgain(FolderId folder, const Sweeper::Outcome &outcome);

    // LiveChanges.cpp: changes are applied.
    bool applyChanges();
    void applyChange(const Change &change);
    void reconcile(FolderId folder, const std::string &name, const Hint &hint);
    void depart(FolderId folder, const Change &change);
    void arrive(FolderId folder, const Change &change);
    void passThrough(const Change &change, Departure departure);
    bool attach(const Departure &departure, FolderId parent, const std::string &name);
    void moveAlone(FolderId folder);
    void settleDepartures();
    void forget(const Departure &departure);
    void folderWent(FolderId folder);
    void folderMoved(FolderId folder);
    void takeOff(FolderId folder);
    void removeEntry(RecordId record);
    void tell(FileChange::Kind kind, const std::string &path, bool isFolder,
        const std::string &oldPath = {}) const;
    std::optional<EntryState> stateOf(FolderId folder, const std::string &name);
    void closeProbe();

    Worker &_worker;
    ChangeSource &_source;
    const LiveIndexOptions _options;
    IndexWriter _writer;

    std::vector<Rule> _rules;
    std::vector<std::string> _included;
    std::vector<std::string> _excluded;
    std::vector<std::string> _scopes;
    std::vector<Mount> _mounts;
    CrawlPlan _plan;
    MountReaders _readers;
    ApplicationWatch _applications;
    AncestorWatch _ancestors;
    Listings _listings;
    Departures _departures;
    // The folder of the last change, held open while the changes at hand are applied.
    OpenFolder _probe;
    FolderId _probed = nothing;
    WrittenEntries _written;
    StormGuard _storms;

    Sweeps _sweeps;
    bool _hasRefusedInSweep = false;  // a watch, to a folder that was looked at meanwhile
    bool _hasToldOfLimit = false;
    bool _takesFolders = true;
    bool _hasLeftOut = false;   // folders, for want of room
    bool _isVerifying = false;  // what a snapshot held is compared with the disk
    std::optional<std::chrono::system_clock::time_point> _lastCheck;
    bool _isRechecking = false;
    FolderId _recheckFrom = 0;

    ChangeTimes _times;
    bool _isReadingTimes = false;

    SnapshotKeeper _keeper;
    bool _isChecked = true;  // false while a loaded base may hold anything
    std::vector<std::string> _stopsOfCompaction;

    std::optional<CompactedIndex> _compacted;  // waits until the worker reads no folders
    bool _hasCrawled = false;
    LiveCounters _counters;
};

}  // namespace vellumhound::index
