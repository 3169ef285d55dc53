// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexTables.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace vellumhound::index {

/// When which of the folders that no watch tells of is to be looked at: those that changed lately
/// often, those that have stood still for long seldom, those that could not be read ever more
/// seldom. Of folders due together the shallow and the young come first: what watches are free goes
/// to them.
///
/// Knows neither disk nor watches. One thread.
class Sweeper {
public:
    using Clock = std::chrono::steady_clock;
    struct Pace {
        std::chrono::milliseconds shortest = std::chrono::seconds(30);
        std::chrono::milliseconds longest = std::chrono::minutes(30);
        /// A folder is looked at again after this part of the time since its last change.
        int partOfAge = 20;
    };
    struct Outcome {
        bool isRead = false;
        /// Since its last change; absent if unknown.
        std::optional<std::chrono::seconds> age;
        unsigned depth = 0;
    };

    explicit Sweeper(const Pace &pace)
        : _pace(pace)
    {
    }
    /// A folder that no watch tells of was looked at: when it is to be looked at next.
    void add(FolderId folder, const Outcome &outcome, Clock::time_point now);
    void remove(FolderId folder);
    bool contains(FolderId folder) const { return _entries.contains(folder); }
    std::size_t size() const { return _entries.size(); }

    std::optional<Clock::time_point> due() const;
    /// At most `most` of the folders that are due, which then are due again after the shortest
    /// time, should nobody report on them.
    std::vector<FolderId> takeDue(Clock::time_point now, std::size_t most);
    /// Makes everything due, since there are watches to be had.
    void hasten(Clock::time_point now);
    /// Folders have got other numbers; `nothing` for those that are gone.
    void renumber(const std::function<FolderId(FolderId)> &newNumber);

private:
    struct Entry {
        Clock::time_point due{};
        std::int64_t rank = 0;  // the lower, the sooner among those due together
        int failures = 0;
    };
    using Place = std::tuple<Clock::time_point, std::int64_t, FolderId>;

    void put(FolderId folder, const Entry &entry);

    const Pace _pace;
    std::unordered_map<FolderId, Entry> _entries;
    std::set<Place> _places;
};

}  // namespace vellumhound::index
