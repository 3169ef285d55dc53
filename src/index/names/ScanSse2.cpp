// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/Scan.h"

#if defined(__x86_64__)

#include <emmintrin.h>

namespace vellumhound::index {

namespace sse2 {

namespace {

// What every 64-bit processor of this family has.
struct Vector {
    __m128i bits;
};
constexpr int vectorBytes = 16;

inline Vector load(const char *at)
{
    return {_mm_load_si128(reinterpret_cast<const __m128i *>(at))};
}
inline Vector loadUnaligned(const char *at)
{
    return {_mm_loadu_si128(reinterpret_cast<const __m128i *>(at))};
}
inline Vector splat(char byte)
{
    return {_mm_set1_epi8(byte)};
}
inline Vector either(Vector a, Vector b)
{
    return {_mm_or_si128(a.bits, b.bits)};
}
inline Vector both(Vector a, Vector b)
{
    return {_mm_and_si128(a.bits, b.bits)};
}
inline Vector equal(Vector a, Vector b)
{
    return {_mm_cmpeq_epi8(a.bits, b.bits)};
}
inline Vector minus(Vector a, Vector b)
{
    return {_mm_sub_epi8(a.bits, b.bits)};
}
inline Vector lesser(Vector a, Vector b)
{
    return {_mm_min_epu8(a.bits, b.bits)};
}
inline std::uint64_t mask(Vector a)
{
    return std::uint64_t(std::uint32_t(_mm_movemask_epi8(a.bits)));
}

#include "ScanKernel.inc"

}  // namespace

}  // namespace sse2

void scanSse2(std::size_t from, std::size_t to, const Needle &needle, HitSink &sink)
{
    sse2::scan(from, to, needle, sink);
}

}  // namespace vellumhound::index

#endif
