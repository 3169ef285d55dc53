// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HotKeyCenter.h"

#include <functional>
#include <utility>

namespace vellumhound::platform {

/// The keys on their way to our own windows, our menus among them, before any window gets one. A
/// way to hot keys whose desktop keeps the keys of a withdrawn hot key from every window offers
/// them here, too.
///
/// One for the process. Main thread; outlives whoever starts it.
class RawKeyFeed {
public:
    /// Gets events of the raw kinds; true if it takes the key, which then reaches nothing else.
    using Receiver = std::function<bool(const HotKeyEvent &)>;

    virtual ~RawKeyFeed() = default;

    /// Gives all keys to `receiver` from now on, and to no earlier one.
    void start(Receiver receiver)
    {
        _receiver = std::move(receiver);
        runningChanged();
    }
    /// The receiver may call it.
    void stop()
    {
        _receiver = nullptr;
        runningChanged();
    }
    bool isRunning() const { return bool(_receiver); }

    /// True if the receiver takes the key; false while the feed is stopped.
    bool offer(const HotKeyEvent &event)
    {
        const auto receiver = _receiver;
        return receiver && receiver(event);
    }

protected:
    virtual void runningChanged() {}

private:
    Receiver _receiver;
};

}  // namespace vellumhound::platform
