// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace vellumhound::index {

/// How long programs had to wait for one of the machine's means.
struct Stall {
    double percentOfTenSeconds = 0;      ///< 0 to 100, of the last ten seconds
    std::chrono::microseconds total{0};  ///< since the machine was started

    bool operator==(const Stall &) const = default;
};
struct PressureReading {
    Stall memory;
    Stall io;

    bool operator==(const PressureReading &) const = default;
};
/// What the kernel's files in `folder` say; nothing where there are none.
PressureReading readPressure(const std::string &folder = "/proc/pressure");

/// Whether the machine is so busy that work which nobody waits for had better rest.
///
/// The kernel counts this program's own waiting as well: a crawl of a slow disk alone looks like a
/// busy machine. So what counts after a rest is how much others waited during it. One thread.
class Pressure {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit Pressure(
        std::function<PressureReading()> read = [] { return readPressure(); },
        std::function<Time()> now = std::chrono::steady_clock::now);

    /// Looks at the files at most once a second.
    bool shouldPause();
    /// This program's background work rests from here on.
    void beginRest();
    /// It goes on. A rest too short to tell anything changes nothing.
    void endRest();

private:
    const std::function<PressureReading()> _read;
    const std::function<Time()> _now;
    bool _isHigh = false;
    Time _validUntil;
    PressureReading _atRest;
    Time _restSince;
};

}  // namespace vellumhound::index
