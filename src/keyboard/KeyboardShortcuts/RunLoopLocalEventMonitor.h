// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/RawKeyFeed.h"

#include <QString>

#include <functional>
#include <optional>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// Sees the keys of our own process before any window of ours gets them, and takes out those that
/// its callback consumes. Main thread.
///
/// The name is given, and so is the mode: the one in which the loop runs while a menu of ours is
/// open. The monitor does not look for it; its owner starts and stops the monitor with the menus.
class RunLoopLocalEventMonitor {
public:
    /// Gives the event back, or gives nothing to consume it.
    using Callback =
        std::function<std::optional<platform::HotKeyEvent>(const platform::HotKeyEvent &)>;

    /// `eventMask` has the bits of the types (EventType) that the callback gets. `feed` outlives
    /// the monitor and serves no other.
    RunLoopLocalEventMonitor(platform::RawKeyFeed &feed, std::uint64_t eventMask,
        QString runLoopMode, Callback callback);
    ~RunLoopLocalEventMonitor();
    Q_DISABLE_COPY_MOVE(RunLoopLocalEventMonitor)

    /// Each may be called twice, and from the callback, in which the monitor may also end.
    void start();
    void stop();
    bool isRunning() const { return _isRunning; }
    const QString &runLoopMode() const { return _runLoopMode; }

private:
    platform::RawKeyFeed &_feed;
    std::uint64_t _eventMask;
    QString _runLoopMode;
    Callback _callback;
    bool _isRunning = false;
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
