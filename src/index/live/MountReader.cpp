// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/MountReader.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace vellumhound::index {

/// What the thread and the owner both hold.
struct MountReader::Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Worker::Job> jobs;
    std::vector<Worker::Completion> done;
    std::function<void()> wakeOwner;
    std::uint64_t generation = 0;  // jobs of an older one were given up
    bool isReading = false;
    bool isHung = false;
    bool isStarted = false;
    bool isOrphaned = false;

    static void run(const std::shared_ptr<Shared> &shared);
};

void MountReader::Shared::run(const std::shared_ptr<Shared> &shared)
{
    std::unique_lock lock(shared->mutex);
    for (;;) {
        shared->changed.wait(lock, [&] { return shared->isOrphaned || !shared->jobs.empty(); });
        if (shared->isOrphaned)
            return;
        auto job = std::move(shared->jobs.front());
        shared->jobs.pop_front();
        const auto generation = shared->generation;
        shared->isReading = true;
        lock.unlock();
        auto completion = job();
        job = {};
        lock.lock();
        shared->isReading = false;
        shared->isHung = false;
        if (shared->generation == generation)
            shared->done.push_back(std::move(completion));
        // Under the lock: after the owner has gone its callback is no longer there.
        if (!shared->isOrphaned)
            shared->wakeOwner();
    }
}

MountReader::MountReader(
    std::string mountPoint, std::function<void()> wakeOwner, std::chrono::milliseconds limit)
    : _mountPoint(std::move(mountPoint))
    , _limit(limit)
    , _shared(std::make_shared<Shared>())
{
    _shared->wakeOwner = std::move(wakeOwner);
}

MountReader::~MountReader()
{
    const std::lock_guard lock(_shared->mutex);
    _shared->isOrphaned = true;
    _shared->wakeOwner = {};
    _shared->jobs.clear();
    _shared->changed.notify_all();
}

void MountReader::post(Worker::Job job, Clock::time_point now)
{
    if (_outstanding++ == 0)
        _progress = now;
    const std::lock_guard lock(_shared->mutex);
    _shared->jobs.push_back(std::move(job));
    _shared->changed.notify_all();
    if (!std::exchange(_shared->isStarted, true))
        std::thread([shared = _shared] { Shared::run(shared); }).detach();
}

std::vector<Worker::Completion> MountReader::takeDone(Clock::time_point now)
{
    const std::lock_guard lock(_shared->mutex);
    auto done = std::exchange(_shared->done, {});
    if (!done.empty())
        _progress = now;
    _outstanding -= done.size();
    return done;
}

std::optional<MountReader::Clock::time_point> MountReader::due() const
{
    if (_outstanding == 0)
        return std::nullopt;
    return _progress + _limit;
}

bool MountReader::giveUpIfHung(Clock::time_point now)
{
    if (_outstanding == 0 || now < _progress + _limit)
        return false;
    const std::lock_guard lock(_shared->mutex);
    if (!_shared->done.empty())
        return false;
    _shared->jobs.clear();
    ++_shared->generation;
    _shared->isHung = _shared->isReading;
    _outstanding = 0;
    return true;
}

bool MountReader::isHung() const
{
    const std::lock_guard lock(_shared->mutex);
    return _shared->isHung;
}

}  // namespace vellumhound::index
