// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Handover.h"
#include "base/Task.h"

#include <chrono>
#include <condition_variable>
#include <utility>

namespace vellumhound::base {

/// Runs file-system work off the main thread. A worker that hangs in a dead mount is left behind
/// and another takes its place (up to 16; later jobs wait for one of them); workers never keep the
/// process from ending. Jobs must own all that they touch.
///
/// Made on the main thread by the composition root; `run` and `finish` are called there.
class Background {
public:
    explicit Background(MainQueue &queue);
    ~Background();
    Q_DISABLE_COPY_MOVE(Background)

    /// Starts `work` on a worker; its value comes back as `done(value)` through the main queue,
    /// unless this object has gone by then. In that case alone `done` is destroyed on the worker.
    template <class T> void run(std::function<T()> work, std::function<void(T)> done)
    {
        start([work = std::move(work), done = std::move(done)]() mutable -> std::function<void()> {
            auto value = std::make_shared<T>(work());
            return [value, done = std::move(done)] { done(std::move(*value)); };
        });
    }

    /// As run(), but waits up to `patience` for the value: `done` is called before this returns if
    /// it came in time, else in a later turn. True if it came in time.
    template <class T>
    bool runWaiting(
        std::chrono::milliseconds patience, std::function<T()> work, std::function<void(T)> done)
    {
        struct Meeting {
            std::mutex mutex;
            std::condition_variable arrived;
            std::optional<T> value;
            bool isGivenUp = false;
            std::function<void(T)> done;  // taken out on the main thread, so that it ends there
        };
        auto meeting = std::make_shared<Meeting>();
        meeting->done = std::move(done);
        start([meeting, work = std::move(work)]() -> std::function<void()> {
            std::optional<T> value(work());
            const std::lock_guard lock(meeting->mutex);
            meeting->value = std::move(value);
            if (!meeting->isGivenUp) {
                meeting->arrived.notify_one();
                return {};
            }
            return [meeting] { std::exchange(meeting->done, {})(std::move(*meeting->value)); };
        });
        std::unique_lock lock(meeting->mutex);
        if (!meeting->arrived.wait_for(
                lock, patience, [&] { return meeting->value.has_value(); })) {
            meeting->isGivenUp = true;
            return false;
        }
        lock.unlock();
        std::exchange(meeting->done, {})(std::move(*meeting->value));
        return true;
    }

    /// Suspends the awaiting task until `work` has run on a worker. If the task is cancelled the
    /// wait ends at once, without a value; what the worker still delivers is dropped.
    template <class T> auto finish(std::function<T()> work)
    {
        struct Slot {
            std::optional<T> value;
            std::coroutine_handle<> waiting;
        };
        struct Awaitable {
            Background &background;
            std::function<T()> work;
            std::shared_ptr<Slot> slot = std::make_shared<Slot>();
            std::shared_ptr<TaskState> task{};

            void bind(const std::shared_ptr<TaskState> &state) { task = state; }
            bool await_ready() const { return task->isCancelled; }
            void await_suspend(std::coroutine_handle<> handle)
            {
                slot->waiting = handle;
                const auto resume = [](const std::shared_ptr<Slot> &kept) {
                    if (auto waiting = std::exchange(kept->waiting, {}))
                        waiting.resume();
                };
                task->onCancel = [kept = slot, resume, &queue = background._queue] {
                    queue.post([kept, resume] { resume(kept); });
                };
                background.run<T>(std::move(work), [kept = slot, resume](T value) {
                    if (kept->waiting)
                        kept->value.emplace(std::move(value));
                    resume(kept);
                });
            }
            std::optional<T> await_resume()
            {
                task->onCancel = {};
                if (task->isCancelled)
                    return std::nullopt;
                return std::move(slot->value);
            }
        };
        return Awaitable{*this, std::move(work)};
    }

private:
    using Job = std::function<std::function<void()>()>;
    struct Pool;

    void start(Job job);
    static void work(const std::shared_ptr<Pool> &pool);

    MainQueue &_queue;
    std::shared_ptr<Pool> _pool;
    std::unique_ptr<Handover<std::function<void()>>> _handover;
};

}  // namespace vellumhound::base
