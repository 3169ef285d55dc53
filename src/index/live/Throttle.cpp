// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Throttle.h"

#include <algorithm>
#include <utility>

namespace vellumhound::index {

using namespace std::chrono_literals;
using Rest = IndexStatus::Rest;

namespace {

constexpr std::chrono::milliseconds shortestRest = 250ms;
constexpr std::chrono::milliseconds longestRest = 5s;
constexpr std::chrono::milliseconds longestRestOfFirstCrawl = 2s;
constexpr std::chrono::milliseconds firstCrawlBetweenRests = 500ms;
/// Whoever learns that power is no longer saved can cut it short.
constexpr std::chrono::milliseconds restOnSavedPower = 30s;

}  // namespace

Throttle::Throttle(Pressure pressure, std::function<Pressure::Time()> now)
    : _pressure(std::move(pressure))
    , _now(std::move(now))
    , _nextRest(shortestRest)
    , _worksUntil(Pressure::Time::min())
{
}

std::chrono::milliseconds Throttle::restBefore(Work work)
{
    if (std::exchange(_isResting, false))
        _pressure.endRest();
    const bool isFirstCrawl = work == Work::firstCrawl;
    if (!isFirstCrawl && _savesPower)
        return beginRest(Rest::powerIsSaved, restOnSavedPower);
    if (isFirstCrawl && _now() < _worksUntil)
        return 0ms;
    if (!_pressure.shouldPause())
        return goOn();
    const auto duration = std::min(_nextRest, isFirstCrawl ? longestRestOfFirstCrawl : longestRest);
    _nextRest = std::min(2 * duration, longestRest);
    if (isFirstCrawl)
        _worksUntil = _now() + duration + firstCrawlBetweenRests;
    return beginRest(Rest::machineIsBusy, duration);
}

std::chrono::milliseconds Throttle::beginRest(Rest reason, std::chrono::milliseconds duration)
{
    _state = reason;
    _isResting = true;
    _pressure.beginRest();
    return duration;
}

std::chrono::milliseconds Throttle::goOn()
{
    _state = Rest::none;
    _nextRest = shortestRest;
    return 0ms;
}

}  // namespace vellumhound::index
