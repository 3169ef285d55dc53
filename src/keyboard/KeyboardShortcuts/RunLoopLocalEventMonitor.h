// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/EventQueue.h"

#include <functional>
#include <memory>
#include <optional>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// Sees the key events of our own process before anybody else while the loop runs in one mode, and
/// takes out those that its callback consumes. All others reach their windows in their old order.
/// Main thread.
class RunLoopLocalEventMonitor {
public:
    /// Gives the event back, gives another, or gives nothing to consume it.
    using Callback =
        std::function<std::optional<platform::QueuedEvent>(const platform::QueuedEvent &)>;

    /// `eventMask` has one bit for each type of event, counted from 0. `queue` outlives the
    /// monitor.
    RunLoopLocalEventMonitor(platform::EventQueue &queue, std::uint64_t eventMask,
        QString runLoopMode, Callback callback);
    ~RunLoopLocalEventMonitor();
    Q_DISABLE_COPY_MOVE(RunLoopLocalEventMonitor)

    /// Each may be called twice, and from the callback: what waits then passes unseen.
    void start();
    void stop();
    bool isRunning() const { return bool(_run); }

private:
    void drain();

    platform::EventQueue &_queue;
    std::uint64_t _eventMask;
    QString _runLoopMode;
    Callback _callback;
    int _observer = 0;
    std::shared_ptr<bool> _run;  // while it runs; false for whoever still drains when it has ended
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
