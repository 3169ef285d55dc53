// SPDX-License-Identifier: GPL-3.0-or-later
// long: the promise, its awaiters and the handle are one protocol and are read together
#pragma once

#include "base/MainQueue.h"

#include <coroutine>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace vellumhound::base {

/// What a task, what it waits for, and its handle share.
struct TaskState {
    bool isCancelled = false;
    bool isFinished = false;
    std::function<void()>
        onCancel;  ///< set while the body waits for something that cancellation ends
};

namespace detail {

template <class... Args> MainQueue &queueAmong(Args &...args)
{
    MainQueue *found = nullptr;
    const auto look = [&found]<class A>(A &arg) {
        if constexpr (std::is_same_v<std::remove_cv_t<A>, MainQueue>)
            found = &arg;
        else if constexpr (requires {
                               {
                                   arg.mainQueue()
                                   } -> std::same_as<MainQueue &>;
                           }) {
            if (!found)
                found = &arg.mainQueue();
        }
    };
    (look(args), ...);
    Q_ASSERT(found);
    return *found;
}

template <class Awaitable>
decltype(auto) bound(Awaitable &&awaitable, const std::shared_ptr<TaskState> &state)
{
    awaitable.bind(state);
    return std::forward<Awaitable>(awaitable);
}

}  // namespace detail

/// A coroutine on the main thread that can be cancelled. Its body begins in the next turn, through
/// the MainQueue found among the coroutine's parameters (or the `mainQueue()` of one of them, such
/// as the object whose member it is). The frame lives until the body ends; the handle may go
/// earlier.
///
/// Cancelling is a request: the wait that stands at that moment ends at once, the body reads
/// `co_await isTaskCancelled()` and goes its way to the end. Write task bodies as named functions
/// with parameters by value (references only to what outlives every task), never as capturing
/// lambdas.
class Task {
public:
    struct promise_type {
        template <class... Args>
        explicit promise_type(Args &...args)
            : queue(detail::queueAmong(args...))
        {
        }

        Task get_return_object() { return Task(state); }
        auto initial_suspend() noexcept
        {
            struct Start {
                MainQueue &queue;
                bool await_ready() const noexcept { return false; }
                void await_suspend(std::coroutine_handle<> handle) const
                {
                    // The block owns the frame until it has begun, so a queue that goes first frees
                    // it.
                    queue.post(
                        [frame = std::make_shared<Frame>(handle)] { frame->take().resume(); });
                }
                void await_resume() const noexcept {}
            };
            return Start{queue};
        }
        std::suspend_never final_suspend() noexcept
        {
            state->isFinished = true;
            state->onCancel = {};
            return {};
        }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
        template <class Awaitable> decltype(auto) await_transform(Awaitable &&awaitable)
        {
            return detail::bound(std::forward<Awaitable>(awaitable), state);
        }

        std::shared_ptr<TaskState> state = std::make_shared<TaskState>();
        MainQueue &queue;
    };

    /// Ends the wait that the body stands in, if any. Without effect on a finished task, and once
    /// only.
    void cancel()
    {
        if (_state->isFinished || std::exchange(_state->isCancelled, true))
            return;
        if (auto end = std::exchange(_state->onCancel, {}))
            end();
    }
    bool isFinished() const { return _state->isFinished; }
    bool isCancelled() const { return _state->isCancelled; }

private:
    struct Frame {
        explicit Frame(std::coroutine_handle<> h)
            : handle(h)
        {
        }
        ~Frame()
        {
            if (handle)
                handle.destroy();
        }
        Q_DISABLE_COPY_MOVE(Frame)
        std::coroutine_handle<> take() { return std::exchange(handle, {}); }
        std::coroutine_handle<> handle;
    };

    explicit Task(std::shared_ptr<TaskState> state)
        : _state(std::move(state))
    {
    }
    std::shared_ptr<TaskState> _state;
};

/// Whether the task that awaits it has been cancelled. Never suspends.
struct isTaskCancelled {
    void bind(const std::shared_ptr<TaskState> &state) { _state = state.get(); }
    bool await_ready() const { return true; }
    void await_suspend(std::coroutine_handle<>) const {}
    bool await_resume() const { return _state->isCancelled; }

private:
    TaskState *_state = nullptr;
};

/// A step of a task, told as a function of its own: begins when it is awaited, in the same turn,
/// and shares the cancellation of the task that awaits it. Awaited exactly once.
template <class T> class Step {
public:
    struct promise_type {
        Step get_return_object()
        {
            return Step(std::coroutine_handle<promise_type>::from_promise(*this));
        }
        std::suspend_always initial_suspend() noexcept { return {}; }
        auto final_suspend() noexcept
        {
            struct GoOn {
                bool await_ready() const noexcept { return false; }
                std::coroutine_handle<> await_suspend(
                    std::coroutine_handle<promise_type> handle) const noexcept
                {
                    const auto &promise = handle.promise();
                    return promise.isInFirstRun ? std::noop_coroutine() : promise.awaiting;
                }
                void await_resume() const noexcept {}
            };
            return GoOn{};
        }
        void return_value(T v) { value.emplace(std::move(v)); }
        void unhandled_exception() { std::terminate(); }
        template <class Awaitable> decltype(auto) await_transform(Awaitable &&awaitable)
        {
            return detail::bound(std::forward<Awaitable>(awaitable), state);
        }

        std::shared_ptr<TaskState> state;
        std::coroutine_handle<> awaiting;
        std::optional<T> value;
        bool isInFirstRun = false;  // whoever awaits stands below on the stack
    };

    Step(Step &&other) noexcept
        : _handle(std::exchange(other._handle, {}))
    {
    }
    Step &operator=(Step &&) = delete;
    ~Step()
    {
        if (_handle)
            _handle.destroy();
    }

    void bind(const std::shared_ptr<TaskState> &state) { _handle.promise().state = state; }
    bool await_ready() const { return false; }
    /// A step that ends without waiting returns here like a call: thousands of them in a loop need
    /// no more stack than one, whether or not the compiler turns transfers into jumps.
    bool await_suspend(std::coroutine_handle<> awaiting)
    {
        auto &promise = _handle.promise();
        promise.awaiting = awaiting;
        promise.isInFirstRun = true;
        _handle.resume();
        promise.isInFirstRun = false;
        return !_handle.done();
    }
    T await_resume() { return std::move(*_handle.promise().value); }

private:
    explicit Step(std::coroutine_handle<promise_type> handle)
        : _handle(handle)
    {
    }
    std::coroutine_handle<promise_type> _handle;
};

}  // namespace vellumhound::base
