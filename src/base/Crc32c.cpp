// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Crc32c.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)  // style: the instruction is that of one processor
#include <nmmintrin.h>
#endif

namespace vellumhound::base {

namespace {

constexpr std::size_t lanes = 8;

/// tables[k][b]: what byte b gives with k further bytes behind it, so that eight are done at once.
constexpr auto tables = [] {
    std::array<std::array<std::uint32_t, 256>, lanes> made{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        auto value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = (value >> 1) ^ ((value & 1) != 0 ? 0x82F63B78U : 0U);
        made[0][byte] = value;
    }
    for (std::size_t lane = 1; lane < lanes; ++lane) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const auto before = made[lane - 1][byte];
            made[lane][byte] = (before >> 8) ^ made[0][before & 0xFF];
        }
    }
    return made;
}();

std::uint32_t byteAt(std::span<const std::byte> bytes, std::size_t place)
{
    return std::to_integer<std::uint32_t>(bytes[place]);
}

#if defined(__x86_64__)  // style: the instruction is that of one processor
/// One instruction takes three times as long as the processor needs to begin the next one, so three
/// stretches are gone through side by side.
constexpr std::size_t stretchWords = 512;
constexpr std::size_t stretchBytes = stretchWords * 8;

/// What becomes of a state when the zeros of one stretch pass through it. That is linear, so it is
/// enough to know it for each byte of the state.
class ZeroStretch {
public:
    [[gnu::target("sse4.2")]] ZeroStretch()
    {
        for (unsigned bit = 0; bit < 32; ++bit) {
            std::uint64_t state = std::uint64_t(1) << bit;
            for (std::size_t i = 0; i < stretchWords; ++i)
                state = _mm_crc32_u64(state, 0);
            auto &table = _tables[bit / 8];
            const auto own = std::size_t(1) << (bit % 8);
            for (std::size_t lower = 0; lower < own; ++lower)
                table[own + lower] = table[lower] ^ std::uint32_t(state);
        }
    }
    std::uint64_t after(std::uint64_t state) const
    {
        return _tables[0][state & 0xFF] ^ _tables[1][state >> 8 & 0xFF] ^
               _tables[2][state >> 16 & 0xFF] ^ _tables[3][state >> 24 & 0xFF];
    }

private:
    std::array<std::array<std::uint32_t, 256>, 4> _tables{};
};

std::uint64_t wordAt(const char *at)
{
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

[[gnu::target("sse4.2")]] std::uint32_t crc32cByInstruction(
    const void *bytes, std::size_t count, std::uint32_t before)
{
    static const ZeroStretch zeros;
    const char *at = static_cast<const char *>(bytes);
    std::uint64_t value = std::uint32_t(~before);
    for (; count >= 3 * stretchBytes; count -= 3 * stretchBytes, at += 3 * stretchBytes) {
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (std::size_t i = 0; i < stretchBytes; i += 8) {
            value = _mm_crc32_u64(value, wordAt(at + i));
            second = _mm_crc32_u64(second, wordAt(at + stretchBytes + i));
            third = _mm_crc32_u64(third, wordAt(at + 2 * stretchBytes + i));
        }
        value = zeros.after(zeros.after(value) ^ second) ^ third;
    }
    for (; count >= 8; count -= 8, at += 8)
        value = _mm_crc32_u64(value, wordAt(at));
    auto rest = std::uint32_t(value);
    for (; count > 0; --count, ++at)
        rest = _mm_crc32_u8(rest, static_cast<unsigned char>(*at));
    return ~rest;
}
#endif

}  // namespace

std::uint32_t crc32cByTable(std::span<const std::byte> bytes, std::uint32_t previous)
{
    auto crc = ~previous;
    for (; bytes.size() >= lanes; bytes = bytes.subspan(lanes)) {
        std::uint32_t next = 0;
        for (std::size_t i = 0; i < lanes; ++i) {
            const auto mixed =
                i < 4 ? byteAt(bytes, i) ^ ((crc >> (8 * i)) & 0xFF) : byteAt(bytes, i);
            next ^= tables[lanes - 1 - i][mixed];
        }
        crc = next;
    }
    for (const auto byte : bytes)
        crc = (crc >> 8) ^ tables[0][(crc ^ std::to_integer<std::uint32_t>(byte)) & 0xFF];
    return ~crc;
}

std::uint32_t crc32c(std::span<const std::byte> bytes, std::uint32_t previous)
{
#if defined(__x86_64__)  // style: the instruction is that of one processor
    static const bool hasInstruction = __builtin_cpu_supports("sse4.2") != 0;
    if (hasInstruction)
        return crc32cByInstruction(bytes.data(), bytes.size(), previous);
#endif
    return crc32cByTable(bytes, previous);
}

}  // namespace vellumhound::base
