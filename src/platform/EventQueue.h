// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HotKeyCenter.h"

#include <QString>

#include <functional>
#include <optional>

namespace vellumhound::platform {

/// One event on its way to our own windows.
struct QueuedEvent {
    int type = 0;  ///< 10 a key went down, 11 a key came up; anything else passes unread
    std::optional<HotKeyEvent> eventRef;  ///< what is known of the key; absent for some events
    std::uint64_t ticket = 0;             ///< by which the queue knows it again

    bool operator==(const QueuedEvent &) const = default;
};

/// The events of our own process, before a window of ours gets them. Main thread. Where there is
/// none, HotKeyCenter gives the raw keys.
class EventQueue {
public:
    virtual ~EventQueue() = default;

    /// Calls `beforeSources` each time that events may be waiting while the loop runs in `mode`. A
    /// handle for removeObserver, never 0.
    virtual int addObserver(const QString &mode, std::function<void()> beforeSources) = 0;
    virtual void removeObserver(int handle) = 0;

    /// Takes the first waiting event out; nothing if none waits. An event that is not put back is
    /// consumed.
    virtual std::optional<QueuedEvent> nextEvent() = 0;
    /// Puts an event back, behind all that wait.
    virtual void postEvent(const QueuedEvent &event) = 0;
};

}  // namespace vellumhound::platform
