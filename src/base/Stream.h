// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Task.h"

#include <deque>

namespace vellumhound::base {

/// Values on their way from a producer to one consuming task, with an unbounded buffer: nothing is
/// dropped. Main thread only. It ends once: by finish(), by the consumer's going, or by the
/// cancellation of the task that waits for the next value; each runs the termination handler, at
/// once.
template <class T> class Stream {
    struct Shared {
        explicit Shared(MainQueue &q)
            : queue(q)
        {
        }
        ~Shared() { Q_ASSERT(!waiting); }

        static void wake(const std::shared_ptr<Shared> &self)
        {
            if (!self->waiting)
                return;
            self->queue.post([self] {
                // Several values ask for several wakes, of which the first may have taken all: a
                // consumer that waits again must not take the next one for the end.
                if (self->buffer.empty() && !self->isEnded)
                    return;
                if (auto handle = std::exchange(self->waiting, {}))
                    handle.resume();
            });
        }
        static void end(const std::shared_ptr<Shared> &self)
        {
            if (std::exchange(self->isEnded, true))
                return;
            if (auto terminated = std::exchange(self->onTermination, {}))
                terminated();
            wake(self);
        }

        MainQueue &queue;
        std::deque<T> buffer;
        bool isEnded = false;
        std::function<void()> onTermination;
        std::coroutine_handle<> waiting;
    };

public:
    /// The write end. Copies write to the same stream and may outlive it.
    class Continuation {
    public:
        /// Without effect once the stream has ended.
        void yield(T value) const
        {
            if (_shared->isEnded)
                return;
            _shared->buffer.push_back(std::move(value));
            Shared::wake(_shared);
        }
        /// What is in the buffer still reaches the consumer.
        void finish() const { Shared::end(_shared); }
        /// On a stream that has ended already it runs at once.
        void setOnTermination(std::function<void()> handler) const
        {
            if (_shared->isEnded)
                handler();
            else
                _shared->onTermination = std::move(handler);
        }

    private:
        friend class Stream;
        explicit Continuation(std::shared_ptr<Shared> shared)
            : _shared(std::move(shared))
        {
        }
        std::shared_ptr<Shared> _shared;
    };

    /// `build` gets the write end before the constructor returns.
    template <class Build>
    Stream(MainQueue &queue, Build build)
        : _shared(std::make_shared<Shared>(queue))
    {
        build(Continuation(_shared));
    }
    Stream(Stream &&) noexcept = default;
    Stream &operator=(Stream &&) = delete;
    ~Stream()
    {
        if (_shared)
            Shared::end(_shared);
    }

    struct Next {
        void bind(const std::shared_ptr<TaskState> &state) { task = state; }
        bool await_ready() const
        {
            return !shared->buffer.empty() || shared->isEnded || task->isCancelled;
        }
        void await_suspend(std::coroutine_handle<> handle)
        {
            shared->waiting = handle;
            task->onCancel = [kept = shared] { Shared::end(kept); };
        }
        std::optional<T> await_resume()
        {
            task->onCancel = {};
            if (task->isCancelled) {
                Shared::end(shared);
                shared->buffer.clear();
            }
            if (shared->buffer.empty())
                return std::nullopt;
            std::optional<T> value = std::move(shared->buffer.front());
            shared->buffer.pop_front();
            return value;
        }

        std::shared_ptr<Shared> shared;
        std::shared_ptr<TaskState> task;
    };
    /// The next value, or nothing once the stream has ended and is empty, or the task was
    /// cancelled.
    Next next() { return Next{_shared, nullptr}; }

private:
    std::shared_ptr<Shared> _shared;
};

}  // namespace vellumhound::base
