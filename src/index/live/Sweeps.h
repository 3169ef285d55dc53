// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/live/MountReader.h"
#include "index/live/Sweeper.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

namespace vellumhound::index {

/// When the folders that no watch tells of are looked at: one sweeper for those that the worker
/// reads and one for each mount with a reader of its own, so that a slow mount holds up its own
/// folders alone. Folders come in turns. A mount gets its next turn when it has had a rest of
/// nineteen times as long as the last one took: sweeps take a twentieth of its time at most.
///
/// Knows neither disk nor watches. Owned by the live index, on its thread; readers outlive it.
class Sweeps {
public:
    using Clock = Sweeper::Clock;
    /// Folders looked at in one turn: a job of the worker's, or some seconds of a slow mount's.
    static constexpr std::size_t foldersOfWorker = 512;
    static constexpr std::size_t foldersOfReader = 32;

    explicit Sweeps(const Sweeper::Pace &pace)
        : _pace(pace)
    {
    }
    /// A folder that no watch tells of was looked at, or is to be: by `reader`, or by the worker if
    /// that is null.
    void add(FolderId folder, const MountReader *reader, const Sweeper::Outcome &outcome,
        Clock::time_point now);
    void remove(FolderId folder);
    bool contains(FolderId folder) const { return _places.contains(folder); }
    std::size_t size() const { return _places.size(); }

    /// When the next turn is; absent while there is none, or all are under way.
    std::optional<Clock::time_point> due() const;
    struct Turn {
        const MountReader *reader = nullptr;
        std::vector<FolderId> folders;
    };
    /// The turns that are due. None of their mounts gets another one before end() is called.
    std::vector<Turn> takeDue(Clock::time_point now);
    /// The turn of this reader has ended, or was given up; nothing happens if it has none.
    void end(const MountReader *reader, Clock::time_point now);
    bool isUnderWay(const MountReader *reader) const;
    /// Makes everything due that the worker reads, since there are watches to be had.
    void hasten(Clock::time_point now);
    /// Makes everything due and forgets rests.
    void hastenAll(Clock::time_point now);
    /// Folders have got other numbers; `nothing` for those that are gone.
    void renumber(const std::function<FolderId(FolderId)> &newNumber);

private:
    struct Group {
        explicit Group(const Sweeper::Pace &pace)
            : sweeper(pace)
        {
        }
        Sweeper sweeper;
        std::optional<Clock::time_point> started;  // of the turn that is under way
        Clock::time_point restsUntil{};
    };

    const Sweeper::Pace _pace;
    std::unordered_map<const MountReader *, Group> _groups;
    std::unordered_map<FolderId, const MountReader *> _places;
};

}  // namespace vellumhound::index
