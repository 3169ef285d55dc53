// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/MountTable.h"
#include "index/live/MountReader.h"
#include "index/names/IndexView.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// The readers of the mounts that may cease to answer, one for each on which a root lies, and which
/// of them hang at the moment.
///
/// Owned by the live index, on its thread.
class MountReaders {
public:
    using Clock = std::chrono::steady_clock;

    /// `wakeOwner` is called, by the readers' threads, when there is something to take. A job that
    /// takes longer than `limit` shows that its mount hangs.
    MountReaders(std::function<void()> wakeOwner, std::chrono::milliseconds limit);

    /// Takes over which mounts there are and which roots; both replace the former ones. A reader
    /// is kept even when nothing is left for it.
    void assign(const std::vector<Mount> &mounts, const std::vector<IndexRoot> &roots);
    /// The mounts that may cease to answer.
    const std::vector<Mount> &slowMounts() const { return _slowMounts; }
    /// Null: the root lies on none of them, the worker reads it.
    MountReader *readerOf(std::uint32_t root) const;

    std::vector<Worker::Completion> takeDone(Clock::time_point now);
    /// When giveUpHung() is to be called; absent while nothing is being read.
    std::optional<Clock::time_point> due() const;
    /// The readers that have just given up what they were to read. A line in the log says when a
    /// mount ceases to answer and when it answers again.
    std::vector<const MountReader *> giveUpHung(Clock::time_point now);
    /// The mount points that do not answer.
    const std::unordered_set<std::string> &hung() const { return _hung; }

private:
    const std::function<void()> _wakeOwner;
    const std::chrono::milliseconds _limit;
    std::vector<Mount> _slowMounts;
    std::map<std::string, std::unique_ptr<MountReader>> _readers;  // by mount point
    std::vector<MountReader *> _readerOf;                          // by root
    std::unordered_set<std::string> _hung;
};

}  // namespace vellumhound::index
