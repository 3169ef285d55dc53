// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/DesktopEntries.h"
#include "index/disk/MountTable.h"
#include "index/disk/RootIdentity.h"
#include "index/names/BlockFilter.h"
#include "index/names/IndexTables.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace vellumhound::index {

/// The top of a crawled tree.
struct IndexRoot {
    std::string path;           ///< absolute, in bytes, without trailing slash but for "/"
    FolderId folder = nothing;  ///< `nothing` once the root is no longer wanted
    bool isCrawled = false;     ///< its first crawl is done
    bool mayHang = false;       ///< lies on one of the view's slow mounts
    RootIdentity identity;      ///< of the folder that was last read there; all zeros: none was

    bool operator==(const IndexRoot &) const = default;
};

/// The index at one moment, for readers on any thread: tables that others append to and kill in,
/// but never move or change. Ids are those of these tables.
struct IndexView {
    std::shared_ptr<IndexBase> base;
    std::shared_ptr<IndexTail> tail;
    /// Of the base's names; null where a scan does as well, or while it is made.
    std::shared_ptr<const BlockFilter> filter;
    std::vector<IndexRoot> roots;  ///< by root number
    std::shared_ptr<const ApplicationTable> applications;
    bool hasApplications = false;  ///< they have been read once
    /// Mounts that may cease to answer; absent if there are none. A thread that somebody waits for
    /// reads nothing there.
    std::shared_ptr<const std::vector<Mount>> slowMounts;

    bool isInBase(RecordId record) const { return record < tail->firstRecord(); }
    const NameBlock &namesOf(RecordId record) const
    {
        return isInBase(record) ? base->names : tail->namesOf(record);
    }
    std::uint32_t slotOf(RecordId record) const
    {
        return isInBase(record) ? record : tail->slotOf(record);
    }
    Traits traitsOf(RecordId record) const { return namesOf(record).traits(slotOf(record)); }
    /// When the entry's contents last changed, in seconds since 1970; 0 while unknown.
    std::uint32_t changeTimeOf(RecordId record) const
    {
        return namesOf(record).changeTime(slotOf(record));
    }
    bool isDead(RecordId record) const { return namesOf(record).isDead(slotOf(record)); }
    std::string_view nameOf(RecordId record) const
    {
        return namesOf(record).original(slotOf(record));
    }
    std::string_view storedNameOf(RecordId record) const
    {
        return namesOf(record).stored(slotOf(record));
    }
    FolderId folderOf(RecordId record) const
    {
        return isInBase(record) ? base->folderOf(record) : tail->folderOf(record);
    }
    FolderId parentOf(FolderId folder) const
    {
        return folder < tail->firstFolder() ? base->parents[folder] : tail->parentOf(folder);
    }
    /// The entry that stands for the folder; for a root its number among the roots.
    RecordId recordOf(FolderId folder) const
    {
        return folder < tail->firstFolder() ? base->records[folder] : tail->recordOf(folder);
    }
    /// The number of the root above a folder.
    std::uint32_t rootOf(FolderId folder) const;
    /// Whether the entry lies on a file system that may cease to answer.
    bool mayHang(RecordId record) const { return roots[rootOf(folderOf(record))].mayHang; }
    std::string pathOfFolder(FolderId folder) const;
    std::string pathOf(RecordId record) const;
    /// The live entry of this name, by its own bytes, in the folder's run of the base.
    RecordId findInBase(FolderId folder, std::string_view name) const;
    /// The live entry of this name; also looks through all of the tail, which takes a while while
    /// the tail is long.
    RecordId find(FolderId folder, std::string_view name) const;
    /// The live entry at an absolute path; as costly as find().
    RecordId findPath(std::string_view path) const;
    /// The folder at an absolute path, if it has been crawled as a folder.
    FolderId findFolder(std::string_view path) const;
};

/// Where the writer puts the newest view and readers take it from. A reader holds the lock only
/// while it copies the pointer.
class PublishedView {
public:
    void publish(std::shared_ptr<const IndexView> view);
    std::shared_ptr<const IndexView> current() const;

private:
    mutable std::mutex _mutex;
    std::shared_ptr<const IndexView> _view;
};

}  // namespace vellumhound::index
