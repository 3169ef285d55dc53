// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/Worker.h"

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
    _jobs.push_front(std::move(job));
    _changed.notify_one();
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
    if (_jobs.empty() || _isStopped)
        return false;
    auto job = std::move(_jobs.front());
    _jobs.pop_front();
    lock.unlock();
    auto completion = job();
    job = {};
    lock.lock();
    _done.push_back(std::move(completion));
    const bool isFirst = _done.size() == 1;
    if (isFirst && _wakeOwner) {
        lock.unlock();
        _wakeOwner();
        lock.lock();
    }
    return true;
}

void Worker::run()
{
    std::unique_lock lock(_mutex);
    while (!_isStopped) {
        if (!stepLocked(lock))
            _changed.wait(lock, [this] { return _isStopped || !_jobs.empty(); });
    }
}

void Worker::stop()
{
    const std::lock_guard lock(_mutex);
    _isStopped = true;
    _jobs.clear();
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
