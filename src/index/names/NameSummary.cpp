// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/NameSummary.h"

#include "index/names/NameBlock.h"

#include <algorithm>
#include <cstring>

namespace vellumhound::index {

NameSummary::NameSummary(const NameBlock &block)
{
    const auto extent = block.published();
    _count = extent.end / stretchBytes + 1;
    _newest = std::make_unique<std::atomic<std::uint32_t>[]>(_count);
    _best = std::make_unique<std::uint8_t[]>(_count);
    const auto worst = Traits::of(EntryKind::file, Traits::deepest, true);
    std::fill(_best.get(), _best.get() + _count, worst.bits);
    std::size_t from = NameBlock::firstByte;
    for (std::uint32_t record = 0; record < extent.count; ++record) {
        const auto to = from + std::strlen(block.data() + from);
        const auto traits = block.traits(record);
        for (auto stretch = from / stretchBytes; stretch <= to / stretchBytes; ++stretch) {
            const auto best = bestTraits(stretch);
            _best[stretch] = Traits::of(EntryKind::file, std::min(best.depth(), traits.depth()),
                best.isNoise() && traits.isNoise())
                                 .bits;
        }
        noteChangeTime(from, to, block.changeTime(record));
        from = to + 1;
    }
}

Traits NameSummary::bestTraits(std::size_t stretch) const
{
    return {_best[stretch]};
}

void NameSummary::noteChangeTime(std::size_t from, std::size_t to, std::uint32_t seconds)
{
    for (auto stretch = from / stretchBytes; stretch <= to / stretchBytes; ++stretch) {
        if (seconds > newestChange(stretch))
            _newest[stretch].store(seconds, std::memory_order_relaxed);
    }
}

}  // namespace vellumhound::index
