// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace vellumhound::index {

class Throttle;

/// Jobs that read the disk or build tables, done one after the other off the index's own thread.
/// A job gives back what its owner does with the outcome, on the owner's thread.
///
/// post(), takeDone() by the owner; step() by the thread that works. Outlives both.
class Worker {
public:
    using Completion = std::function<void()>;
    using Job = std::function<Completion()>;

    /// `wakeOwner` is called, on the working thread, when there is something to take.
    explicit Worker(std::function<void()> wakeOwner);

    /// run() rests between jobs as `throttle` says, but never before urgent ones. Before run();
    /// outlives it.
    void setThrottle(Throttle *throttle) { _throttle = throttle; }
    /// Any thread. A rest ends, because what it was for may have passed.
    void wake();

    void post(Job job);
    /// In front of everything that waits.
    void postUrgent(Job job);
    /// Done when nothing else waits, and only while the machine has nothing better to do.
    void postIdle(Job job);
    /// What to run for the jobs done so far, in the order in which they were done.
    std::vector<Completion> takeDone();

    /// Does one job. False if there was none.
    bool step();
    /// Steps until stop() is called, asleep while there is nothing to do.
    void run();
    /// Any thread. What waits is dropped.
    void stop();
    /// Any thread. Calls the owner as if there were something to take.
    void wakeOwner() const;

private:
    bool stepLocked(std::unique_lock<std::mutex> &lock);
    bool hasJobs() const { return !_urgentJobs.empty() || !_jobs.empty() || !_idleJobs.empty(); }
    void rest(std::unique_lock<std::mutex> &lock);

    std::function<void()> _wakeOwner;
    std::mutex _mutex;
    std::condition_variable _changed;
    Throttle *_throttle = nullptr;
    std::deque<Job> _urgentJobs;
    std::deque<Job> _jobs;
    std::deque<Job> _idleJobs;
    std::vector<Completion> _done;
    bool _isWoken = false;
    bool _isStopped = false;
};

/// Puts the calling thread behind everything else: processor and disk only when nobody else wants
/// them.
void lowerThreadPriority();

}  // namespace vellumhound::index
