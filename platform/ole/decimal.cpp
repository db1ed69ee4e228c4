#include "platform/ole/decimal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "platform/ole/decimal_internal.h"
#include "platform/text/number_text.h"
#include "platform/text/real_chars.h"

namespace ole_decimal {
namespace {

constexpr int kCurrencyPlaces = 4;
constexpr int kMaxExactPlaces = 38;  // 10^38 is the largest power of ten below 2^128
constexpr uint128_t kMagnitudeLimit = static_cast<uint128_t>(1) << 96;

constexpr auto kPowersOfTen = [] {
  std::array<uint128_t, kMaxExactPlaces + 1> powers{1};
  for (std::size_t i = 1; i != powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();

constexpr uint128_t PowerOfTen(std::int64_t places) { return kPowersOfTen[static_cast<std::size_t>(places)]; }

// ---- The parts of a record, whatever bytes it holds: a scale beyond 28 counts as 28

uint128_t MagnitudeOf(const DECIMAL& value) { return static_cast<uint128_t>(value.Hi32) << 64 | value.Lo64; }
bool IsNegative(const DECIMAL& value) { return (value.sign & DECIMAL::kNegative) != 0; }
int ScaleOf(const DECIMAL& value) { return std::min<int>(value.scale, DECIMAL::kMaxScale); }

DECIMAL Make(uint128_t magnitude, int scale, bool negative) {
  DECIMAL result{};
  result.scale = static_cast<std::uint8_t>(scale);
  result.sign = negative && magnitude != 0 ? DECIMAL::kNegative : 0;
  result.Hi32 = static_cast<std::uint32_t>(magnitude >> 64);
  result.Lo64 = static_cast<std::uint64_t>(magnitude);
  return result;
}

uint128_t MagnitudeOf(std::int64_t value) {
  return value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
}

// Half to even.
uint128_t DivideRounded(uint128_t value, uint128_t divisor) {
  const uint128_t quotient = value / divisor;
  const uint128_t twice = (value - quotient * divisor) * 2;
  return quotient + (twice > divisor || (twice == divisor && quotient % 2 != 0) ? 1 : 0);
}

// The integer nearest to the value, its sign aside.
uint128_t WholeMagnitude(const DECIMAL& value) {
  const int scale = ScaleOf(value);
  return scale == 0 ? MagnitudeOf(value) : DivideRounded(MagnitudeOf(value), PowerOfTen(scale));
}

// False when it does not fit.
bool ToSigned(uint128_t magnitude, bool negative, std::int64_t& out) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  if (magnitude > static_cast<uint128_t>(kMax) + (negative ? 1 : 0)) return false;
  const auto low = static_cast<std::uint64_t>(magnitude);
  out = static_cast<std::int64_t>(negative ? 0 - low : low);
  return true;
}

// The digits up to `end`, at least so many; returns where they begin.
char* WriteDigits(uint128_t magnitude, int minDigits, char* end) {
  constexpr int kChunkDigits = 19;
  constexpr uint128_t kChunk = PowerOfTen(kChunkDigits);
  char* at = end;
  while (magnitude != 0) {
    const uint128_t rest = magnitude / kChunk;  // 128-bit divisions are dear: one for 19 digits
    auto low = static_cast<std::uint64_t>(magnitude - rest * kChunk);
    const char* const stop = rest != 0 ? at - kChunkDigits : end - digits_t::kKept;
    for (; at != stop && (low != 0 || rest != 0); low /= 10) *--at = static_cast<char>('0' + low % 10);
    magnitude = rest;
  }
  while (end - at < minDigits) *--at = '0';
  return at;
}

// The digits of a finite value, rounded to so many.
digits_t SignificantDigits(double magnitude, int count) {
  char text[number_text::kMaxChars];
  const char* const end = text + number_text::FormatGeneral(magnitude, count, text);
  const char* at = text;
  digits_t result;
  for (bool inFraction = false; at != end && *at != 'E'; ++at) {
    if (*at == '.') {
      inFraction = true;
    } else {
      result.Append(static_cast<unsigned>(*at - '0'), inFraction);
    }
  }
  if (at != end) {
    int exponent = 0;
    std::from_chars(at[1] == '+' ? at + 2 : at + 1, end, exponent);
    result.point += exponent;
  }
  return result;
}

}  // namespace

bool RoundDigits(const digits_t& value, int places, uint128_t& out) noexcept {
  out = 0;
  const std::int64_t wanted = value.point + places;
  if (value.count == 0 || wanted < 0) return true;
  if (wanted > kMaxExactPlaces) return false;
  constexpr int kWordDigits = 19;
  const int taken = std::min(static_cast<int>(wanted), value.count);
  std::uint64_t word = 0;  // the first digits fit one, and nearly always they are all
  for (int i = 0; i != std::min(taken, kWordDigits); ++i) word = word * 10 + value.digits[i];
  out = word;
  for (int i = kWordDigits; i < taken; ++i) out = out * 10 + value.digits[i];
  out *= PowerOfTen(wanted - taken);
  if (taken == value.count) return true;
  const int next = value.digits[taken];
  const bool beyondHalf = value.more || std::any_of(value.digits + taken + 1, value.digits + value.count,
                                                    [](std::uint8_t digit) { return digit != 0; });
  if (next > 5 || (next == 5 && (beyondHalf || out % 2 != 0))) ++out;
  return true;
}

HRESULT FromDigits(const digits_t& value, bool negative, DECIMAL& out) noexcept {
  // At most 29 digits fit; where 29 do not, 28 do.
  constexpr int kMaxDigits = 29;
  const auto room = std::clamp<std::int64_t>(kMaxDigits - value.point, -1, DECIMAL::kMaxScale);
  const auto needed = std::clamp<std::int64_t>(value.count - value.point, 0, room < 0 ? 0 : room);
  if (value.count != 0 && room < 0) return DISP_E_OVERFLOW;
  int scale = static_cast<int>(needed);
  uint128_t magnitude = 0;
  RoundDigits(value, scale, magnitude);
  if (magnitude >= kMagnitudeLimit && scale > 0) RoundDigits(value, --scale, magnitude);
  if (magnitude >= kMagnitudeLimit) return DISP_E_OVERFLOW;
  for (; scale > 0 && magnitude % 10 == 0; --scale) magnitude /= 10;
  out = Make(magnitude, scale, negative);
  return S_OK;
}

DECIMAL FromInt64(std::int64_t value) noexcept { return Make(MagnitudeOf(value), 0, value < 0); }

DECIMAL FromUInt64(std::uint64_t value) noexcept { return Make(value, 0, false); }

DECIMAL FromCurrency(CY value) noexcept { return Make(MagnitudeOf(value.int64), kCurrencyPlaces, value.int64 < 0); }

HRESULT FromDouble(double value, int significantDigits, DECIMAL& out) noexcept {
  const double magnitude = std::fabs(value);
  if (!(magnitude < static_cast<double>(kMagnitudeLimit))) return DISP_E_OVERFLOW;
  return FromDigits(SignificantDigits(magnitude, significantDigits), value < 0, out);
}

HRESULT ToInt64(const DECIMAL& value, std::int64_t& out) noexcept {
  return ToSigned(WholeMagnitude(value), IsNegative(value), out) ? S_OK : DISP_E_OVERFLOW;
}

HRESULT ToUInt64(const DECIMAL& value, std::uint64_t& out) noexcept {
  const uint128_t whole = WholeMagnitude(value);
  if (whole > std::numeric_limits<std::uint64_t>::max() || (IsNegative(value) && whole != 0)) {
    return DISP_E_OVERFLOW;
  }
  out = static_cast<std::uint64_t>(whole);
  return S_OK;
}

HRESULT ToCurrency(const DECIMAL& value, CY& out) noexcept {
  uint128_t magnitude = MagnitudeOf(value);
  const int scale = ScaleOf(value);
  if (scale <= kCurrencyPlaces) {
    magnitude *= PowerOfTen(kCurrencyPlaces - scale);
  } else {
    const uint128_t divisor = PowerOfTen(scale - kCurrencyPlaces);
    magnitude = magnitude / divisor + (magnitude % divisor != 0 ? 1 : 0);
  }
  return ToSigned(magnitude, IsNegative(value), out.int64) ? S_OK : DISP_E_OVERFLOW;
}

double ToDouble(const DECIMAL& value) noexcept {
  constexpr uint128_t kMaxExact = static_cast<uint128_t>(1) << 53;
  constexpr int kMaxExactPower = 22;
  const uint128_t magnitude = MagnitudeOf(value);
  if (magnitude <= kMaxExact && ScaleOf(value) <= kMaxExactPower) {
    // Both operands are exact, so the one operation rounds once.
    const double quotient = static_cast<double>(magnitude) / static_cast<double>(PowerOfTen(ScaleOf(value)));
    return IsNegative(value) ? -quotient : quotient;
  }
  char text[32];
  double result = 0;
  real_chars::FromChars(text, text + Format(value, text), result);
  return result;
}

std::size_t Format(const DECIMAL& value, char* out) noexcept {
  char digits[40];
  char* const end = digits + sizeof digits;
  const int scale = ScaleOf(value);
  const char* const first = WriteDigits(MagnitudeOf(value), scale + 1, end);
  const char* const point = end - scale;
  const char* last = end;
  while (last != point && last[-1] == '0') --last;

  char* at = out;
  if (IsNegative(value) && !IsZero(value)) *at++ = '-';
  at = std::copy(first, point, at);
  if (last != point) {
    *at++ = '.';
    at = std::copy(point, last, at);
  }
  return static_cast<std::size_t>(at - out);
}

bool IsZero(const DECIMAL& value) noexcept { return value.Hi32 == 0 && value.Lo64 == 0; }

}  // namespace ole_decimal
