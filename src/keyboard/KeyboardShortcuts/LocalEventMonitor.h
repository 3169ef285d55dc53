// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/LocalEventSource.h"

#include <QtGlobal>

#include <optional>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// Sees the events of our own windows first, from start() until it goes. Main thread; may go while
/// its callback runs.
class LocalEventMonitor {
public:
    using Callback = platform::LocalEventSource::Handler;

    /// `events` has one bit for each type, see platform::LocalEvent. `source` outlives the monitor.
    LocalEventMonitor(platform::LocalEventSource &source, std::uint64_t events, Callback callback);
    ~LocalEventMonitor();
    Q_DISABLE_COPY_MOVE(LocalEventMonitor)

    /// A second call changes nothing.
    void start();
    void stop();

private:
    platform::LocalEventSource &_source;
    std::uint64_t _events;
    Callback _callback;
    std::optional<int> _monitor;  // while it is started
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
