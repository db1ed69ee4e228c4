#include "platform/text/utf.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "platform/text/utf_spread_internal.h"

#if defined(__SSE2__)
#include <tmmintrin.h>
#endif

namespace utf {
namespace {

using byte_t = unsigned char;

constexpr char32_t kReplacement = 0xFFFD;

const byte_t* Bytes(const char* at) { return reinterpret_cast<const byte_t*>(at); }

// ---- blocks of ASCII -----------------------------------------------------------------------------------------
//
// A block function looks at kBlock units (kHalf for the end of a text), says which are not ASCII (a bit for each) or
// how many from the first are, and writes what it makes of them: as many output units are touched, those from the first
// foreign one on hold nothing of use.
// A converter may call it wherever that many input units are left, because each has room for one output unit.

constexpr std::size_t kBlock = 16;
constexpr std::size_t kHalf = 8;
constexpr std::size_t kQuarter = 4;

#if defined(__SSE2__)

__m128i Load(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }
__m128i LoadHalf(const void* at) { return _mm_loadl_epi64(static_cast<const __m128i*>(at)); }
void Store(void* at, __m128i lanes) { _mm_storeu_si128(static_cast<__m128i*>(at), lanes); }

// `foreign` has a bit for each of `units` that is not ASCII.
std::size_t UnitsBefore(int foreign, std::size_t units) {
  return static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(foreign) | (1U << units)));
}

// All bits set in the lanes of ASCII units.
__m128i AsciiLanes(__m128i units) {
  return _mm_cmpeq_epi16(_mm_and_si128(units, _mm_set1_epi16(-0x80)), _mm_setzero_si128());
}

std::size_t AsciiUnits(__m128i first, __m128i second) {
  if (_mm_movemask_epi8(AsciiLanes(_mm_or_si128(first, second))) == 0xFFFF) return kBlock;
  const int ascii = _mm_movemask_epi8(_mm_packs_epi16(AsciiLanes(first), AsciiLanes(second)));
  return UnitsBefore(ascii ^ 0xFFFF, kBlock);
}

std::size_t AsciiBlock(const byte_t* in) { return UnitsBefore(_mm_movemask_epi8(Load(in)), kBlock); }
std::size_t AsciiBlock(const char16_t* in) { return AsciiUnits(Load(in), Load(in + 8)); }

unsigned ConvertBlock(const byte_t* in, char16_t* out) {
  const __m128i bytes = Load(in);
  Store(out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
  Store(out + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
  return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

unsigned ConvertBlock(const char16_t* in, char* out) {
  const __m128i first = Load(in);
  const __m128i second = Load(in + 8);
  Store(out, _mm_packus_epi16(first, second));
  if (_mm_movemask_epi8(AsciiLanes(_mm_or_si128(first, second))) == 0xFFFF) return 0;
  const int ascii = _mm_movemask_epi8(_mm_packs_epi16(AsciiLanes(first), AsciiLanes(second)));
  return static_cast<unsigned>(ascii ^ 0xFFFF);
}

std::size_t ConvertHalf(const byte_t* in, char16_t* out) {
  const __m128i bytes = LoadHalf(in);
  Store(out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
  return UnitsBefore(_mm_movemask_epi8(bytes), kHalf);
}

void WidenQuarter(const byte_t* in, char16_t* out) {
  int bytes;
  std::memcpy(&bytes, in, sizeof bytes);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(_mm_cvtsi32_si128(bytes), _mm_setzero_si128()));
}

std::size_t ConvertHalf(const char16_t* in, char* out) {
  const __m128i units = Load(in);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(units, units));
  return UnitsBefore(_mm_movemask_epi8(_mm_packs_epi16(AsciiLanes(units), units)) ^ 0xFF, kHalf);
}

#else

template <typename In>
std::size_t AsciiBlock(const In* in) {
  std::size_t count = 0;
  while (count != kBlock && in[count] < 0x80) ++count;
  return count;
}

template <typename In, typename Out>
unsigned ConvertBlock(const In* in, Out* out) {
  unsigned foreign = 0;
  for (std::size_t i = 0; i != kBlock; ++i) {
    foreign |= static_cast<unsigned>(in[i] >= 0x80) << i;
    out[i] = static_cast<Out>(in[i]);
  }
  return foreign;
}

template <typename In, typename Out>
std::size_t ConvertHalf(const In* in, Out* out) {
  std::size_t count = 0;
  for (; count != kHalf && in[count] < 0x80; ++count) out[count] = static_cast<Out>(in[count]);
  return count;
}

#endif

// Converts ASCII until it ends, at a unit of 0x80 or more or at the end of the text; fewer than kBlock units are left.
template <typename In, typename Out>
void ConvertAscii(const In*& at, const In* end, Out*& out) {
  if (static_cast<std::size_t>(end - at) >= kHalf) {
    const std::size_t count = ConvertHalf(at, out);
    at += count;
    out += count;
    if (count != kHalf) return;
  }
  while (at != end && *at < 0x80) *out++ = static_cast<Out>(*at++);
}

template <typename In>
const In* SkipAscii(const In* at, const In* end) {
  while (static_cast<std::size_t>(end - at) >= kBlock) {
    const std::size_t count = AsciiBlock(at);
    if (count != kBlock) return at + count;
    at += kBlock;
  }
  while (at != end && *at < 0x80) ++at;
  return at;
}

// ---- blocks of one- and two-byte characters -------------------------------------------------------------------
//
// Latin, Greek, Cyrillic, Hebrew and Arabic mix the two so that branches guess badly. Eight units at a time are
// converted by one byte shuffle, which a table gives for each pattern of them.

#if defined(__SSE2__) && defined(__GNUC__)

#define ZORPLATFORM_SHUFFLE __attribute__((target("ssse3,popcnt")))

bool HasShuffle() { return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("popcnt"); }

constexpr std::ptrdiff_t kMixedBlock = 8;

struct shuffle_t {
  static constexpr std::uint8_t kZero = 0x80;
  alignas(16) std::uint8_t from[16] = {kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero,
                                       kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero};
};

// Bytes to units; a bit of the index tells a continuation byte. Each character's first byte goes into the low
// half of a unit and the byte behind it into the high half.
constexpr std::array<shuffle_t, 256> kToUnits = [] {
  std::array<shuffle_t, 256> table{};
  for (unsigned continuations = 0; continuations != 256; ++continuations) {
    unsigned out = 0;
    for (unsigned i = 0; i != 8; ++i) {
      if ((continuations >> i & 1) != 0) continue;
      table[continuations].from[out++] = static_cast<std::uint8_t>(i);
      table[continuations].from[out++] = static_cast<std::uint8_t>(i + 1);
    }
  }
  return table;
}();

// Units, each with its first byte in the low half and the second in the high half, to bytes; a bit of the index
// tells a unit that is one byte.
constexpr std::array<shuffle_t, 256> kToBytes = [] {
  std::array<shuffle_t, 256> table{};
  for (unsigned ascii = 0; ascii != 256; ++ascii) {
    unsigned out = 0;
    for (unsigned i = 0; i != 8; ++i) {
      table[ascii].from[out++] = static_cast<std::uint8_t>(2 * i);
      if ((ascii >> i & 1) == 0) table[ascii].from[out++] = static_cast<std::uint8_t>(2 * i + 1);
    }
  }
  return table;
}();

// Goes on as long as blocks of eight bytes are well formed, not all ASCII, and have no longer characters. A block
// converts what begins in it; the last second byte may lie behind, and is skipped in the next one.
ZORPLATFORM_SHUFFLE void ConvertMixedBlocks(const byte_t*& at, const byte_t* end, char16_t*& out) {
  unsigned pending = 0;  // 1 when the byte at `at` belongs to a character that is converted already
  for (; end - at >= kMixedBlock; at += kMixedBlock) {
    const __m128i bytes = end - at >= 2 * kMixedBlock ? Load(at) : LoadHalf(at);
    const __m128i isContinuation = _mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x40));
    const __m128i isLead = _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(-0x3F)),  // 0xC2 to 0xDF
                                         _mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x20)));
    const unsigned foreign = static_cast<unsigned>(_mm_movemask_epi8(bytes)) & 0xFF;
    const unsigned continuations = static_cast<unsigned>(_mm_movemask_epi8(isContinuation)) & 0x1FF;
    const unsigned leads = static_cast<unsigned>(_mm_movemask_epi8(isLead)) & 0xFF;
    const bool wellFormed = (leads << 1 | pending) == continuations && (foreign & ~continuations) == leads;
    if (foreign == 0 || !wellFormed) break;

    const __m128i units = _mm_shuffle_epi8(bytes, Load(kToUnits[continuations & 0xFF].from));
    const __m128i isTwo = _mm_srai_epi16(_mm_slli_epi16(units, 8), 15);
    const __m128i high = _mm_slli_epi16(_mm_and_si128(units, _mm_set1_epi16(0x1F)), 6);
    const __m128i low = _mm_and_si128(_mm_srli_epi16(units, 8), _mm_set1_epi16(0x3F));
    const __m128i one = _mm_and_si128(units, _mm_set1_epi16(0x7F));
    const __m128i two = _mm_or_si128(high, low);
    Store(out, _mm_or_si128(_mm_and_si128(isTwo, two), _mm_andnot_si128(isTwo, one)));
    out += kMixedBlock - std::popcount(continuations & 0xFF);
    pending = leads >> 7;
  }
  at += pending;
}

// Writes the first `count` of 16 bytes and no more, for 8 <= count <= 16.
void StoreExactly(char* at, __m128i bytes, std::size_t count) {
  char all[16];
  Store(all, bytes);
  std::memcpy(at, all, 8);
  std::memcpy(at + count - 8, all + count - 8, 8);
}

// Goes on as long as blocks of eight units are not all ASCII and have no longer characters. Eight units more have
// room for eight bytes at least, so that a whole store fits.
ZORPLATFORM_SHUFFLE void ConvertMixedBlocks(const char16_t*& at, const char16_t* end, char*& out) {
  while (end - at >= kMixedBlock) {
    const __m128i units = Load(at);
    const __m128i zero = _mm_setzero_si128();
    const __m128i isAscii = AsciiLanes(units);
    const __m128i isShort = _mm_cmpeq_epi16(_mm_and_si128(units, _mm_set1_epi16(-0x800)), zero);
    const auto ascii = static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(isAscii, zero)));
    if (ascii == 0xFF || _mm_movemask_epi8(isShort) != 0xFFFF) return;

    const __m128i lead = _mm_srli_epi16(units, 6);
    const __m128i second = _mm_slli_epi16(_mm_and_si128(units, _mm_set1_epi16(0x3F)), 8);
    const __m128i marks = _mm_set1_epi16(-0x7F40);  // 0x80C0
    const __m128i pairs = _mm_or_si128(_mm_or_si128(lead, second), marks);
    const __m128i chosen = _mm_or_si128(_mm_and_si128(isAscii, units), _mm_andnot_si128(isAscii, pairs));
    const __m128i bytes = _mm_shuffle_epi8(chosen, Load(kToBytes[ascii].from));
    const auto count = static_cast<std::size_t>(16 - std::popcount(ascii));
    if (end - at >= 2 * kMixedBlock) {
      Store(out, bytes);
    } else {
      StoreExactly(out, bytes, count);
    }
    at += kMixedBlock;
    out += count;
  }
}

#else

bool HasShuffle() { return false; }

template <typename In, typename Out>
void ConvertMixedBlocks(const In*&, const In*, Out*&) {}

#endif

// ---- one character -------------------------------------------------------------------------------------------

constexpr bool IsContinuation(byte_t byte) { return (byte & 0xC0) == 0x80; }
constexpr bool IsSurrogate(char32_t code) { return (code & 0xFFFF'F800) == 0xD800; }
constexpr bool IsHighSurrogate(char32_t unit) { return (unit & 0xFFFF'FC00) == 0xD800; }
constexpr bool IsLowSurrogate(char32_t unit) { return (unit & 0xFFFF'FC00) == 0xDC00; }

// Behind these leads some second bytes begin no character: it would be overlong, a surrogate or beyond Unicode.
constexpr bool IsSecond(byte_t lead, byte_t second) {
  switch (lead) {
    case 0xE0: return second >= 0xA0 && second <= 0xBF;
    case 0xED: return second >= 0x80 && second <= 0x9F;
    case 0xF0: return second >= 0x90 && second <= 0xBF;
    case 0xF4: return second >= 0x80 && second <= 0x8F;
    default: return IsContinuation(second);
  }
}

// Takes what begins with a byte of 0x80 or more: one character, or a maximal ill-formed subpart.
char32_t DecodeSlowly(const byte_t*& at, const byte_t* end) {
  const byte_t lead = *at++;
  if (lead < 0xC2 || lead > 0xF4 || at == end || !IsSecond(lead, *at)) {
    return kReplacement;
  }
  char32_t code = *at++ & 0x3FU;
  if (lead < 0xE0) {
    return (lead & 0x1FU) << 6 | code;
  }
  if (at == end || !IsContinuation(*at)) {
    return kReplacement;
  }
  code = code << 6 | (*at++ & 0x3FU);
  if (lead < 0xF0) {
    return (lead & 0x0FU) << 12 | code;
  }
  if (at == end || !IsContinuation(*at)) {
    return kReplacement;
  }
  code = code << 6 | (*at++ & 0x3FU);
  return (lead & 0x07U) << 18 | code;
}

// The same; well-formed characters of two and three bytes are told by few branches.
inline char32_t Decode(const byte_t*& at, const byte_t* end) {
  const char32_t lead = at[0];
  if (lead < 0xE0) {
    if (lead >= 0xC2 && end - at >= 2 && IsContinuation(at[1])) {
      const char32_t code = (lead & 0x1F) << 6 | (at[1] & 0x3FU);
      at += 2;
      return code;
    }
  } else if (lead < 0xF0 && end - at >= 3 && IsContinuation(at[1]) && IsContinuation(at[2])) {
    const char32_t code = (lead & 0x0F) << 12 | (at[1] & 0x3FU) << 6 | (at[2] & 0x3FU);
    if (code >= 0x800 && !IsSurrogate(code)) {
      at += 3;
      return code;
    }
  }
  return DecodeSlowly(at, end);
}

inline void AppendUtf16(char32_t code, char16_t*& out) {
  if (code > 0xFFFF) {
    *out++ = static_cast<char16_t>(0xD7C0 + (code >> 10));
    code = 0xDC00 | (code & 0x3FF);
  }
  *out++ = static_cast<char16_t>(code);
}

constexpr char Continuation(char32_t code) { return static_cast<char>(0x80 | (code & 0x3F)); }

// A character that is not ASCII.
inline void AppendUtf8(char32_t code, char*& out) {
  if (code < 0x800) {
    out[0] = static_cast<char>(0xC0 | code >> 6);
    out[1] = Continuation(code);
    out += 2;
  } else if (code < 0x10000) {
    out[0] = static_cast<char>(0xE0 | code >> 12);
    out[1] = Continuation(code >> 6);
    out[2] = Continuation(code);
    out += 3;
  } else {
    out[0] = static_cast<char>(0xF0 | code >> 18);
    out[1] = Continuation(code >> 12);
    out[2] = Continuation(code >> 6);
    out[3] = Continuation(code);
    out += 4;
  }
}

// Takes one character, or one unpaired surrogate.
inline char32_t Decode(const char16_t*& at, const char16_t* end) {
  const char32_t unit = *at++;
  if (!IsSurrogate(unit)) {
    return unit;
  }
  if (!IsHighSurrogate(unit) || at == end || !IsLowSurrogate(*at)) {
    return kReplacement;
  }
  return (unit << 10) + *at++ - ((0xD800U << 10) + 0xDC00 - 0x10000);
}

char32_t Checked(char32_t code) { return code > 0x10FFFF || IsSurrogate(code) ? kReplacement : code; }

constexpr std::size_t Utf8Size(char32_t code) {
  return 1 + std::size_t{code >= 0x80} + std::size_t{code >= 0x800} + std::size_t{code >= 0x10000};
}

#if defined(__SSE2__)

// The UTF-8 bytes of blocks without surrogates, as far as these go: each lane counts how many bytes less than
// three its units take. Stops before a lane could overflow.
std::size_t CountPlainBlocks(const char16_t*& at, const char16_t* end) {
  constexpr std::size_t kLanes = 8;
  constexpr std::size_t kMaxBlocks = 0x3FFF;
  const char16_t* const first = at;
  const __m128i zero = _mm_setzero_si128();
  __m128i less = zero;
  for (std::size_t blocks = 0; blocks != kMaxBlocks && end - at >= std::ptrdiff_t{kLanes}; ++blocks, at += kLanes) {
    const __m128i units = Load(at);
    const __m128i high = _mm_and_si128(units, _mm_set1_epi16(-0x800));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_set1_epi16(-0x2800))) != 0) break;  // 0xD800
    less = _mm_sub_epi16(less, _mm_add_epi16(AsciiLanes(units), _mm_cmpeq_epi16(high, zero)));
  }
  alignas(16) std::int32_t sums[4];
  Store(sums, _mm_madd_epi16(less, _mm_set1_epi16(1)));
  return static_cast<std::size_t>(3 * (at - first) - sums[0] - sums[1] - sums[2] - sums[3]);
}

#else

std::size_t CountPlainBlocks(const char16_t*&, const char16_t*) { return 0; }

#endif

// ---- pieces of a long text --------------------------------------------------------------------------------------

constexpr std::size_t kPiece = 4096;

// No piece ends within a character: a character has at most three continuation bytes, so that a fourth belongs
// to none, and a low surrogate has its partner just before.
std::size_t PieceLength(std::string_view utf8) {
  if (utf8.size() <= kPiece) return utf8.size();
  std::size_t length = kPiece;
  while (length != kPiece - 3 && IsContinuation(static_cast<byte_t>(utf8[length]))) --length;
  return length;
}

std::size_t PieceLength(std::u16string_view utf16) {
  if (utf16.size() <= kPiece) return utf16.size();
  return IsHighSurrogate(utf16[kPiece - 1]) ? kPiece - 1 : kPiece;
}

// ---- a whole text ------------------------------------------------------------------------------------------------

// Converts what it can of a mixture at a time; false when that is nothing.
bool TakeMixture(const byte_t*&, const byte_t*, char16_t*&) { return false; }
bool TakeMixture(const char16_t*& at, const char16_t* end, char*& out) {
  const char16_t* const before = at;
  if (end - at >= kSpreadUnits && CanSpread()) ConvertSpreadBlocks(at, end, out);
  return at != before;
}

inline void TakeForeign(const byte_t*& at, const byte_t* end, char16_t*& out) { AppendUtf16(Decode(at, end), out); }
inline void TakeForeign(const char16_t*& at, const char16_t* end, char*& out) { AppendUtf8(Decode(at, end), out); }

// Three ways, by what the next block holds: ASCII goes a block at a time; where most units are characters of two bytes,
// eight units at a time; a mixture, unit by unit up to its last foreign one, which costs less than to enter the other
// two for a few units each. `firstLong` is the least unit that begins a longer character than ConvertMixedBlocks takes.
template <typename In, typename Out>
std::size_t ConvertText(const In* at, const In* end, Out* out, In firstLong) {
  constexpr int kMany = kBlock * 3 / 4;
  Out* const first = out;
  const bool shuffle = HasShuffle();
  while (static_cast<std::size_t>(end - at) >= kBlock) {
    const unsigned foreign = ConvertBlock(at, out);
    if (foreign == 0) {
      at += kBlock;
      out += kBlock;
      continue;
    }
    if (TakeMixture(at, end, out)) continue;
    const auto ascii = std::countr_zero(foreign);
    const In* const behindLast = at + std::bit_width(foreign);
    at += ascii;
    out += ascii;
    if (shuffle && *at < firstLong && std::popcount(foreign) >= kMany) {
      const In* const before = at;
      ConvertMixedBlocks(at, end, out);
      if (at != before) continue;
    }
    while (at < behindLast) {
      if (*at < 0x80) {
        *out++ = static_cast<Out>(*at++);
      } else {
        TakeForeign(at, end, out);
      }
    }
  }
  while (at != end) {
    if (*at < 0x80) ConvertAscii(at, end, out);
    if (at != end) TakeForeign(at, end, out);
  }
  return static_cast<std::size_t>(out - first);
}

// Converts ASCII as far as it goes, or a few units less, into room for the whole text.
std::size_t NarrowAscii(std::u16string_view utf16, char* out) {
  std::size_t size = 0;
  while (utf16.size() - size >= kBlock && ConvertBlock(utf16.data() + size, out + size) == 0) size += kBlock;
  return size;
}

}  // namespace

std::size_t Utf8ToUtf16(std::string_view utf8, char16_t* out) noexcept {
  const byte_t* const at = Bytes(utf8.data());
  return ConvertText(at, at + utf8.size(), out, byte_t{0xE0});
}

std::size_t Utf16ToUtf8(std::u16string_view utf16, char* out) noexcept {
  return ConvertText(utf16.data(), utf16.data() + utf16.size(), out, char16_t{0x800});
}

std::size_t Utf8Length(std::u16string_view utf16) noexcept {
  const char16_t* const end = utf16.data() + utf16.size();
  const char16_t* at = SkipAscii(utf16.data(), end);
  auto length = static_cast<std::size_t>(at - utf16.data());
  while (at != end) {
    length += CountPlainBlocks(at, end);
    for (int some = 8; some > 0 && at != end; --some) length += Utf8Size(Decode(at, end));
  }
  return length;
}

std::size_t Utf16Length(std::string_view utf8) noexcept {
  const byte_t* at = Bytes(utf8.data());
  const byte_t* const end = at + utf8.size();
  std::size_t length = 0;
  for (;;) {
    const byte_t* const ascii = at;
    at = SkipAscii(at, end);
    length += static_cast<std::size_t>(at - ascii);
    if (at == end) return length;
    do {
      length += Decode(at, end) > 0xFFFF ? 2 : 1;
    } while (at != end && *at >= 0x80);
  }
}

bool IsAscii(std::string_view text) noexcept {
  const byte_t* const end = Bytes(text.data()) + text.size();
  return SkipAscii(Bytes(text.data()), end) == end;
}

bool IsAscii(std::u16string_view text) noexcept {
  const char16_t* const end = text.data() + text.size();
  return SkipAscii(text.data(), end) == end;
}

void WidenAscii(std::string_view text, char16_t* out) noexcept {
  const byte_t* const bytes = Bytes(text.data());
  const std::size_t size = text.size();
  std::size_t i = 0;
#if defined(__SSE2__)
  for (; size - i >= kBlock; i += kBlock) ConvertBlock(bytes + i, out + i);
  // What does not fill a block, in two halves or two quarters that may overlap: the texts of numbers are that long.
  if (size - i >= kHalf) {
    ConvertHalf(bytes + i, out + i);
    ConvertHalf(bytes + size - kHalf, out + size - kHalf);
    return;
  }
  if (size - i >= kQuarter) {
    WidenQuarter(bytes + i, out + i);
    WidenQuarter(bytes + size - kQuarter, out + size - kQuarter);
    return;
  }
#endif
  for (; i != size; ++i) out[i] = bytes[i];
}

// Strings are made piece by piece from a buffer on the stack: that is quicker than to measure first, or to fill
// a string with zeros and convert over them. Short texts are one piece and one allocation. What of a long text is ASCII
// goes to UTF-8 at once; this needs the string of C++23.
std::u16string ToUtf16(std::string_view utf8) {
  char16_t piece[MaxUtf16Units(kPiece)];
  if (utf8.size() <= kPiece) {
    return {piece, Utf8ToUtf16(utf8, piece)};
  }
  std::u16string utf16;
  utf16.reserve(utf8.size());
  while (!utf8.empty()) {
    const std::string_view next = utf8.substr(0, PieceLength(utf8));
    utf16.append(piece, Utf8ToUtf16(next, piece));
    utf8.remove_prefix(next.size());
  }
  return utf16;
}

std::string ToUtf8(std::u16string_view utf16) {
  char piece[MaxUtf8Bytes(kPiece)];
  if (utf16.size() <= kPiece) {
    return {piece, Utf16ToUtf8(utf16, piece)};
  }
  std::string utf8;
  utf8.resize_and_overwrite(utf16.size(), [&](char* out, std::size_t) { return NarrowAscii(utf16, out); });
  utf16.remove_prefix(utf8.size());
  while (!utf16.empty()) {
    const std::u16string_view next = utf16.substr(0, PieceLength(utf16));
    utf8.append(piece, Utf16ToUtf8(next, piece));
    utf16.remove_prefix(next.size());
  }
  return utf8;
}

std::u16string ToUtf16(std::wstring_view wide) {
  if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
    return {wide.begin(), wide.end()};
  }
  std::size_t length = wide.size();
  for (const wchar_t code : wide) length += Checked(static_cast<char32_t>(code)) > 0xFFFF ? 1 : 0;
  std::u16string utf16(length, u'\0');
  char16_t* out = utf16.data();
  for (const wchar_t code : wide) AppendUtf16(Checked(static_cast<char32_t>(code)), out);
  return utf16;
}

}  // namespace utf
