// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/Ranking.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace vellumhound::index {

TopHits::TopHits(std::size_t limit, RankKey below)
    : _limit(std::max<std::size_t>(limit, 1))
    , _below(below)
{
    _keys.reserve(2 * _limit);
}

void TopHits::offer(RankKey key)
{
    if (key.bits <= _threshold || key >= _below)
        return;
    _keys.push_back(key);
    if (_keys.size() >= 2 * _limit)
        shrink();
}

MatchClass TopHits::leastClass() const
{
    const bool isNoiseOut = (_threshold >> 63) != 0;
    return isNoiseOut ? MatchClass((_threshold >> 60) & 7) : MatchClass::none;
}

void TopHits::shrink()
{
    if (_keys.size() <= _limit)
        return;
    const auto last = _keys.begin() + std::ptrdiff_t(_limit) - 1;
    std::nth_element(_keys.begin(), last, _keys.end(), std::greater<>());
    _keys.resize(_limit);
    _threshold = _keys.back().bits;
}

std::vector<RankKey> TopHits::take()
{
    shrink();
    std::sort(_keys.begin(), _keys.end(), std::greater<>());
    return std::exchange(_keys, {});
}

}  // namespace vellumhound::index
