// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/NameBlock.h"
#include "index/Needle.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vellumhound::index {

/// Where a hit stands among the others, as one number: larger is better, no two hits of one search
/// have the same. From the top bit down: no noise (1 bit), match class (3), depth (4, shallow is
/// better), length (8, short is better), 16 bits free for recency, the record (32, the earlier one
/// first).
struct RankKey {
    std::uint64_t bits = 0;

    static RankKey of(
        bool isNoise, MatchClass match, unsigned depth, std::size_t length, std::uint32_t record)
    {
        const std::uint64_t shortness = 255 - (length < 255 ? length : 255);
        return {std::uint64_t(isNoise ? 0 : 1) << 63 | std::uint64_t(match) << 60 |
                std::uint64_t(Traits::deepest - depth) << 56 | shortness << 48 |
                std::uint64_t(~record)};
    }
    /// No key of a record with these traits and this match is above it.
    static std::uint64_t bound(Traits traits, MatchClass match)
    {
        return std::uint64_t(traits.isNoise() ? 0 : 1) << 63 | std::uint64_t(match) << 60 |
               std::uint64_t(Traits::deepest - traits.depth()) << 56 |
               ((std::uint64_t(1) << 56) - 1);
    }
    std::uint32_t record() const { return ~std::uint32_t(bits); }

    auto operator<=>(const RankKey &) const = default;
};

/// The best keys of all that were offered.
class TopHits {
public:
    /// Keeps the best `limit` of those below `below`.
    explicit TopHits(std::size_t limit, RankKey below = {~std::uint64_t(0)});

    void offer(RankKey key);
    /// A key must be above it to have a chance.
    std::uint64_t threshold() const { return _threshold; }
    /// The least class with which a hit can still enter, whatever else speaks for it.
    MatchClass leastClass() const;
    /// Best first. Ends the collection.
    std::vector<RankKey> take();

private:
    void shrink();

    std::size_t _limit;
    RankKey _below;
    std::uint64_t _threshold = 0;
    std::vector<RankKey> _keys;
};

}  // namespace vellumhound::index
