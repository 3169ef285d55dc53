// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/CrawlPlan.h"
#include "index/IndexWriter.h"
#include "index/Worker.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// What a live index is made with, beside the objects that it works with.
struct LiveIndexOptions {
    /// The mounts of this process.
    std::function<std::vector<Mount>()> readMounts = index::readMounts;
    /// How often folders are looked at that cannot be watched.
    std::chrono::milliseconds sweepInterval = std::chrono::minutes(1);
    /// So many changes, and a sixteenth of the whole, are put into a new base.
    std::uint32_t compactAbove = 4096;
};

/// Keeps the tables equal to the disk: crawls what the plan wants, watches it and applies changes.
/// A change is only a hint where to look; what counts is what the disk says afterwards, so neither
/// the order of changes nor their loss can make the index wrong for good.
///
/// Everything on one thread. Disk reading beyond single entries is done by the worker, whose
/// completions step() runs.
class LiveIndex {
public:
    LiveIndex(Worker &worker, ChangeSource &source, PublishedView &published,
        DesktopEntries desktopEntries, LiveIndexOptions options = {});
    ~LiveIndex();
    LiveIndex(const LiveIndex &) = delete;
    LiveIndex &operator=(const LiveIndex &) = delete;

    /// Replaces the folders to crawl and to leave out.
    void setRules(const std::vector<Rule> &rules);
    /// Folders that a query has named; they are crawled from now on.
    void addScopes(const std::vector<std::string> &folders);
    /// Something was mounted or unmounted.
    void mountsChanged();
    /// Looks at the folders that cannot be watched. Production calls it when nextSweep() has come.
    void sweep();
    /// Absent while every folder is watched: then nothing needs to be done until something happens.
    std::optional<std::chrono::steady_clock::time_point> nextSweep() const { return _nextSweep; }

    /// Applies finished work and changes. True if there were any.
    bool step();
    /// Called after the first crawl of a tree has ended and readers can see all of it.
    std::function<void()> onCrawled;

    bool isBusy() const { return !_listings.empty() || _isRechecking || _writer.isCompacting(); }
    std::uint64_t nameCount() const { return _writer.nameCount(); }
    std::size_t watchedFolderCount() const { return _writer.watchedFolderCount(); }
    std::size_t sweptFolderCount() const { return _unwatched.size(); }
    std::size_t memoryBytes() const { return _writer.memoryBytes(); }

private:
    /// A folder that the worker is reading.
    struct Listing {
        std::uint32_t root = 0;
        bool isFirst = false;  // counts towards the root's first crawl
        bool isWantedAgain = false;
        std::vector<Change> touched;  // changes told since it was asked for
    };

    void applyPlan();
    void dropRoot(std::uint32_t root);
    void dropFolder(FolderId folder);
    void unwatch(int watch);

    void requestListing(FolderId folder, const std::string &path, std::uint32_t root);
    void startFolder(RecordId record, std::uint32_t root, const std::string &path);
    void applyListing(FolderId folder, const FolderListing &listing);
    void takeWatch(FolderId folder, const FolderListing &listing, Listing &pending);
    void merge(FolderId folder, std::uint32_t root, const FolderListing &listing);
    void finishListing(std::uint32_t root);

    void applyChange(const Change &change);
    void reconcile(FolderId folder, const std::string &name, bool isNewFolder);
    void folderWent(FolderId folder);
    void recheckAll();
    void recheckSlice();
    void checkFolders(const std::vector<FolderId> &folders, std::function<void()> whenDone);

    void readApplications();
    void compactIfWorthIt();
    void scheduleSweep();

    Worker &_worker;
    ChangeSource &_source;
    const DesktopEntries _desktopEntries;
    const LiveIndexOptions _options;
    IndexWriter _writer;

    std::vector<std::string> _included;
    std::vector<std::string> _excluded;
    std::vector<std::string> _scopes;
    std::vector<Mount> _mounts;
    CrawlPlan _plan;

    std::unordered_map<FolderId, Listing> _listings;
    std::vector<std::size_t> _outstandingOf;  // first listings, by root
    // Changes of watches that no folder is known for yet, while listings are under way.
    std::unordered_map<int, std::vector<Change>> _early;
    std::unordered_set<int> _retired;               // given back while listings were under way
    std::unordered_map<FolderId, bool> _unwatched;  // folders that must be swept
    bool _hasToldOfLimit = false;
    std::optional<std::chrono::steady_clock::time_point> _nextSweep;

    bool _isRechecking = false;
    FolderId _recheckFrom = 0;

    std::unordered_set<int> _applicationWatches;
    bool _isReadingApplications = false;
    bool _areApplicationsStale = false;

    std::optional<CompactedIndex> _compacted;  // waits for a moment without listings
    bool _hasCrawled = false;
};

}  // namespace vellumhound::index
