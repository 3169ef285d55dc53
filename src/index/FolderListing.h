// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/ChangeSource.h"
#include "index/NameBlock.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vellumhound::index {

/// What stands in a folder, hidden names left out.
struct FolderListing {
    struct Entry {
        std::uint32_t start = 0;  ///< of the name, in `names`
        std::uint16_t length = 0;
        EntryKind kind = EntryKind::other;
    };

    bool isRead = false;       ///< false: it is not there, no folder, or not to be read
    bool isUnchanged = false;  ///< its time is the one that was known, so it was not read
    int watch = ChangeSource::noWatch;
    std::int64_t time = 0;  ///< change time in nanoseconds; 0 if it cannot be relied upon
    std::string names;
    std::vector<Entry> entries;  ///< by name

    std::string_view nameOf(const Entry &entry) const
    {
        return std::string_view(names).substr(entry.start, entry.length);
    }
};

struct ListingOptions {
    ChangeSource *watchBy = nullptr;  ///< watches the folder before it is read
    bool followsLink = false;         ///< `path` itself may be a link
    std::int64_t knownTime = 0;       ///< a folder that still has this time is not read; 0: read it
};

/// Reads the folder at `path`, of any length. Blocks for as long as the disk takes; any thread.
FolderListing listFolder(const std::string &path, const ListingOptions &options);

/// What stands at a path, links not followed.
struct EntryState {
    bool exists = false;
    EntryKind kind = EntryKind::other;
};
EntryState stateOfEntry(const std::string &path);

/// An open descriptor of the folder at `path`, of any length, or -1.
int openFolder(const std::string &path, bool followsLink);

}  // namespace vellumhound::index
