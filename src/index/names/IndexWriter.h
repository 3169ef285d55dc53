// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"
#include "index/disk/FolderListing.h"
#include "index/names/Compaction.h"
#include "index/names/IndexView.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vellumhound::index {

/// The one writer of the tables: appends and kills entries, knows which folder is watched by what,
/// and swaps in a compacted base. Knows nothing of the disk. One thread.
class IndexWriter {
public:
    /// A folder that is no longer in the index.
    static constexpr int gone = -2;

    explicit IndexWriter(PublishedView &published);

    const IndexView &view() const { return *_view; }
    /// Lets readers see what has been written since the last call.
    void publish();

    /// Takes a base over with its roots, as the first thing. `folderTimes` by folder.
    void adopt(std::shared_ptr<IndexBase> base, std::vector<IndexRoot> roots,
        std::vector<std::int64_t> folderTimes);
    /// What narrows the search in `base`; nothing happens if that is no longer the one.
    void setFilter(
        const std::shared_ptr<const IndexBase> &base, std::shared_ptr<const BlockFilter> filter);
    /// Forgets all entries and roots at once; numbers stay valid. Not during a compaction.
    void forgetAll(const std::function<void(int)> &unwatch);

    std::uint32_t addRoot(const std::string &path);
    void removeRoot(std::uint32_t root);
    void setRootCrawled(std::uint32_t root);
    void setRootIdentity(std::uint32_t root, const RootIdentity &identity);
    void setRootMayHang(std::uint32_t root, bool mayHang);
    void setSlowMounts(std::vector<Mount> mounts);
    void setApplications(ApplicationTable applications);
    /// The number of the root above a folder.
    std::uint32_t rootOf(FolderId folder) const;

    /// The live entry of this name in a folder.
    RecordId find(FolderId folder, std::string_view name) const;
    /// The live entry at a path below one of the roots.
    RecordId findPath(std::string_view path) const;
    /// The live folder that an entry stands for, `nothing` if it is not crawled.
    FolderId folderFor(RecordId record) const;
    bool isAlive(FolderId folder) const { return _watches[folder] != gone; }
    FolderId folderEnd() const { return FolderId(_watches.size()); }

    RecordId add(FolderId folder, std::string_view name, EntryKind kind);
    /// All entries of a listing into a folder that has none yet.
    void addAll(FolderId folder, const FolderListing &listing,
        const std::function<void(RecordId, const FolderListing::Entry &)> &onFolder);
    /// Takes an entry out with all below it; `unwatch` gets the watches that this frees.
    void remove(RecordId record, const std::function<void(int)> &unwatch);
    /// An entry's folder, to be filled by a listing.
    FolderId addFolder(RecordId record);
    /// Takes a folder out with all below it, but leaves the entry that stands for it.
    void removeFolder(FolderId folder, const std::function<void(int)> &unwatch);
    /// Takes the entry of a folder out, but leaves the folder in, to be moved or removed.
    void detachFolder(FolderId folder) { kill(_view->recordOf(folder)); }
    /// Hangs a folder with all that is known below it, watches and times included, into `parent`.
    /// Its new entry; `nothing` if the tables are full. `moved` gets each folder's old and new
    /// number. Readers find everything, at the old place or at the new one, at any moment.
    RecordId moveFolder(FolderId folder, FolderId parent, std::string_view name,
        const std::function<void(FolderId, FolderId)> &moved);
    /// How many names the last moveFolder() has taken along.
    std::size_t movedCount() const { return _movedCount; }
    /// Takes out what is below a folder, which itself stays.
    void clearFolder(FolderId folder, const std::function<void(int)> &unwatch);
    /// When the entry's contents last changed, in seconds since 1970.
    void setChangeTime(RecordId record, std::uint32_t seconds);
    /// The live entries of a folder, in no order.
    std::vector<RecordId> entriesOf(FolderId folder) const;
    bool isEmpty(FolderId folder) const { return entriesOf(folder).empty(); }
    /// Whether more than so many live entries lie below a folder. It reads no more folders.
    bool holdsMoreThan(FolderId folder, std::size_t entries) const;

    int watchOf(FolderId folder) const { return _watches[folder]; }
    void setWatch(FolderId folder, int watch);
    /// The live folder that is watched so; `nothing` for an unknown watch.
    FolderId folderOfWatch(int watch) const;
    std::int64_t timeOf(FolderId folder) const { return _times[folder]; }
    void setTime(FolderId folder, std::int64_t time) { _times[folder] = time; }
    /// Tells the folder from others that stand at its path; 0: unknown.
    std::uint64_t identityOf(FolderId folder) const { return _identities[folder]; }
    void setIdentity(FolderId folder, std::uint64_t identity) { _identities[folder] = identity; }

    /// Rises with everything that a new base would hold otherwise than the last.
    std::uint64_t changeCount() const { return _changeCount; }
    /// Entries appended or dead since the last compaction.
    std::uint32_t unsettledCount() const;
    /// Begins a compaction, to be run on another thread. From `filterFrom` names on: with a filter.
    std::function<CompactedIndex()> beginCompaction(
        std::uint32_t filterFrom = BlockFilter::usualLeast);
    bool isCompacting() const { return _isCompacting; }
    /// Swaps the new base in with everything that changed meanwhile. All folder and record numbers
    /// change: nobody may hold any. `moved` gets each surviving folder's old and new number.
    void finishCompaction(
        CompactedIndex compacted, const std::function<void(FolderId, FolderId)> &moved);

    /// Live entries.
    std::uint64_t nameCount() const
    {
        return std::uint64_t(_view->base->recordCount()) + _tailCount - _deadCount;
    }
    std::size_t watchedFolderCount() const { return _folderOfWatch.size(); }
    /// Memory of the tables and of the bookkeeping here.
    std::size_t memoryBytes() const;

private:
    struct Run {
        RecordId first = 0;
        std::uint32_t count = 0;
    };
    using Added = std::unordered_multimap<std::size_t, RecordId>;

    RecordId append(FolderId folder, std::string_view name, Traits traits);
    Traits traitsBelow(FolderId folder) const;
    std::vector<RecordId> copyEntries(FolderId from, FolderId to);
    FolderId registerFolder(FolderId parent, RecordId record);
    std::shared_ptr<IndexView> changedView() const { return std::make_shared<IndexView>(*_view); }
    void kill(RecordId record);
    template <class Visit> void forEachEntry(FolderId folder, Visit visit) const;

    PublishedView &_published;
    std::shared_ptr<const IndexView> _view;
    // By folder number.
    std::vector<int> _watches;
    std::vector<std::int64_t> _times;
    std::vector<std::uint64_t> _identities;
    std::unordered_map<int, FolderId> _folderOfWatch;
    // Of the tail alone, until the next compaction.
    std::unordered_map<RecordId, FolderId> _folderFor;
    std::unordered_map<FolderId, std::vector<Run>> _runs;  // by name, as listed
    std::unordered_map<FolderId, Added> _added;            // by the name's hash
    std::uint32_t _tailCount = 0;
    std::uint32_t _deadCount = 0;
    std::uint32_t _addedCount = 0;  // in `_added`
    std::size_t _movedCount = 0;
    std::uint64_t _changeCount = 0;

    bool _isCompacting = false;
    IndexTail::Mark _compactedTo;
    std::vector<RecordId> _killedMeanwhile;
    std::vector<std::pair<RecordId, std::uint32_t>> _datedMeanwhile;
};

}  // namespace vellumhound::index
