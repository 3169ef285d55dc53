// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/NameBlock.h"
#include "index/names/Needle.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vellumhound::index {

/// How recent a moment is, seen from one `now`, as a number that grows with recency. Its steps get
/// longer with age, so that among things that are old alike something else can decide: minutes for
/// a week, days for a year, months beyond. A moment to come counts as now. A value; any thread.
class Recency {
public:
    static constexpr unsigned bits = 14;
    static constexpr unsigned newest = (1U << bits) - 1;

    /// `now` in seconds since 1970.
    explicit Recency(std::int64_t now = 0)
        : _now(now)
    {
    }
    /// 1 to `newest`; 0 for 0, the moment that nobody knows.
    unsigned of(std::uint32_t seconds) const;
    /// The earliest moment that is so recent; 0 for 0, beyond all moments above `newest`.
    std::int64_t earliest(unsigned recency) const;

private:
    std::int64_t _now;
};

/// All that decides on an entry's place among the hits.
struct Relevance {
    bool isNoise = false;
    MatchClass match = MatchClass::none;
    std::uint32_t used = 0;     ///< seconds since 1970; 0: never
    std::uint32_t changed = 0;  ///< seconds since 1970; 0: unknown
    unsigned depth = 0;
    std::size_t length = 0;  ///< of the stored name
};

/// Where a hit stands among the others: larger is better, no two hits of one search have the same.
/// From the top bit of `rank` down: no noise (1 bit), match class (3), recency of the last use (14)
/// and of the last change (14), depth (4, shallow is better), length (8, short is better). Then the
/// record, the earlier one first.
struct RankKey {
    static constexpr unsigned noiseShift = 63;
    static constexpr unsigned classShift = 60;
    static constexpr unsigned useShift = 46;
    static constexpr unsigned changeShift = 32;
    static constexpr unsigned depthShift = 28;
    static constexpr unsigned lengthShift = 20;

    std::uint64_t rank = 0;
    std::uint32_t order = 0;  ///< ~record

    static RankKey of(const Relevance &relevance, const Recency &recency, std::uint32_t record);
    /// Above every hit's.
    static constexpr RankKey aboveAll() { return {~std::uint64_t(0), ~std::uint32_t(0)}; }
    std::uint32_t record() const { return ~order; }

    auto operator<=>(const RankKey &) const = default;
};

/// What a hit that nobody has used must have to get into a list that is full, split up so that a
/// scan can ask with what it has at hand. Never says no to a hit whose key is above the threshold.
class Bar {
public:
    /// Everything passes.
    Bar() = default;
    Bar(RankKey threshold, const Recency &recency);

    bool mayPass(Traits traits, MatchClass match, std::uint32_t changed) const
    {
        // One branch, not five: they would be guessed wrong too often.
        const unsigned group = groupOf(traits.isNoise(), match);
        const bool isRecent =
            (changed >= _aboveFrom) | ((changed >= _earliest) & (traits.depth() <= _deepest));
        return ((group > _group) | ((group == _group) & isRecent)) != 0;
    }

private:
    static unsigned groupOf(bool isNoise, MatchClass match)
    {
        return (isNoise ? 0U : 8U) + unsigned(match);
    }

    unsigned _group = 0;
    std::int64_t _earliest = 0;   // change times before it are too old
    std::int64_t _aboveFrom = 0;  // from here on they are more recent than the threshold's
    unsigned _deepest = Traits::deepest;
};

/// The best keys of all that were offered.
class TopHits {
public:
    /// Keeps the best `limit` of those below `below`.
    TopHits(std::size_t limit, const Recency &recency, RankKey below = RankKey::aboveAll());

    const Recency &recency() const { return _recency; }
    void offer(RankKey key);
    /// A key must be above it to have a chance.
    RankKey threshold() const { return _threshold; }
    Bar bar() const;
    /// The least class with which a hit can still enter, whatever else speaks for it.
    MatchClass leastClass() const;
    /// Best first. Ends the collection.
    std::vector<RankKey> take();

private:
    void shrink();

    std::size_t _limit;
    Recency _recency;
    RankKey _below;
    RankKey _threshold;
    std::vector<RankKey> _keys;
};

}  // namespace vellumhound::index
