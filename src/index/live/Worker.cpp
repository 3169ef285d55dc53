// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Worker.h"

#include "index/live/Throttle.h"

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

Worker::Worker(std::function<void()> wakeOwner)
    : _wakeOwner(std::move(wakeOwner))
{
}

void Worker::post(Job job)
{
    const std::lock_guard lock(_mutex);
    _jobs.push_back(std::move(job));
    _changed.notify_one();
}

void Worker::postUrgent(Job job)
{
    const std::lock_guard lock(_mutex);
    _urgentJobs.push_front(std::move(job));
    _changed.notify_one();
}

void Worker::postIdle(Job job)
{
    const std::lock_guard lock(_mutex);
    _idleJobs.push_back(std::move(job));
    _changed.notify_one();
}

void Worker::wakeOwner() const
{
    if (_wakeOwner)
        _wakeOwner();
}

std::vector<Worker::Completion> Worker::takeDone()
{
    const std::lock_guard lock(_mutex);
    return std::exchange(_done, {});
}

bool Worker::step()
{
    std::unique_lock lock(_mutex);
    return stepLocked(lock);
}

bool Worker::stepLocked(std::unique_lock<std::mutex> &lock)
{
    auto &jobs = !_urgentJobs.empty() ? _urgentJobs : !_jobs.empty() ? _jobs : _idleJobs;
    if (jobs.empty() || _isStopped)
        return false;
    auto job = std::move(jobs.front());
    jobs.pop_front();
    lock.unlock();
    auto completion = job();
    job = {};
    lock.lock();
    _done.push_back(std::move(completion));
    const bool isFirst = _done.size() == 1;
    if (isFirst) {
        lock.unlock();
        wakeOwner();
        lock.lock();
    }
    return true;
}

void Worker::run()
{
    std::unique_lock lock(_mutex);
    while (!_isStopped) {
        if (!hasJobs()) {
            _changed.wait(lock, [this] { return _isStopped || hasJobs(); });
            continue;  // what comes alone is not excepted from resting
        }
        if (_throttle && _urgentJobs.empty())
            rest(lock);
        stepLocked(lock);
    }
}

void Worker::rest(std::unique_lock<std::mutex> &lock)
{
    const auto isWanted = [this] { return _isStopped || !_urgentJobs.empty(); };
    while (!isWanted()) {
        const auto work = _jobs.empty() ? Throttle::Work::upkeep : Throttle::Work::firstCrawl;
        // Before it is asked: what changes meanwhile is asked about again.
        _isWoken = false;
        lock.unlock();
        const auto duration = _throttle->restBefore(work);
        lock.lock();
        if (duration.count() == 0)
            return;
        // What comes meanwhile and may not wait so long is not held up by what may.
        const bool isUpkeep = work == Throttle::Work::upkeep;
        _changed.wait_for(
            lock, duration, [&] { return _isWoken || isWanted() || (isUpkeep && !_jobs.empty()); });
    }
}

void Worker::wake()
{
    const std::lock_guard lock(_mutex);
    _isWoken = true;
    _changed.notify_all();
}

void Worker::stop()
{
    const std::lock_guard lock(_mutex);
    _isStopped = true;
    _urgentJobs.clear();
    _jobs.clear();
    _idleJobs.clear();
    _changed.notify_all();
}

void lowerThreadPriority()
{
    // Neither is needed for being right, so a refusal is no failure.
    sched_param parameters{};
    ::sched_setscheduler(0, SCHED_IDLE, &parameters);
#ifdef SYS_ioprio_set  // style: not every kernel interface has it
    constexpr int thisThread = 1;
    constexpr int idleClass = 3 << 13;
    ::syscall(SYS_ioprio_set, thisThread, 0, idleClass);
#endif
}

}  // namespace vellumhound::index
