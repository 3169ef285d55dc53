// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"
#include "index/disk/FolderListing.h"
#include "index/live/MountReader.h"
#include "index/live/Worker.h"
#include "index/names/IndexTables.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// Has folders read, by the worker or by the reader of a mount that may hang, and keeps what
/// happens to each of them until its listing is taken: changes, a move, a second request. A folder
/// is read once at a time.
///
/// Knows neither tables nor plan. Owned by the live index, on its thread; worker and readers
/// outlive it.
class Listings {
public:
    using Clock = std::chrono::steady_clock;

    /// What a request and its job share.
    struct Ticket {
        FolderId folder = nothing;  ///< its number by now; the owner's alone
        std::atomic<bool> isCancelled = false;
    };
    /// A folder that is being read.
    struct Pending {
        std::uint32_t root = 0;
        MountReader *reader = nullptr;  ///< null: the worker reads it
        bool isFirst = false;           ///< counts towards the root's first crawl
        bool isWantedAgain = false;
        bool isStale = false;         ///< the folder was moved since
        std::vector<Change> touched;  ///< changes in it since it was requested
        std::shared_ptr<Ticket> ticket;
    };
    struct Request {
        FolderId folder = nothing;
        std::string path;
        std::uint32_t root = 0;
        MountReader *reader = nullptr;  ///< null: the worker reads it
        ListingOptions options;
    };

    explicit Listings(Worker &worker)
        : _worker(worker)
    {
    }

    /// Called for each folder that was read and not abandoned meanwhile, under the number that it
    /// has by now. It is no longer being read.
    std::function<void(FolderId, const FolderListing &, Pending &)> onRead;
    /// Called when all that a root's first crawl has requested so far was read or abandoned.
    std::function<void(std::uint32_t root)> onFirstCrawlEnded;

    /// Reads a folder for a root's first crawl, behind everything that waits.
    void readFirst(const Request &request, Clock::time_point now);
    /// Reads a folder that somebody may look for now. One that is being read is read once more
    /// afterwards; so it is with all requests.
    void read(const Request &request, Clock::time_point now);
    /// Reads folders in one job of the worker's, but for those of readers. `whenDone` may be empty
    /// and is called in any case, when the worker's have been taken.
    void readTogether(const std::vector<Request> &requests, std::function<void()> whenDone,
        Clock::time_point now);
    /// Reads folders of one reader one after the other. `whenDone` is called when the last one has
    /// been taken, and not at all if the reader gives up before.
    void readInTurn(MountReader &reader, const std::vector<Request> &requests,
        const std::function<void()> &whenDone, Clock::time_point now);
    /// Folders that nobody wants any more are not read, unless that has begun. They are handed over
    /// all the same, as not read (ECANCELED).
    void cancel(const std::function<bool(FolderId)> &isUnwanted);
    /// Gives up what this reader was to read: its folders.
    std::vector<FolderId> abandon(const MountReader &reader);

    bool isEmpty() const { return _pending.empty(); }
    /// The worker reads some of the folders. What readers read may take minutes, and holds up
    /// nothing else.
    bool isWorkerReading() const { return _ofWorker > 0; }
    bool isReading(FolderId folder) const { return _pending.contains(folder); }
    /// Notes a change in a folder, to be looked at once more if the folder is being read.
    void noteChange(FolderId folder, const Change &change);
    /// Notes a change by a watch that belongs to no folder yet, since its listing may be under way.
    void noteEarly(const Change &change);
    std::vector<Change> takeEarly(int watch);
    /// Notes that a watch was given back, which a listing under way may bring as its own.
    void noteRetired(int watch);
    bool isRetired(int watch) const { return _retired.contains(watch); }
    /// Folders were moved and have got other numbers. What is read of them may be what stands at
    /// the old place by now.
    void noteMoved(const std::unordered_map<FolderId, FolderId> &numbers);
    /// All folders have got other numbers, but stand where they stood; `nothing` for those that
    /// are gone, whose listings are not handed over.
    void renumber(const std::function<FolderId(FolderId)> &newNumber);

private:
    using TicketPtr = std::shared_ptr<Ticket>;

    static FolderListing readUnlessCancelled(const Request &request, const Ticket &ticket);
    /// Null if the folder is being read already.
    TicketPtr begin(const Request &request, bool isFirst);
    Worker::Job jobFor(const Request &request, const TicketPtr &ticket);
    void post(const Request &request, const TicketPtr &ticket, Clock::time_point now, bool isFirst);
    void take(Ticket &ticket, const FolderListing &listing);
    void forgetWatches();
    void endFirst(std::uint32_t root);

    Worker &_worker;
    std::unordered_map<FolderId, Pending> _pending;
    std::size_t _ofWorker = 0;                                // pending ones that it reads
    std::unordered_map<std::uint32_t, std::size_t> _firstOf;  // first listings, by root
    // While the worker reads folders, which is who watches them:
    std::unordered_map<int, std::vector<Change>> _early;  // by watch
    std::unordered_set<int> _retired;                     // watches
};

}  // namespace vellumhound::index
