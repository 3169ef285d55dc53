// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// Entries that somebody writes: however often one is written, it is looked at once in each pause.
/// They are told by the watch of their folder, which stays the same when the folder moves.
/// One thread.
class WrittenEntries {
public:
    using Clock = std::chrono::steady_clock;
    struct Entry {
        int watch = -1;
        std::string name;
    };

    explicit WrittenEntries(std::chrono::milliseconds pause);
    void note(int watch, const std::string &name, Clock::time_point now);
    /// When the next entry is to be looked at.
    std::optional<Clock::time_point> due() const;
    std::vector<Entry> takeDue(Clock::time_point now);

private:
    struct Waiting {
        Entry entry;
        Clock::time_point due{};
    };

    const std::chrono::milliseconds _pause;
    std::deque<Waiting> _waiting;  // in the order in which they are due
    std::unordered_set<std::string> _known;
};

}  // namespace vellumhound::index
