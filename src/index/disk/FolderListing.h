// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"
#include "index/disk/EntryKind.h"
#include "index/disk/RootIdentity.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace vellumhound::index {

/// What stands in a folder, hidden names left out.
struct FolderListing {
    struct Entry {
        std::uint32_t start = 0;  ///< of the name, in `names`
        std::uint16_t length = 0;
        EntryKind kind = EntryKind::other;
        std::uint32_t inode = 0;  ///< the lower half of its number
    };

    /// 0: read whole; else why not (errno). ENOENT, ENOTDIR and ELOOP: there is no such folder.
    int error = 0;
    bool isWatchRefused = false;  ///< the source was asked and gave none
    bool isUnchanged = false;     ///< its time is the one that was known, so it was not read
    int watch = ChangeSource::noWatch;
    /// Of its last change, in nanoseconds: as long as the folder has it, it has not changed. 0: it
    /// can change without getting another. Below 0: the time with its sign changed; whether it can
    /// be relied upon shows when the folder is read again and still has it.
    std::int64_t time = 0;
    /// Tells it from any other folder of this run; 0: unknown. See inodeOf().
    std::uint64_t identity = 0;
    RootIdentity rootIdentity;        ///< all zeros unless it was read as a root
    std::chrono::nanoseconds took{};  ///< how long reading it took
    std::string names;
    std::vector<Entry> entries;  ///< by name

    std::string_view nameOf(const Entry &entry) const
    {
        return std::string_view(names).substr(entry.start, entry.length);
    }
    bool isRead() const { return error == 0; }
    bool isMissing() const;
};

/// The lower half of the number of a folder with this identity.
inline std::uint32_t inodeOf(std::uint64_t identity)
{
    return std::uint32_t(identity >> 32);
}

struct ListingOptions {
    ChangeSource *watchBy = nullptr;  ///< watches the folder before it is read
    bool isRoot = false;              ///< may be a link itself, and is to be known again
    bool isClockForeign = false;      ///< another machine's or program's clock gives the times
    std::int64_t knownTime = 0;  ///< of the last listing; if above 0 and still its time: not read
    std::uint64_t knownIdentity = 0;  ///< a folder that has another one is read in any case
};

/// Reads the folder at `path`, of any length. Blocks for as long as the disk takes; any thread.
FolderListing listFolder(const std::string &path, const ListingOptions &options);

/// What stands at a path, links not followed.
struct EntryState {
    bool exists = false;
    EntryKind kind = EntryKind::other;
    std::uint32_t changeTime = 0;  ///< of its contents, in seconds since 1970; 0 if before
    /// Set if the folder ignores case and holds the name in another one: that. Then nothing exists.
    std::string keptAs;
};

/// A folder held open to look at its entries, whatever path it has meanwhile. One thread.
class OpenFolder {
public:
    OpenFolder() = default;
    ~OpenFolder() { close(); }
    OpenFolder(const OpenFolder &) = delete;
    OpenFolder &operator=(const OpenFolder &) = delete;

    /// False if there is no folder at `path`, or another one than `identity` says (0: any will do).
    bool open(const std::string &path, bool followsLink, std::uint64_t identity);
    void close();
    /// The entry of exactly this name in the open folder, links not followed. In a folder that
    /// ignores case, names that come or go after the first call are not seen until it is opened
    /// again.
    EntryState stateOf(const std::string &name);

private:
    enum class Case { unknown, matters, isIgnored };

    bool ignoresCase(const std::string &name, const struct stat &status);

    int _descriptor = -1;
    Case _case = Case::unknown;
    std::optional<FolderListing> _listing;  // of a folder that ignores case
};

/// Whether an entry of this name is in the index, wherever it is met: in a listing, by a change or
/// by a check. Hidden ones are not. Which folders are entered is the crawl plan's.
bool isIndexedName(std::string_view name);

/// An open descriptor of the folder at `path`, of any length, or -1.
int openFolder(const std::string &path, bool followsLink);

}  // namespace vellumhound::index
