// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/NameBlock.h"
#include "index/names/Needle.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace vellumhound::index {

/// Which of the names, 64 by 64, may hold a text: a row of bits, one for every 64 names, for each
/// of 2048 kinds of three bytes in a row. A text can only stand where the rows of all its threes
/// have a bit. Four bytes a name. Pays once a scan of everything takes long.
///
/// Made from a block that is complete, and of use for that one alone. Never changes; any thread.
class BlockFilter {
public:
    /// With fewer names a scan is as fast.
    static constexpr std::uint32_t usualLeast = 2'000'000;
    static constexpr std::uint32_t recordsPerBlock = 64;

    explicit BlockFilter(const NameBlock &names);

    using Range = std::pair<std::uint32_t, std::uint32_t>;
    /// The records [first, end) as ranges, ascending, outside of which no name holds the needle.
    /// Absent if that is not worth it: the needle has less than three bytes, or more than half of
    /// the names remain.
    std::optional<std::vector<Range>> narrowed(
        const Needle &needle, std::uint32_t first, std::uint32_t end) const;
    std::size_t memoryBytes() const { return _rows.size() * sizeof(std::uint64_t); }

private:
    static constexpr std::uint32_t rowCount = 2048;

    std::uint32_t _recordCount = 0;
    std::size_t _wordsPerRow = 0;
    std::vector<std::uint64_t> _rows;
};

}  // namespace vellumhound::index
