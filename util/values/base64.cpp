#include "util/values/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "platform/text/collation.h"
#include "util/values/simd_internal.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace zorutil {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// A letter or digit that is not in the alphabet has this index: its low six bits are zero.
constexpr unsigned kForeign = 64;
constexpr std::uint8_t kStop = 255;

// The two characters of each 12 bits.
constexpr auto kPairs = [] {
  std::array<std::array<char16_t, 2>, 4096> pairs{};
  for (unsigned i = 0; i < pairs.size(); ++i) {
    pairs[i] = {static_cast<char16_t>(kAlphabet[i >> 6]), static_cast<char16_t>(kAlphabet[i & 63])};
  }
  return pairs;
}();

constexpr auto kIndexes = [] {
  std::array<std::uint8_t, 128> indexes{};
  indexes.fill(kStop);
  for (std::uint8_t i = 0; i < 64; ++i) indexes[static_cast<unsigned char>(kAlphabet[i])] = i;
  return indexes;
}();

unsigned IndexOf(char16_t unit) {
  if (unit < kIndexes.size()) return kIndexes[unit];
  return collation::IsAlphaNumeric(unit) ? kForeign : kStop;
}

char16_t* EncodeGroups(const unsigned char* data, std::size_t groups, char16_t* out) {
  for (; groups > 0; --groups, data += 3, out += 4) {
    const unsigned bits = (unsigned{data[0]} << 16) | (unsigned{data[1]} << 8) | data[2];
    std::memcpy(out, kPairs[bits >> 12].data(), 4);
    std::memcpy(out + 2, kPairs[bits & 0xFFF].data(), 4);
  }
  return out;
}

// The bytes of four indexes, each of which may be kForeign.
void DecodeGroup(const unsigned (&c)[4], std::uint8_t (&bytes)[3]) {
  bytes[0] = static_cast<std::uint8_t>((c[0] << 2) + ((c[1] >> 4) & 3));
  bytes[1] = static_cast<std::uint8_t>(((c[1] & 15) << 4) + ((c[2] >> 2) & 15));
  bytes[2] = static_cast<std::uint8_t>(((c[2] & 3) << 6) + c[3]);
}

#if defined(__x86_64__)

// W. Mula and D. Lemire, "Faster Base64 Encoding and Decoding Using AVX2 Instructions", ACM TWEB 12 (2018).

constexpr std::size_t kBytesRead = 24;
constexpr std::size_t kUnitsRead = 32;

ZOR_AVX2 std::size_t EncodeAvx2(const unsigned char* data, std::size_t size, char16_t* out) {
  // The first twelve bytes of the low half, the last twelve of the high one.
  const __m256i order = _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,  //
                                         5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14);
  const __m256i shifts = _mm256_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                          '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0,  //
                                          'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                          '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
  std::size_t done = 0;
  for (; size - done >= kBytesRead; done += kBytesRead, out += kUnitsRead) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + done));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + done + 8));
    const __m256i in = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), order);
    const __m256i even =
        _mm256_mulhi_epu16(_mm256_and_si256(in, _mm256_set1_epi32(0x0fc0fc00)), _mm256_set1_epi32(0x04000040));
    const __m256i odd =
        _mm256_mullo_epi16(_mm256_and_si256(in, _mm256_set1_epi32(0x003f03f0)), _mm256_set1_epi32(0x01000010));
    const __m256i indexes = _mm256_or_si256(even, odd);
    const __m256i isUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), indexes);
    const __m256i range = _mm256_or_si256(_mm256_subs_epu8(indexes, _mm256_set1_epi8(51)),
                                          _mm256_and_si256(isUpper, _mm256_set1_epi8(13)));
    const __m256i text = _mm256_add_epi8(_mm256_shuffle_epi8(shifts, range), indexes);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_cvtepu8_epi16(_mm256_castsi256_si128(text)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 16), _mm256_cvtepu8_epi16(_mm256_extracti128_si256(text, 1)));
  }
  return done;
}

// Decodes whole steps of 32 units, up to the first with a character outside the alphabet; writes up to 8 bytes beyond
// the 24 of a step. Returns the units taken.
ZOR_AVX2 std::size_t DecodeAvx2(const char16_t* text, std::size_t length, std::uint8_t* out) {
  const __m256i lowClasses = _mm256_setr_epi8(
      0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A,  //
      0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
  const __m256i highClasses = _mm256_setr_epi8(
      0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,  //
      0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
  const __m256i rolls = _mm256_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0,  //
                                         0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m256i slash = _mm256_set1_epi8(0x2F);
  const __m256i order = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                         2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  std::size_t done = 0;
  for (; length - done >= kUnitsRead; done += kUnitsRead, out += 24) {
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + done));
    const __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + done + 16));
    // Units beyond a byte become 255 or 0, neither of which is in the alphabet.
    const __m256i in = _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
    const __m256i highNibbles = _mm256_and_si256(_mm256_srli_epi32(in, 4), slash);
    const __m256i low = _mm256_shuffle_epi8(lowClasses, _mm256_and_si256(in, slash));
    const __m256i high = _mm256_shuffle_epi8(highClasses, highNibbles);
    if (!_mm256_testz_si256(low, high)) break;
    const __m256i roll = _mm256_shuffle_epi8(rolls, _mm256_add_epi8(_mm256_cmpeq_epi8(in, slash), highNibbles));
    const __m256i indexes = _mm256_add_epi8(in, roll);
    const __m256i pairs = _mm256_maddubs_epi16(indexes, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_shuffle_epi8(_mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000)), order);
    const __m256i bytes = _mm256_permutevar8x32_epi32(groups, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
  }
  return done;
}

#endif

}  // namespace

bool base64_encode(const unsigned char* data, unsigned size, CString& out) {
  const std::size_t length = (std::size_t{size} + 2) / 3 * 4;
  if (size == 0 || data == nullptr || length > static_cast<std::size_t>(CString::kMaxLength)) out.Empty();
  if (size == 0 || data == nullptr) return size == 0;
  if (length > static_cast<std::size_t>(CString::kMaxLength)) throw std::length_error("base64 text too long");
  if (static_cast<std::size_t>(out.GetCapacity()) < length) out.Empty();  // nothing of it is to be kept
  char16_t* at = out.GetBuffer(static_cast<int>(length));
  std::size_t done = 0;
#if defined(__x86_64__)
  if (simd::HasAvx2()) {
    done = EncodeAvx2(data, size, at);
    at += done / 3 * 4;
  }
#endif
  const std::size_t groups = (size - done) / 3;
  at = EncodeGroups(data + done, groups, at);
  done += groups * 3;
  if (const std::size_t rest = size - done; rest != 0) {
    unsigned char last[3] = {};
    std::memcpy(last, data + done, rest);
    EncodeGroups(last, 1, at);
    for (std::size_t i = rest + 1; i < 4; ++i) at[i] = u'=';
  }
  out.ReleaseBuffer(static_cast<int>(length));
  return true;
}

bool base64_decode(const CString& text, zorplatform::CGrowableBuffer& out) {
  constexpr std::size_t kSlack = 32;
  const char16_t* const units = text.GetString();
  const auto length = static_cast<std::size_t>(text.GetLength());
  out.SetSize(0);
  out.SetSize(length / 4 * 3 + kSlack);
  std::uint8_t* at = out.GetData();
  std::size_t i = 0;
#if defined(__x86_64__)
  if (simd::HasAvx2()) {
    i = DecodeAvx2(units, length, at);
    at += i / 4 * 3;
  }
#endif
  unsigned group[4] = {};
  std::uint8_t bytes[3];
  unsigned filled = 0;
  for (; i < length; ++i) {
    const unsigned index = IndexOf(units[i]);
    if (index == kStop) break;
    group[filled++] = index;
    if (filled < 4) continue;
    DecodeGroup(group, bytes);
    std::memcpy(at, bytes, 3);
    at += 3;
    filled = 0;
  }
  if (filled >= 2) {
    std::fill(group + filled, group + 4, 0U);
    DecodeGroup(group, bytes);
    std::memcpy(at, bytes, filled - 1);
    at += filled - 1;
  }
  out.SetSize(static_cast<std::size_t>(at - out.GetData()));
  return true;
}

}  // namespace zorutil
