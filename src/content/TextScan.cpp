// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/TextScan.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

namespace vellumhound::content {

namespace {

using Block = char __attribute__((vector_size(16)));
using Words = std::uint64_t __attribute__((vector_size(16)));
constexpr std::size_t blocksAtOnce = 4;
constexpr std::size_t stretch = blocksAtOnce * sizeof(Block);

/// How common a byte is in folded text, roughly; the rarer the smaller. Letters in the order of
/// their frequency in European languages and source code.
constexpr auto commonness = [] {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t byte = 0x80; byte < 256; ++byte)
        table[byte] = 90;  // first bytes of letters repeat all through a text that has any
    for (std::size_t byte = '!'; byte < 0x7F; ++byte)
        table[byte] = 60;
    constexpr std::string_view order = "zqjxkvbwygpfumchdlsrnioate ";
    for (std::size_t i = 0; i < order.size(); ++i)
        table[static_cast<unsigned char>(order[i])] = static_cast<std::uint8_t>(70 + 6 * i);
    return table;
}();

Block load(const char *bytes)
{
    Block block;
    std::memcpy(&block, bytes, sizeof block);
    return block;
}

}  // namespace

TextPattern::TextPattern(std::string needle)
    : _needle(std::move(needle))
{
    const auto rarest = [&](std::size_t butNot) {
        std::size_t best = butNot == 0 ? 1 : 0;
        for (std::size_t i = 0; i < _needle.size(); ++i) {
            const auto weight = [&](std::size_t place) {
                return commonness[static_cast<unsigned char>(_needle[place])];
            };
            if (i != butNot && weight(i) < weight(best))
                best = i;
        }
        return best;
    };
    _rare = rarest(std::numeric_limits<std::size_t>::max());
    _other = rarest(_rare);
}

bool TextPattern::isIn(std::string_view text) const
{
    const auto size = _needle.size();
    if (text.size() < size)
        return false;
    const auto places = text.size() - size + 1;
    const auto isAt = [&](std::size_t place) {
        return std::memcmp(text.data() + place, _needle.data(), size) == 0;
    };
    const auto firstWanted = Block{} + _needle[_rare];
    const auto secondWanted = Block{} + _needle[_other];
    std::size_t place = 0;
    for (; place + stretch <= places; place += stretch) {
        const auto *first = text.data() + place + _rare;
        const auto *second = text.data() + place + _other;
        Words any{};
        for (std::size_t i = 0; i < stretch; i += sizeof(Block)) {
            const auto both = (load(first + i) == firstWanted) & (load(second + i) == secondWanted);
            Words words;
            std::memcpy(&words, &both, sizeof words);
            any |= words;
        }
        if ((any[0] | any[1]) == 0)
            continue;
        for (std::size_t i = 0; i < stretch; ++i) {
            if (first[i] == _needle[_rare] && second[i] == _needle[_other] && isAt(place + i))
                return true;
        }
    }
    for (; place < places; ++place) {
        if (isAt(place))
            return true;
    }
    return false;
}

}  // namespace vellumhound::content
