// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/live/IndexStatus.h"
#include "index/live/Pressure.h"

#include <atomic>
#include <chrono>
#include <functional>

namespace vellumhound::index {

/// Decides, between two slices of background work, whether it goes on at once or rests first. A
/// rest may be cut short at any time, to end or to do what somebody waits for.
///
/// One thread works by it; setSavesPower() and state() from any.
class Throttle {
public:
    enum class Work {
        firstCrawl,  ///< of names: slowed by a busy machine, never stopped; power does not matter
        upkeep,      ///< sweeps, checks, times, texts: rest for as long as it takes
    };

    explicit Throttle(Pressure pressure = Pressure(),
        std::function<Pressure::Time()> now = std::chrono::steady_clock::now);

    /// Zero: do a slice. Else rest for so long and ask again. Rests grow from a quarter of a second
    /// to two seconds (first crawl) or five; between two rests a first crawl gets half a second.
    /// While power is saved upkeep rests by the half minute.
    std::chrono::milliseconds restBefore(Work work);

    void setSavesPower(bool savesPower) { _savesPower = savesPower; }
    /// Why the work rests, if it does.
    IndexStatus::Rest state() const { return _state; }

private:
    std::chrono::milliseconds beginRest(
        IndexStatus::Rest reason, std::chrono::milliseconds duration);
    std::chrono::milliseconds goOn();

    Pressure _pressure;
    const std::function<Pressure::Time()> _now;
    std::atomic<bool> _savesPower = false;
    std::atomic<IndexStatus::Rest> _state = IndexStatus::Rest::none;
    bool _isResting = false;
    std::chrono::milliseconds _nextRest;
    Pressure::Time _worksUntil;  // a first crawl that was slowed, until then in any case
};

}  // namespace vellumhound::index
