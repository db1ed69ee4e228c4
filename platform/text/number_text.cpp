#include "platform/text/number_text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "platform/text/ascii_internal.h"
#include "platform/text/decimal_digits_internal.h"
#include "platform/text/real_chars.h"
#include "platform/text/uint128_internal.h"

namespace number_text {
namespace {

using ascii::DigitOf;

// Powers of ten that a double holds exactly.
constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// --- doubles to text ------------------------------------------------------------------------------------------------

// Every decimal of up to this many digits comes back from a normal double unchanged.
constexpr int kFaithfulDigits = std::numeric_limits<double>::digits10;

// A positive value as 0 < digits <= 17 decimal digits without trailing zeros: d.ddd * 10^exponent. The room
// behind the digits lets them be copied in one block of fixed size.
struct decimal_t {
  static constexpr int kBlock = 24;
  char room[1 + kBlock + 8];
  int count = 0;
  int exponent = 0;

  char* digits() { return room + 1; }
};

// The shortest decimal that reads back as `magnitude`, which is finite and not zero.
void ShortestDigits(double magnitude, decimal_t& decimal) {
  const char* end =
      std::to_chars(decimal.room, decimal.room + sizeof decimal.room, magnitude, std::chars_format::scientific).ptr;
  const char* mark = end - 4;  // "e+12", or one digit more
  int exponent = (end[-2] - '0') * 10 + (end[-1] - '0');
  if (*mark != 'e') {
    --mark;
    exponent += (end[-3] - '0') * 100;
  }
  decimal.exponent = mark[1] == '-' ? -exponent : exponent;
  const int length = static_cast<int>(mark - decimal.room);
  decimal.count = length == 1 ? 1 : length - 1;
  decimal.room[1] = decimal.room[0];  // takes the place of the decimal point
}

// Cuts the decimal to `precision` digits, to nearest. False when the tail is exactly one half: the digits
// stand for a binary value that may lie on either side of it.
bool RoundDigits(decimal_t& decimal, int precision) {
  char* digits = decimal.digits();
  const char cut = digits[precision];
  if (cut == '5' && decimal.count == precision + 1) {
    return false;
  }
  int count = precision;
  if (cut >= '5') {
    while (count > 0 && digits[count - 1] == '9') --count;
    if (count == 0) {
      digits[0] = '0';
      count = 1;
      ++decimal.exponent;
    }
    ++digits[count - 1];
  } else {
    while (digits[count - 1] == '0') --count;
  }
  decimal.count = count;
  return true;
}

char* WriteExponent(int exponent, char* out) {
  *out++ = 'E';
  *out++ = exponent < 0 ? '-' : '+';
  int rest = std::abs(exponent);
  if (rest >= 100) {
    *out++ = static_cast<char>('0' + rest / 100);
    rest %= 100;
  }
  *out++ = static_cast<char>('0' + rest / 10);
  *out++ = static_cast<char>('0' + rest % 10);
  return out;
}

// Lays the digits out as %G does. Whole blocks are copied: up to kMaxChars characters of `out` are touched.
char* WriteGeneral(decimal_t& decimal, int precision, char* out) {
  const char* digits = decimal.digits();
  const int count = decimal.count;
  const int exponent = decimal.exponent;
  if (exponent < -4 || exponent >= precision) {
    out[0] = digits[0];
    if (count == 1) {
      return WriteExponent(exponent, out + 1);
    }
    out[1] = '.';
    std::memcpy(out + 2, digits + 1, decimal_t::kBlock);
    return WriteExponent(exponent, out + 1 + count);
  }
  if (exponent < 0) {
    std::memcpy(out, "0.000", 5);
    char* first = out + 1 - exponent;
    std::memcpy(first, digits, decimal_t::kBlock);
    return first + count;
  }
  const int whole = exponent + 1;
  std::memcpy(out, digits, decimal_t::kBlock);
  if (count <= whole) {
    std::memset(out + count, '0', static_cast<std::size_t>(whole - count));
    return out + whole;
  }
  out[whole] = '.';
  std::memcpy(out + whole + 1, digits + whole, decimal_t::kBlock);
  return out + count + 1;
}

// The exact decimal expansion decides.
char* WriteExact(double magnitude, int precision, char* out) {
  char* end = std::to_chars(out, out + kMaxChars - 1, magnitude, std::chars_format::general, precision).ptr;
  char* mark = end - std::min<std::ptrdiff_t>(end - out, 5);
  for (; mark != end; ++mark) {
    if (*mark == 'e') *mark = 'E';
  }
  return end;
}

bool IsNormal(std::uint64_t bits) { return (bits & 0x7FF0'0000'0000'0000) != 0; }
bool IsPowerOfTwo(std::uint64_t bits) { return (bits & 0x000F'FFFF'FFFF'FFFF) == 0; }

// Finite and not zero. Integers of at most `precision` digits are their own answer. Otherwise the shortest
// digits give the answer wherever that can be proven:
// - not more than `precision` of them, and a precision that normal doubles carry faithfully: they are exact
// to it;
// - more than `precision`: they are the decimal of their length nearest to the value, so a rounding boundary,
//   which is a decimal of that length too, never lies between them and the value. Powers of two are left out:
//   the doubles below them lie closer, and the nearest decimal may belong to a neighbour.
char* WriteFinite(double magnitude, int precision, char* out) {
  if (magnitude < kExactPowersOfTen[std::min(precision, kFaithfulDigits)]) {
    const auto whole = static_cast<std::int64_t>(magnitude);
    if (static_cast<double>(whole) == magnitude) return std::to_chars(out, out + kMaxChars - 1, whole).ptr;
  }
  decimal_t decimal;
  ShortestDigits(magnitude, decimal);
  const auto bits = std::bit_cast<std::uint64_t>(magnitude);
  const bool settled = decimal.count <= precision ? precision <= kFaithfulDigits && IsNormal(bits)
                                                  : !IsPowerOfTwo(bits) && RoundDigits(decimal, precision);
  return settled ? WriteGeneral(decimal, precision, out) : WriteExact(magnitude, precision, out);
}

// --- text to numbers ------------------------------------------------------------------------------------------------

// The value of four units that are all digits, else a negative number. The units lie in the lanes of one
// word, the first in the lowest: two multiplications make two pairs of them, then one number.
int FourDigits(const char16_t* at) {
  std::uint64_t lanes;
  std::memcpy(&lanes, at, sizeof lanes);
  if constexpr (std::endian::native == std::endian::big) return -1;
  constexpr std::uint64_t kZeros = 0x0030'0030'0030'0030;
  const std::uint64_t digits = lanes ^ kZeros;  // '0' to '9' become 0 to 9, all other units more
  if (((digits | (digits + 0x0006'0006'0006'0006)) & 0xFFF0'FFF0'FFF0'FFF0) != 0) return -1;
  const std::uint64_t pairs = (digits * 10 + (digits >> 16)) & 0x0000'FFFF'0000'FFFF;
  return static_cast<int>((pairs & 0xFF) * 100 + (pairs >> 32));
}

const char16_t* SkipBlanks(const char16_t* at, const char16_t* end) {
  while (at != end && ascii::IsBlank(*at)) ++at;
  return at;
}

// One sign, if there is one; true for a minus.
bool TakeSign(const char16_t*& at, const char16_t* end) {
  if (at == end || (*at != u'-' && *at != u'+')) {
    return false;
  }
  return *at++ == u'-';
}

// Digits as far as they go; beyond 64 bits the largest value.
std::uint64_t ReadSaturating(const char16_t* at, const char16_t* end) {
  constexpr std::ptrdiff_t kSafeDigits = 19;
  const char16_t* const safeEnd = at + std::min(end - at, kSafeDigits);
  std::uint64_t value = 0;
  for (int four; safeEnd - at >= 4 && (four = FourDigits(at)) >= 0; at += 4) {
    value = value * 10'000 + static_cast<unsigned>(four);
  }
  for (; at != safeEnd; ++at) {
    const unsigned digit = DigitOf(*at);
    if (digit > 9) return value;
    value = value * 10 + digit;
  }
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  for (; at != end; ++at) {
    const unsigned digit = DigitOf(*at);
    if (digit > 9) return value;
    if (value > kMax / 10 || value * 10 > kMax - digit) return kMax;
    value = value * 10 + digit;
  }
  return value;
}

// significand / 10^places to nearest, for 0 <= places <= 19: a quotient of at least 64 bits whose last bit
// also stands for whatever remains, so that the one rounding is the conversion to double.
constexpr std::int64_t kMaxDivisorPlaces = 19;

double DivideExactly(std::uint64_t significand, std::int64_t places) {
  using wide::uint128_t;
  const std::uint64_t divisor = kPowersOfTen[static_cast<std::size_t>(places)];
  const int significandShift = std::countl_zero(significand);
  const int divisorShift = std::countl_zero(divisor);
  const uint128_t dividend = static_cast<uint128_t>(significand << significandShift) << 63;
  const uint128_t normalDivisor = divisor << divisorShift;
  const uint128_t quotient = dividend / normalDivisor;
  const bool remains = quotient * normalDivisor != dividend;
  const auto sticky = static_cast<std::uint64_t>(quotient) | static_cast<std::uint64_t>(remains);
  const auto scale = static_cast<std::uint64_t>(1023 + divisorShift - significandShift - 63) << 52;
  return static_cast<double>(sticky) * std::bit_cast<double>(scale);
}

// The scanned parts of a real number's text.
struct real_text_t {
  const char16_t* digits = nullptr;     // the first digit that is not zero
  const char16_t* digitsEnd = nullptr;  // behind the last digit; at most one "." stands between
  const char16_t* end = nullptr;        // behind the exponent; null when there was no number
  std::uint64_t significand = 0;        // all digits, when there are at most 19
  std::int64_t count = 0;               // digits from the first that is not zero
  std::int64_t exponent = 0;            // the digits as an integer, times 10^exponent
};

constexpr std::int64_t kMaxExactDigits = 19;

// Digits into the significand, leading zeros left out; it wraps when there are more than kMaxExactDigits.
const char16_t* ScanDigits(const char16_t* at, const char16_t* end, real_text_t& real) {
  std::uint64_t significand = real.significand;
  if (real.count == 0) {
    while (at != end && *at == u'0') ++at;
    real.digits = at;
  }
  const char16_t* const first = at;
  for (int four; end - at >= 4 && (four = FourDigits(at)) >= 0; at += 4) {
    significand = significand * 10'000 + static_cast<unsigned>(four);
  }
  for (; at != end; ++at) {
    const unsigned digit = DigitOf(*at);
    if (digit > 9) break;
    significand = significand * 10 + digit;
  }
  real.significand = significand;
  real.count += at - first;
  return at;
}

// The exponent behind the digits, if "e", a sign and digits stand there. It saturates far beyond any number
// of digits that a text can hold.
const char16_t* ScanExponent(const char16_t* at, const char16_t* end, std::int64_t& exponent) {
  const char16_t* digit = at + 1;
  const bool negative = TakeSign(digit, end);
  if (digit == end || DigitOf(*digit) > 9) {
    return at;
  }
  constexpr std::int64_t kLimit = 1'000'000'000'000'000'000;
  std::int64_t value = 0;
  for (; digit != end && DigitOf(*digit) <= 9; ++digit) {
    if (value < kLimit / 10) value = value * 10 + DigitOf(*digit);
  }
  exponent += negative ? -value : value;
  return digit;
}

real_text_t ScanReal(const char16_t* at, const char16_t* end) {
  real_text_t real;
  const char16_t* const first = at;
  at = ScanDigits(at, end, real);
  std::int64_t length = at - first;
  if (at != end && *at == u'.') {
    const char16_t* const fraction = at + 1;
    at = ScanDigits(fraction, end, real);
    real.exponent = -(at - fraction);
    length += at - fraction;
  }
  if (length == 0) {
    return real;
  }
  real.digitsEnd = at;
  real.end = at != end && (*at == u'e' || *at == u'E') ? ScanExponent(at, end, real.exponent) : at;
  return real;
}

// Any number of digits, any exponent: the digits go to std::from_chars as an integer and an exponent. No
// double and no boundary between two has more than 768 significant digits, so behind those one digit stands
// for all.
double ReadReal(const real_text_t& real) {
  constexpr std::int64_t kDecidingDigits = 800;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::int64_t magnitude = real.exponent + real.count;  // 0.ddd * 10^magnitude
  if (magnitude > 310) return kInfinity;
  if (magnitude < -330) return 0;

  char text[kDecidingDigits + 32];
  char* out = text;
  const char16_t* at = real.digits;
  const char16_t* const kept = at + std::min<std::int64_t>(real.digitsEnd - at, kDecidingDigits + 1);
  for (; at != kept; ++at) {
    if (*at != u'.') *out++ = static_cast<char>(*at);
  }
  std::int64_t exponent = magnitude - (out - text);
  if (std::any_of(at, real.digitsEnd, [](char16_t unit) { return unit != u'0' && unit != u'.'; })) {
    *out++ = '1';
    --exponent;
  }
  *out++ = 'e';
  out = std::to_chars(out, text + sizeof text, exponent).ptr;
  double value = 0;
  if (real_chars::FromChars(text, out, value).ec == std::errc::result_out_of_range) {
    return magnitude > 0 ? kInfinity : 0;
  }
  return value;
}

double ValueOf(const real_text_t& real) {
  constexpr std::uint64_t kMaxExactInteger = std::uint64_t{1} << 53;
  if (real.count > kMaxExactDigits) return ReadReal(real);
  if (real.significand == 0) return 0;
  const std::int64_t exponent = real.exponent;
  if (real.significand <= kMaxExactInteger && exponent >= -22 && exponent <= 22) {
    // Both operands are exact, so the one operation rounds once.
    const auto value = static_cast<double>(real.significand);
    return exponent < 0 ? value / kExactPowersOfTen[-exponent] : value * kExactPowersOfTen[exponent];
  }
  if (exponent < 0 && exponent >= -kMaxDivisorPlaces) return DivideExactly(real.significand, -exponent);
  return ReadReal(real);
}

}  // namespace

std::size_t FormatGeneral(double value, int precision, char* out) noexcept {
  char* at = out;
  if (std::signbit(value)) *at++ = '-';
  const double magnitude = std::fabs(value);
  if (magnitude == 0) {
    *at++ = '0';
  } else if (magnitude <= std::numeric_limits<double>::max()) {
    at = WriteFinite(magnitude, std::clamp(precision, 1, 40), at);
  } else {
    std::memcpy(at, std::isnan(value) ? "NAN" : "INF", 3);
    at += 3;
  }
  return static_cast<std::size_t>(at - out);
}

std::size_t FormatInteger(std::int64_t value, char* out) noexcept {
  return static_cast<std::size_t>(std::to_chars(out, out + kMaxChars, value).ptr - out);
}

std::size_t FormatInteger(std::uint64_t value, char* out) noexcept {
  return static_cast<std::size_t>(std::to_chars(out, out + kMaxChars, value).ptr - out);
}

std::int64_t ParseInt64(std::u16string_view text) noexcept {
  const char16_t* const end = text.data() + text.size();
  const char16_t* at = SkipBlanks(text.data(), end);
  const bool negative = TakeSign(at, end);
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  const std::uint64_t magnitude = std::min(ReadSaturating(at, end), kMax + negative);
  return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

std::uint64_t ParseUInt64(std::u16string_view text) noexcept {
  const char16_t* const end = text.data() + text.size();
  const char16_t* at = SkipBlanks(text.data(), end);
  return TakeSign(at, end) ? 0 : ReadSaturating(at, end);
}

double ParseDouble(std::u16string_view text) noexcept {
  const char16_t* const end = text.data() + text.size();
  const char16_t* const first = SkipBlanks(text.data(), end);
  return ParseDoublePrefix({first, static_cast<std::size_t>(end - first)}).value;
}

real_prefix_t ParseDoublePrefix(std::u16string_view text) noexcept {
  const char16_t* at = text.data();
  const char16_t* const end = at + text.size();
  const bool negative = TakeSign(at, end);
  const real_text_t real = ScanReal(at, end);
  if (real.end == nullptr) {
    return {};
  }
  const double magnitude = ValueOf(real);
  return {.value = negative ? -magnitude : magnitude,
          .length = static_cast<std::size_t>(real.end - text.data()),
          .overflow = magnitude > std::numeric_limits<double>::max()};
}

}  // namespace number_text
