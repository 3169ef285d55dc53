// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace vellumhound::base {

/// Where one-shot waits come from, so that a test can steer them. Main thread only.
class Timer {
public:
    /// A wait that has been asked for; destroying or resetting it calls the wait off.
    class Wait {
    public:
        virtual ~Wait() = default;
    };

    virtual ~Timer() = default;

    /// Calls `block` once, `delay` from now, unless the wait is destroyed before.
    [[nodiscard]] virtual std::unique_ptr<Wait> after(
        std::chrono::milliseconds delay, std::function<void()> block) = 0;
};

/// Waits on the event loop of the main thread.
class EventLoopTimer final : public Timer {
public:
    [[nodiscard]] std::unique_ptr<Wait> after(
        std::chrono::milliseconds delay, std::function<void()> block) override;
};

}  // namespace vellumhound::base
