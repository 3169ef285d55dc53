// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexTables.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

namespace vellumhound::index {

/// Finds the folders that change without end (logs, build output), so that they are read now and
/// then instead of being followed. A burst, even of tens of thousands of changes, is no storm: each
/// folder has a store of changes that fills again slowly. Once it is empty the folder is taken off
/// for a while, and for twice as long each time that it storms on after its return.
///
/// Knows neither disk nor watches. One thread.
class StormGuard {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr double burst = 65536;           ///< changes in a row that are followed
    static constexpr double changesPerSecond = 200;  ///< that are followed for ever
    static constexpr double namesPerChange = 16;  ///< copied names that weigh as much as a change
    static constexpr std::size_t fewNames = 1000;
    static constexpr double trial = 1000;  ///< changes followed after a return from being off
    static constexpr std::chrono::milliseconds shortest{100};
    static constexpr std::chrono::milliseconds longest{60'000};

    /// Notes changes in a folder. True if it is to be taken off now.
    bool note(FolderId folder, double changes, Clock::time_point now);
    bool isOff(FolderId folder) const;
    /// Whether a folder that was moved takes along what is known below it. That copies the names,
    /// so they have a store of their own, for all folders together: as many as sixteen changes
    /// each. Folders of few names still find some in it when those of many do not.
    bool copiesMove(bool isOfFewNames, Clock::time_point now);
    /// Notes that a move has copied so many names.
    void noteMove(std::size_t names, Clock::time_point now);
    /// Takes off a folder that is moved while moves do not copy: read again in a while, for which
    /// each such move makes it longer.
    void takeOffMoved(FolderId folder, Clock::time_point now);
    /// How many folders are off.
    std::size_t offCount() const { return _offCount; }
    /// When the next folder that is off is to be read.
    std::optional<Clock::time_point> due() const;
    /// The folders to be read and followed again, on trial.
    std::vector<FolderId> takeDue(Clock::time_point now);
    /// Folders have got other numbers; `nothing` for those that are gone.
    void renumber(const std::function<FolderId(FolderId)> &newNumber);

private:
    struct State {
        double left = burst;
        Clock::time_point noted{};
        int timesOff = 0;
        std::optional<Clock::time_point> offUntil;
    };

    static void refill(State &state, Clock::time_point now);
    static std::chrono::milliseconds nextPause(State &state);
    void forgetCalm(Clock::time_point now);

    std::unordered_map<FolderId, State> _states;  // of folders that changed not long ago
    State _moves;                                 // of all folders together
    std::size_t _forgetAbove = 1024;
    std::size_t _offCount = 0;
};

}  // namespace vellumhound::index
