// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace vellumhound::index {

class NameBlock;
struct Traits;

/// The best that any name in a stretch of a block has to show for itself, stretch by stretch: no
/// noise, the least depth, the newest change. A scan need not look at the hits in a stretch whose
/// best is not good enough.
///
/// Made from a block that is complete; change times may be raised later, by one thread, while
/// others read. What it says is never too little.
class NameSummary {
public:
    static constexpr std::size_t stretchBytes = 1024;

    explicit NameSummary(const NameBlock &block);

    /// Of the stretch that begins at byte `stretch` * stretchBytes.
    Traits bestTraits(std::size_t stretch) const;
    std::uint32_t newestChange(std::size_t stretch) const
    {
        return _newest[stretch].load(std::memory_order_relaxed);
    }
    /// The name in the bytes [from, to] has got this change time.
    void noteChangeTime(std::size_t from, std::size_t to, std::uint32_t seconds);
    std::size_t memoryBytes() const { return _count * 5; }

private:
    std::size_t _count = 0;
    std::unique_ptr<std::atomic<std::uint32_t>[]> _newest;
    std::unique_ptr<std::uint8_t[]> _best;  // bits of Traits
};

}  // namespace vellumhound::index
