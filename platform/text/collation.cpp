#include "platform/text/collation.h"

#include <unicode/uchar.h>
#include <unicode/ucol.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "platform/text/ascii_internal.h"
#include "platform/text/collation_internal.h"

namespace collation {
namespace {

constexpr bool IsAscii(char16_t unit) { return unit < 0x80; }

// The place of each ASCII character in the root collation; 0 for the controls that it ignores. At secondary
// strength an ASCII text is the sequence of these ranks and nothing else: no character has a secondary weight
// of its own, none joins with its neighbour.
constexpr std::array<std::uint8_t, 128> kRanks = [] {
  constexpr std::u16string_view kOrder =
      u"\t\n\v\f\r _-,;:!?.'\"()[]{}@*/\\&#%`^+<=>|~$0123456789abcdefghijklmnopqrstuvwxyz";
  std::array<std::uint8_t, 128> ranks{};
  std::uint8_t rank = 0;
  for (const char16_t unit : kOrder) {
    ranks[unit] = ++rank;
    if (ascii::IsLower(unit)) ranks[unit - u'a' + u'A'] = rank;
  }
  return ranks;
}();

// ---- the beginning that two names have in common -------------------------------------------------------------

#if defined(__SSE2__)
constexpr std::size_t kLanes = 8;

__m128i LoadLanes(const char16_t* at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at)); }

// Upper-case ASCII letters made lower-case.
__m128i FoldLanes(__m128i lanes) {
  const __m128i fromA = _mm_cmpgt_epi16(lanes, _mm_set1_epi16('A' - 1));
  const __m128i toZ = _mm_cmplt_epi16(lanes, _mm_set1_epi16('Z' + 1));
  return _mm_or_si128(lanes, _mm_and_si128(_mm_and_si128(fromA, toZ), _mm_set1_epi16('a' - 'A')));
}

// Of kLanes units, how many from the first are ASCII and the same but for case.
std::size_t CommonLanes(const char16_t* a, const char16_t* b) {
  const __m128i left = LoadLanes(a);
  const __m128i right = LoadLanes(b);
  const __m128i foreign = _mm_and_si128(_mm_or_si128(left, right), _mm_set1_epi16(-0x80));
  const __m128i ascii = _mm_cmpeq_epi16(foreign, _mm_setzero_si128());
  const __m128i same = _mm_cmpeq_epi16(FoldLanes(left), FoldLanes(right));
  const auto common = static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(ascii, same)));
  return static_cast<std::size_t>(std::countr_one(common)) / 2;
}
bool AreSameLanes(const char16_t* a, const char16_t* b) {
  return _mm_movemask_epi8(_mm_cmpeq_epi16(LoadLanes(a), LoadLanes(b))) == 0xFFFF;
}
// The same of twice as many.
bool AreSameTwice(const char16_t* a, const char16_t* b) {
  const __m128i first = _mm_cmpeq_epi16(LoadLanes(a), LoadLanes(b));
  const __m128i second = _mm_cmpeq_epi16(LoadLanes(a + kLanes), LoadLanes(b + kLanes));
  return _mm_movemask_epi8(_mm_and_si128(first, second)) == 0xFFFF;
}
#else
constexpr std::size_t kLanes = 1;

bool AreSameLanes(const char16_t* a, const char16_t* b) { return *a == *b; }
bool AreSameTwice(const char16_t* a, const char16_t* b) { return a[0] == b[0] && a[1] == b[1]; }

std::size_t CommonLanes(const char16_t* a, const char16_t* b) {
  return IsAscii(*a) && IsAscii(*b) && kRanks[*a] == kRanks[*b] ? 1 : 0;
}
#endif

// Whether two texts are the same to the unit: what a look-up by name finds in the end, and quickly told. The last step
// may overlap the one before.
bool AreSame(std::u16string_view a, std::u16string_view b) {
  const std::size_t size = a.size();
  if (size != b.size()) return false;
  if (size < kLanes) return a == b;
  if (size < 2 * kLanes) {
    return AreSameLanes(a.data(), b.data()) && AreSameLanes(a.data() + size - kLanes, b.data() + size - kLanes);
  }
  const std::size_t last = size - 2 * kLanes;
  for (std::size_t at = 0; at < last; at += 2 * kLanes) {
    if (!AreSameTwice(a.data() + at, b.data() + at)) return false;
  }
  return AreSameTwice(a.data() + last, b.data() + last);
}

// How many of the first `length` units are ASCII and the same but for case; less where that is quicker to tell.
std::size_t CommonBeginning(const char16_t* a, const char16_t* b, std::size_t length) {
  if (length < kLanes) return 0;
  const std::size_t last = length - kLanes;
  for (std::size_t at = 0;; at = std::min(at + kLanes, last)) {  // the last step may overlap the one before
    const std::size_t common = CommonLanes(a + at, b + at);
    if (common != kLanes || at == last) return at + common;
  }
}

// --- one unit after the other ---------------------------------------------------------------------------------------

constexpr unsigned kNotAscii = 0xFF;

// The rank of the next unit that counts, which is taken; 0 at the end, kNotAscii before such a unit.
unsigned TakeRank(const char16_t*& at, const char16_t* end) {
  while (at != end) {
    if (!IsAscii(*at)) return kNotAscii;
    if (const unsigned rank = kRanks[*at++]; rank != 0) return rank;
  }
  return 0;
}

bool IsForeign(const char16_t* at, const char16_t* end) { return at != end && !IsAscii(*at); }

// As above without a collator: any unit has a weight.
unsigned TakeWeight(const char16_t*& at, const char16_t* end) {
  while (at != end) {
    const auto folded = static_cast<unsigned>(u_foldCase(*at++, U_FOLD_CASE_DEFAULT));
    const unsigned weight = folded < kRanks.size() ? kRanks[folded] : folded;
    if (weight != 0) return weight;
  }
  return 0;
}

// Null when ICU cannot open it. Kept until the process ends: static objects may still compare names then.
const UCollator* OpenRootCollator() {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* collator = ucol_open("", &status);
  if (U_FAILURE(status)) {
    return nullptr;
  }
  ucol_setStrength(collator, UCOL_SECONDARY);
  return collator;
}

std::int32_t IcuLength(std::u16string_view text) {
  constexpr std::size_t kMax = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(text.size(), kMax));
}

int CompareByCollator(std::u16string_view a, std::u16string_view b) {
  static const UCollator* const collator = OpenRootCollator();
  if (collator == nullptr) {
    return internal::CompareWithoutCollator(a, b);
  }
  return ucol_strcoll(collator, a.data(), IcuLength(a), b.data(), IcuLength(b));
}

char16_t OneUnit(UChar32 mapped, char16_t unit) { return mapped <= 0xFFFF ? static_cast<char16_t>(mapped) : unit; }

}  // namespace

namespace internal {

int CompareWithoutCollator(std::u16string_view a, std::u16string_view b) noexcept {
  const char16_t* left = a.data();
  const char16_t* right = b.data();
  for (;;) {
    const unsigned leftWeight = TakeWeight(left, a.data() + a.size());
    const unsigned rightWeight = TakeWeight(right, b.data() + b.size());
    if (leftWeight != rightWeight) return leftWeight < rightWeight ? -1 : 1;
    if (leftWeight == 0) return 0;
  }
}

}  // namespace internal

namespace {

// Apart, so that what finds two texts the same saves no registers.
[[gnu::noinline]] int CompareDifferent(std::u16string_view a, std::u16string_view b) noexcept {
  const std::size_t common = CommonBeginning(a.data(), b.data(), std::min(a.size(), b.size()));
  const char16_t* left = a.data() + common;
  const char16_t* right = b.data() + common;
  const char16_t* const leftEnd = a.data() + a.size();
  const char16_t* const rightEnd = b.data() + b.size();
  for (;;) {
    const unsigned leftRank = TakeRank(left, leftEnd);
    const unsigned rightRank = TakeRank(right, rightEnd);
    if (leftRank == kNotAscii || rightRank == kNotAscii) return CompareByCollator(a, b);
    if (leftRank != rightRank) {
      // The first difference of ranks decides whatever follows, unless what follows may join with it.
      if (IsForeign(left, leftEnd) || IsForeign(right, rightEnd)) return CompareByCollator(a, b);
      return leftRank < rightRank ? -1 : 1;
    }
    if (leftRank == 0) return 0;
  }
}

}  // namespace

int CompareNoCase(std::u16string_view a, std::u16string_view b) noexcept {
  return AreSame(a, b) ? 0 : CompareDifferent(a, b);
}

std::uint64_t BeginningOf(std::u16string_view text) noexcept {
  constexpr int kBits = 7;
  constexpr unsigned kLastRank = 0x7F;
  std::uint64_t beginning = 0;
  int shift = 64 - 1;
  for (const char16_t unit : text) {
    const unsigned rank = IsAscii(unit) ? kRanks[unit] : kLastRank;
    if (rank == 0) continue;
    shift -= kBits;
    beginning |= std::uint64_t{rank} << shift;
    if (shift == 0) break;
  }
  return beginning;
}

bool IsAlphaNumeric(char16_t unit) noexcept {
  return IsAscii(unit) ? ascii::IsLetter(unit) || ascii::IsDigit(unit) : u_isalnum(unit) != 0;
}

bool IsSpace(char16_t unit) noexcept { return IsAscii(unit) ? ascii::IsBlank(unit) : u_isUWhiteSpace(unit) != 0; }

char16_t ToUpper(char16_t unit) noexcept {
  if (IsAscii(unit)) return ascii::IsLower(unit) ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
  return OneUnit(u_toupper(unit), unit);
}

char16_t ToLower(char16_t unit) noexcept {
  if (IsAscii(unit)) return ascii::ToLower(unit);
  return OneUnit(u_tolower(unit), unit);
}

}  // namespace collation
