#include "platform/text/utf_spread_internal.h"

#include <bit>
#include <cstdint>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

namespace utf {

#if defined(__x86_64__) && defined(__GNUC__)

bool CanSpread() noexcept {
  return __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("avx512vl") &&
         __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("popcnt");
}

constexpr int kBlock = 16;

// Each unit is spread out to four bytes, from the lowest: the first and the second of three, the first of one or two,
// and the last of two or three. Those that it needs are kept.
__attribute__((target("avx512vbmi2,avx512vl,avx512bw,popcnt"))) void ConvertSpreadBlocks(const char16_t*& at,
                                                                                         const char16_t* end,
                                                                                         char*& out) noexcept {
  using units_t [[gnu::vector_size(32)]] = std::uint16_t;
  using spread_t [[gnu::vector_size(64)]] = std::uint32_t;
  for (; end - at >= kSpreadUnits; at += kBlock) {
    const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    const __mmask16 isForeign = _mm256_test_epi16_mask(block, _mm256_set1_epi16(-0x80));
    const __mmask16 isLong = _mm256_test_epi16_mask(block, _mm256_set1_epi16(-0x800));
    const __m256i high = _mm256_and_si256(block, _mm256_set1_epi16(-0x800));
    const __mmask16 isSurrogate = _mm256_cmpeq_epi16_mask(high, _mm256_set1_epi16(-0x2800));  // 0xD800
    if (isForeign == 0 || isSurrogate != 0) return;

    const spread_t unit = __builtin_convertvector(reinterpret_cast<units_t>(block), spread_t);
    const spread_t two = (unit << 10 & 0x1F'0000) | 0xC0'0000;
    const auto first = reinterpret_cast<spread_t>(
        _mm512_mask_mov_epi32(reinterpret_cast<__m512i>(unit << 16), isForeign, reinterpret_cast<__m512i>(two)));
    const spread_t three = unit >> 12 | (unit << 2 & 0x3F00) | (unit << 24 & 0x3F00'0000) | 0x8000'80E0;
    // A set highest bit keeps the byte.
    constexpr int kFirst = 0x80'0000;
    constexpr int kLast = -0x8000'0000;
    const __m512i keptOfTwo = _mm512_mask_set1_epi32(_mm512_set1_epi32(kFirst), isForeign, kFirst | kLast);
    const __m512i kept = _mm512_mask_set1_epi32(keptOfTwo, isLong, kLast | 0x8080);
    const __m512i bytes =
        _mm512_maskz_compress_epi8(_mm512_movepi8_mask(kept), reinterpret_cast<__m512i>(first | three));
    _mm512_storeu_si512(out, bytes);
    out += kBlock + std::popcount<unsigned>(isForeign) + std::popcount<unsigned>(isLong);
  }
}

#else

bool CanSpread() noexcept { return false; }
void ConvertSpreadBlocks(const char16_t*&, const char16_t*, char*&) noexcept {}

#endif

}  // namespace utf
