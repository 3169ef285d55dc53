// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Background.h"

#include <deque>
#include <thread>

namespace vellumhound::base {

struct Background::Pool {
    static constexpr int mostWorkers = 16;

    std::mutex mutex;
    std::condition_variable jobsChanged;
    std::deque<Job> jobs;
    int idleWorkers = 0;
    int workers = 0;
    bool isClosed = false;
    std::optional<Handover<std::function<void()>>::Sender> sender;
};

Background::Background(MainQueue &queue)
    : _queue(queue)
    , _pool(std::make_shared<Pool>())
    , _handover(std::make_unique<Handover<std::function<void()>>>(
          [&queue](std::function<void()> block) { queue.post(std::move(block)); }))
{
    _pool->sender = _handover->sender();
}

Background::~Background()
{
    const std::lock_guard lock(_pool->mutex);
    _pool->isClosed = true;
    _pool->jobs.clear();
    _pool->jobsChanged.notify_all();
}

void Background::start(Job job)
{
    const std::lock_guard lock(_pool->mutex);
    _pool->jobs.push_back(std::move(job));
    if (std::size_t(_pool->idleWorkers) >= _pool->jobs.size()) {
        _pool->jobsChanged.notify_one();
    } else if (_pool->workers < Pool::mostWorkers) {
        ++_pool->workers;
        std::thread(&Background::work, _pool).detach();
    }
}

void Background::work(const std::shared_ptr<Pool> &pool)
{
    std::unique_lock lock(pool->mutex);
    while (!pool->isClosed) {
        if (pool->jobs.empty()) {
            ++pool->idleWorkers;
            pool->jobsChanged.wait(lock, [&] { return pool->isClosed || !pool->jobs.empty(); });
            --pool->idleWorkers;
            continue;
        }
        auto job = std::move(pool->jobs.front());
        pool->jobs.pop_front();
        const auto sender = *pool->sender;
        lock.unlock();
        if (auto delivery = job())
            sender.send(std::move(delivery));
        job = {};
        lock.lock();
    }
    --pool->workers;
}

}  // namespace vellumhound::base
