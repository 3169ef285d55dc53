// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vellumhound::content {

/// Files that are to be looked at, each once: those that have just changed as soon as they are
/// left alone for a moment, then the others, changed last first. A file that keeps changing gets
/// its turn at growing intervals. Takes the time from its caller. One thread.
class OfferQueue {
public:
    using Time = std::chrono::steady_clock::time_point;

    struct Pace {
        std::chrono::milliseconds calm = std::chrono::seconds(1);     ///< without further changes
        std::chrono::milliseconds longest = std::chrono::seconds(5);  ///< then with them
        /// Between two turns of a file that does not stop changing.
        std::chrono::milliseconds longestPause = std::chrono::minutes(10);
        /// After the first failure to read a file; doubled with each further one.
        std::chrono::milliseconds firstRetry = std::chrono::seconds(5);
        std::chrono::milliseconds longestRetry = std::chrono::hours(1);
    };
    explicit OfferQueue(Pace pace)
        : _pace(pace)
    {
    }

    /// A file has changed just now.
    void changed(const std::string &path, Time now);
    /// There is a file, changed at that time (seconds since 1970).
    void found(const std::string &path, std::int64_t changedAt);
    /// Not before `due`.
    void later(const std::string &path, Time due);
    /// The file could not be read. It gets its turn again after a pause that grows with each
    /// failure, or when it changes; until then it does not count as waiting.
    void failed(const std::string &path, Time now);
    /// The file could be read, or has no text: another failure would be its first.
    void succeeded(const std::string &path) { _failures.erase(path); }
    void forget(const std::string &path);
    void forgetBelow(std::string_view folder) { takeBelow(folder); }
    /// Forgets them, and says which they were.
    std::vector<std::string> takeBelow(std::string_view folder);
    void clear();

    /// The file whose turn it is, no longer in the queue.
    std::optional<std::string> take(Time now);
    /// Whether take() would give one.
    bool hasReady(Time now);
    /// When the next file gets ready; absent if none waits, in the past if one is ready.
    std::optional<Time> nextDue() const;
    /// Files that wait, without those that rest after a failure.
    std::size_t size() const { return _entries.size() - _resting; }

private:
    static constexpr std::int64_t justChanged = INT64_MAX;
    struct Entry {
        std::optional<Time> due;  // absent: ready
        Time offeredAt;           // first, of a file that is changing
        std::int64_t changedAt = 0;
        bool isResting = false;  // after a failure
    };
    using Entries = std::unordered_map<std::string, Entry>;
    struct Turn {
        Time at;
        std::chrono::milliseconds pause{};
    };

    void place(const std::string &path, const Entry &entry);
    void unplace(const Entries::value_type &entry);
    void ripen(Time now);
    void noteTurn(const std::string &path, Time now);

    const Pace _pace;
    Entries _entries;
    std::set<std::pair<Time, const Entries::value_type *>> _waiting;
    std::set<std::pair<std::int64_t, const Entries::value_type *>> _ready;  // last is best
    std::unordered_map<std::string, Turn> _turns;         // of files that changed lately
    std::unordered_map<std::string, unsigned> _failures;  // in a row
    std::size_t _resting = 0;
};

}  // namespace vellumhound::content
