// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace vellumhound::platform {

/// One event that is on its way to a window of ours.
struct LocalEvent {
    enum Type : int { leftMouseUp = 2, rightMouseUp = 4, keyDown = 10, keyUp = 11 };

    /// The bit of a type in an event mask.
    static constexpr std::uint64_t maskOf(Type type) { return std::uint64_t(1) << unsigned(type); }

    int type = 0;
    base::KeyEvent key;  ///< of the two key types
    double screenX = 0;  ///< of the two mouse types, in device-independent pixels
    double screenY = 0;

    bool operator==(const LocalEvent &) const = default;
};

/// The keys and clicks of all windows of ours, before any of them gets one. Main thread; outlives
/// its monitors.
class LocalEventSource {
public:
    /// Gives the event back to let it go on, or nothing to consume it. May remove its own monitor
    /// and any other.
    using Handler = std::function<std::optional<LocalEvent>(const LocalEvent &)>;

    virtual ~LocalEventSource() = default;

    /// `eventMask` has the bits of the types that the monitor gets. A handle for removeMonitor,
    /// never 0.
    virtual int addLocalMonitor(std::uint64_t eventMask, Handler handler) = 0;
    virtual void removeMonitor(int handle) = 0;
};

}  // namespace vellumhound::platform
