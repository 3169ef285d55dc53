// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/live/Worker.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vellumhound::index {

/// Reads one file system that may cease to answer, on a thread of its own that nobody waits for:
/// not who asks, not the destructor, not the end of the process. There is one thread at most, so a
/// file system that stays dead costs one that sleeps.
///
/// A job must hold all that it uses: it can come to its end long after this object. Completions are
/// run by the owner alone, and only those of jobs that were not given up.
class MountReader {
public:
    using Clock = std::chrono::steady_clock;

    /// `wakeOwner` is called when there is something to take, from the thread and never after the
    /// destructor. A job that takes longer than `limit` shows that the file system is hung.
    MountReader(
        std::string mountPoint, std::function<void()> wakeOwner, std::chrono::milliseconds limit);
    ~MountReader();
    MountReader(const MountReader &) = delete;
    MountReader &operator=(const MountReader &) = delete;

    void post(Worker::Job job, Clock::time_point now);
    std::vector<Worker::Completion> takeDone(Clock::time_point now);
    /// When giveUpIfHung() is to be called; absent while nothing is being read.
    std::optional<Clock::time_point> due() const;
    /// If a job has taken too long, forgets all jobs. True if that was so. Later jobs wait until
    /// the one that hangs has ended.
    bool giveUpIfHung(Clock::time_point now);
    /// A job that was given up has not ended yet.
    bool isHung() const;
    /// Asked for and neither done nor given up.
    std::size_t outstandingCount() const { return _outstanding; }
    const std::string &mountPoint() const { return _mountPoint; }

private:
    struct Shared;

    const std::string _mountPoint;
    const std::chrono::milliseconds _limit;
    const std::shared_ptr<Shared> _shared;
    std::size_t _outstanding = 0;
    Clock::time_point _progress{};  // when a job was last seen to end, or the first was asked for
};

}  // namespace vellumhound::index
