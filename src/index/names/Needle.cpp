// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/Needle.h"

#include "base/Fold.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace vellumhound::index {

namespace {

ByteFrequencies guessFrequencies()
{
    ByteFrequencies frequencies{};
    for (std::size_t byte = 0x80; byte < frequencies.size(); ++byte)
        frequencies[byte] = 20;
    for (const std::size_t lead : {0xD0U, 0xD1U, 0xC3U, 0xE3U, 0xE4U})
        frequencies[lead] = 60;
    const std::string_view commonFirst = "eaotinsrlcdpm.u_-ghf02b1y x3vkj4w5698z7q";
    for (std::size_t i = 0; i < commonFirst.size(); ++i)
        frequencies[static_cast<unsigned char>(commonFirst[i])] = std::uint32_t(1000 - 20 * i);
    return frequencies;
}

bool isSmallLetter(char c)
{
    return c >= 'a' && c <= 'z';
}

}  // namespace

const ByteFrequencies &usualFrequencies()
{
    static const ByteFrequencies frequencies = guessFrequencies();
    return frequencies;
}

Needle::Needle(std::string_view text, const ByteFrequencies &frequencies)
    : _bytes(base::fold(text))
{
    if (_bytes.find('\0') != std::string::npos || _bytes.size() > longest)
        _bytes.clear();
    for (const char c : _bytes)
        _caseBits += isSmallLetter(c) ? '\x20' : '\0';

    std::vector<std::uint32_t> places(_bytes.size());
    std::iota(places.begin(), places.end(), 0U);
    const auto frequencyAt = [&](std::uint32_t place) {
        return frequencies[static_cast<unsigned char>(_bytes[place])];
    };
    std::stable_sort(places.begin(), places.end(),
        [&](std::uint32_t a, std::uint32_t b) { return frequencyAt(a) < frequencyAt(b); });
    for (std::size_t i = 0; i < _probes.size() && !places.empty(); ++i)
        _probes[i] = places[std::min(i, places.size() - 1)];
    if (_bytes.empty())
        return;
    constexpr double rarely = 1.0 / 4096;  // of all places
    const auto all = std::accumulate(frequencies.begin(), frequencies.end(), 1.0);
    _isRare = frequencyAt(_probes[0]) / all * frequencyAt(_probes[1]) / all < rarely;
}

bool Needle::isIn(std::string_view name) const
{
    if (isEmpty() || name.size() < size())
        return false;
    const char *end = name.data() + (name.size() - size()) + 1;
    for (const char *at = name.data(); at < end; ++at) {
        if (matchesAt(at))
            return true;
    }
    return false;
}

MatchClass Needle::match(std::string_view name) const
{
    if (!isIn(name))
        return MatchClass::none;
    const std::string closed = '\0' + std::string(name) + '\0';
    auto best = MatchClass::none;
    for (const char *at = closed.data() + 1; at + size() < closed.data() + closed.size(); ++at) {
        if (matchesAt(at))
            best = std::max(best, classOfMatch(at, size()));
    }
    return best;
}

}  // namespace vellumhound::index
