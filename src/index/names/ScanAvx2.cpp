// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/Scan.h"

#if defined(__x86_64__)

#include <immintrin.h>

// Only what stands between push and pop may use the newer instructions: functions of headers must
// not, since the linker may pick this file's copy of them for the whole program.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,bmi,popcnt"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,bmi,popcnt")
#endif

namespace vellumhound::index {

namespace avx2 {

namespace {

struct Vector {
    __m256i bits;
};
constexpr int vectorBytes = 32;

inline Vector load(const char *at)
{
    return {_mm256_load_si256(reinterpret_cast<const __m256i *>(at))};
}
inline Vector loadUnaligned(const char *at)
{
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i *>(at))};
}
inline Vector splat(char byte)
{
    return {_mm256_set1_epi8(byte)};
}
inline Vector either(Vector a, Vector b)
{
    return {_mm256_or_si256(a.bits, b.bits)};
}
inline Vector both(Vector a, Vector b)
{
    return {_mm256_and_si256(a.bits, b.bits)};
}
inline Vector equal(Vector a, Vector b)
{
    return {_mm256_cmpeq_epi8(a.bits, b.bits)};
}
inline Vector minus(Vector a, Vector b)
{
    return {_mm256_sub_epi8(a.bits, b.bits)};
}
inline Vector lesser(Vector a, Vector b)
{
    return {_mm256_min_epu8(a.bits, b.bits)};
}
inline std::uint64_t mask(Vector a)
{
    return std::uint64_t(std::uint32_t(_mm256_movemask_epi8(a.bits)));
}

#include "ScanKernel.inc"

}  // namespace

}  // namespace avx2

void scanAvx2(std::size_t from, std::size_t to, const Needle &needle, HitSink &sink)
{
    avx2::scan(from, to, needle, sink);
}

}  // namespace vellumhound::index

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

#endif
