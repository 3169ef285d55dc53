// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/Ranking.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

namespace vellumhound::index {

namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t day = 24 * 60 * minute;
constexpr std::int64_t week = 7 * day;
constexpr std::int64_t year = 365 * day;
constexpr std::int64_t month = year / 12;
constexpr std::int64_t minuteSteps = week / minute;
constexpr std::int64_t daySteps = (year - week) / day;
constexpr std::int64_t lastStep = Recency::newest - 1;  // 400 years

static_assert(minuteSteps + daySteps < lastStep);

}  // namespace

unsigned Recency::of(std::uint32_t seconds) const
{
    if (seconds == 0)
        return 0;
    const auto age = std::max<std::int64_t>(_now - std::int64_t(seconds), 0);
    std::int64_t step = age / minute;
    if (age >= year)
        step = std::min(minuteSteps + daySteps + (age - year) / month, lastStep);
    else if (age >= week)
        step = minuteSteps + (age - week) / day;
    return newest - unsigned(step);
}

std::int64_t Recency::earliest(unsigned recency) const
{
    if (recency == 0)
        return 0;
    if (recency > newest)
        return std::numeric_limits<std::int64_t>::max();
    const std::int64_t step = newest - recency;
    if (step >= lastStep)
        return 1;
    // The first second of the next step is too old.
    auto age = (step + 1) * minute;
    if (step >= minuteSteps + daySteps)
        age = year + (step + 1 - minuteSteps - daySteps) * month;
    else if (step >= minuteSteps)
        age = week + (step + 1 - minuteSteps) * day;
    return std::max<std::int64_t>(_now - age + 1, 1);
}

RankKey RankKey::of(const Relevance &relevance, const Recency &recency, std::uint32_t record)
{
    const auto shortness = 255 - std::min<std::size_t>(relevance.length, 255);
    const auto shallowness = Traits::deepest - std::min(relevance.depth, Traits::deepest);
    const auto rank = std::uint64_t(relevance.isNoise ? 0 : 1) << noiseShift |
                      std::uint64_t(relevance.match) << classShift |
                      std::uint64_t(recency.of(relevance.used)) << useShift |
                      std::uint64_t(recency.of(relevance.changed)) << changeShift |
                      std::uint64_t(shallowness) << depthShift |
                      std::uint64_t(shortness) << lengthShift;
    return {rank, ~record};
}

Bar::Bar(RankKey threshold, const Recency &recency)
    : _group(unsigned(threshold.rank >> RankKey::classShift))
{
    const auto use = unsigned(threshold.rank >> RankKey::useShift) & Recency::newest;
    const auto change = unsigned(threshold.rank >> RankKey::changeShift) & Recency::newest;
    // Whoever is not used stands behind whoever is.
    _earliest = recency.earliest(use > 0 ? Recency::newest + 1 : change);
    _aboveFrom = recency.earliest(change + 1);
    _deepest = Traits::deepest - (unsigned(threshold.rank >> RankKey::depthShift) & 15);
}

TopHits::TopHits(std::size_t limit, const Recency &recency, RankKey below)
    : _limit(std::max<std::size_t>(limit, 1))
    , _recency(recency)
    , _below(below)
{
    _keys.reserve(std::min<std::size_t>(2 * _limit, 65536));
}

void TopHits::offer(RankKey key)
{
    if (key <= _threshold || key >= _below)
        return;
    _keys.push_back(key);
    // As soon as the list is full there is a threshold; after that it is worth waiting for some.
    if (_keys.size() >= 2 * _limit)
        shrink();
    else if (_keys.size() == _limit && _threshold == RankKey())
        _threshold = *std::min_element(_keys.begin(), _keys.end());
}

Bar TopHits::bar() const
{
    return _threshold == RankKey() ? Bar() : Bar(_threshold, _recency);
}

MatchClass TopHits::leastClass() const
{
    const bool isNoiseOut = (_threshold.rank >> RankKey::noiseShift) != 0;
    return isNoiseOut ? MatchClass((_threshold.rank >> RankKey::classShift) & 7) : MatchClass::none;
}

void TopHits::shrink()
{
    if (_keys.size() <= _limit)
        return;
    const auto last = _keys.begin() + std::ptrdiff_t(_limit) - 1;
    std::nth_element(_keys.begin(), last, _keys.end(), std::greater<>());
    _keys.resize(_limit);
    _threshold = _keys.back();
}

std::vector<RankKey> TopHits::take()
{
    shrink();
    std::sort(_keys.begin(), _keys.end(), std::greater<>());
    return std::exchange(_keys, {});
}

}  // namespace vellumhound::index
