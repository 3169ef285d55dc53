// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/BlockFilter.h"

#include <algorithm>

namespace vellumhound::index {

namespace {

/// A byte as needles have it: letters of ASCII small.
std::uint32_t foldedByte(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 'A' && byte <= 'Z' ? byte | 0x20U : byte;
}

std::uint32_t rowOf(std::uint32_t threeBytes)
{
    auto hash = threeBytes * 0x9E3779B1U;
    hash ^= hash >> 15;
    hash *= 0x85EBCA77U;
    return (hash ^ hash >> 13) % 2048;
}

}  // namespace

BlockFilter::BlockFilter(const NameBlock &names)
{
    static_assert(rowCount == 2048);
    const auto extent = names.published();
    _recordCount = extent.count;
    _wordsPerRow = (extent.count / recordsPerBlock + 64) / 64;
    _rows.resize(_wordsPerRow * rowCount);
    std::uint32_t record = 0;
    std::uint32_t three = 0;
    unsigned length = 0;  // of the name so far
    for (std::size_t at = NameBlock::firstByte; at < extent.end; ++at) {
        const char c = names.data()[at];
        if (c == '\0') {
            ++record;
            length = 0;
            continue;
        }
        three = (three << 8 | foldedByte(c)) & 0xFFFFFF;
        if (++length < 3)
            continue;
        const auto block = record / recordsPerBlock;
        _rows[rowOf(three) * _wordsPerRow + block / 64] |= std::uint64_t(1) << (block % 64);
    }
}

std::optional<std::vector<BlockFilter::Range>> BlockFilter::narrowed(
    const Needle &needle, std::uint32_t first, std::uint32_t end) const
{
    if (needle.size() < 3)
        return std::nullopt;
    std::vector<const std::uint64_t *> rows;
    for (std::size_t i = 2; i < needle.size(); ++i) {
        const auto &bytes = needle.bytes();
        const auto row = rowOf(
            foldedByte(bytes[i - 2]) << 16 | foldedByte(bytes[i - 1]) << 8 | foldedByte(bytes[i]));
        rows.push_back(_rows.data() + row * _wordsPerRow);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());

    const auto mostRecords = (end - first) / 2;
    std::uint32_t records = 0;
    std::vector<Range> ranges;
    for (auto word = first / recordsPerBlock / 64; word * 64 * recordsPerBlock < end; ++word) {
        auto blocks = ~std::uint64_t(0);
        for (const auto *row : rows)
            blocks &= row[word];
        for (; blocks != 0; blocks &= blocks - 1) {
            const auto block = word * 64 + std::uint32_t(__builtin_ctzll(blocks));
            const auto from = std::max(first, block * recordsPerBlock);
            const auto to = std::min(end, (block + 1) * recordsPerBlock);
            if (from >= to)
                continue;
            if (!ranges.empty() && ranges.back().second == from)
                ranges.back().second = to;
            else
                ranges.emplace_back(from, to);
            records += to - from;
        }
        if (records > mostRecords)
            return std::nullopt;
    }
    return ranges;
}

}  // namespace vellumhound::index
