// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/UseTable.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <unordered_map>

namespace vellumhound::index {

/// Knows when files were last used: what this program has opened, kept in a small file, and what
/// other programs have entered in the desktop's list of recently used files.
///
/// Any thread. Reading and writing may block, so neither table() nor save() is for the main thread.
/// A file that is damaged or cannot be read or written costs one log line each time and nothing
/// else.
class RecentlyUsed {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t mostUses = 1000;          ///< the latest are kept
    static constexpr std::int64_t longestList = 16 << 20;  ///< bytes; a longer one is not read
    static constexpr std::chrono::seconds pause{1};  ///< between two looks at the desktop's list

    struct Places {
        std::string cacheFolder;  ///< where the file `uses` is kept; empty: nowhere
        std::string desktopList;  ///< recently-used.xbel; empty: none
    };
    /// Reads what was saved.
    explicit RecentlyUsed(Places places);

    /// An absolute path, in bytes, was opened at this moment (seconds since 1970).
    void note(const std::string &path, std::uint32_t seconds);
    /// Writes what was noted since the last call, if anything was.
    void save();
    /// All uses known by now. Looks whether the desktop's list has changed, unless it did so less
    /// than a pause before `now`.
    std::shared_ptr<const UseTable> table(Clock::time_point now);

private:
    using Uses = std::unordered_map<std::string, std::uint32_t>;

    /// What tells one state of a file from another.
    struct Stamp {
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;
        std::int64_t size = 0;
        ino_t inode = 0;

        bool operator==(const Stamp &) const = default;
    };
    void readSaved();
    void lookAtDesktopList();
    std::string savedPath() const { return _places.cacheFolder + "/uses"; }

    const Places _places;

    std::mutex _savingMutex;  // held while a file is being written; taken before the other
    std::mutex _mutex;
    Uses _own;
    bool _isUnsaved = false;
    std::shared_ptr<const UseTable> _table;  // null once something has changed

    std::mutex _listMutex;  // what table() alone uses
    Uses _desktop;
    std::optional<Stamp> _stamp;
    std::optional<Clock::time_point> _lookedAt;
};

/// The uses that a list of recently used files (XBEL) tells of: local files only, each at the
/// latest of its times. What stands before a damage counts. False if there was one.
bool parseRecentlyUsed(
    const QByteArray &xbel, std::unordered_map<std::string, std::uint32_t> &uses);

}  // namespace vellumhound::index
