#include "platform/ole/text_to_number_internal.h"

#include <bit>
#include <charconv>
#include <limits>

#include "platform/ole/decimal.h"
#include "platform/ole/decimal_internal.h"
#include "platform/text/ascii_internal.h"
#include "platform/text/number_text.h"
#include "platform/text/real_chars.h"

namespace text_to_number {
namespace {

using ascii::DigitOf;
using ole_decimal::digits_t;
using ole_decimal::uint128_t;

// A number in its parts: either a decimal one or the bits of a hexadecimal or octal one.
struct number_t {
  bool negative = false;
  bool isBits = false;
  bool bitsOverflow = false;
  std::uint64_t bits = 0;
  digits_t decimal;
  std::u16string_view digitText;  // from the first digit that is not zero to the last
};

// A position in a text. What begins with Take moves on when it finds what it looks for.
class reader_t {
 public:
  explicit reader_t(std::u16string_view text) : at_(text.data()), end_(at_ + text.size()) {}

  bool Read(number_t& out) {
    TakeBlanks();
    if (!Take(u'&')) {
      TakePrefix();
      return TakeDigits(out) && TakeSuffix(out);
    }
    out.isBits = true;
    if (!TakeBits(out)) return false;
    TakeBlanks();
    return at_ == end_;
  }

 private:
  bool Take(char16_t unit) {
    if (at_ == end_ || *at_ != unit) return false;
    ++at_;
    return true;
  }

  void TakeBlanks() {
    while (at_ != end_ && ascii::IsBlank(*at_)) ++at_;
  }

  bool TakeOnce(char16_t unit, bool& taken) { return !taken && Take(unit) && (taken = true); }

  bool TakeSign() {
    if (sign_ || parenthesis_) return false;
    sign_ = Take(u'-') || (plus_ = Take(u'+'));
    return sign_;
  }

  // Sign, "$" and parenthesis in any order, with blanks.
  void TakePrefix() {
    while (TakeSign() || TakeOnce(u'$', currency_) || (!sign_ && TakeOnce(u'(', parenthesis_))) TakeBlanks();
  }

  bool TakeSuffix(number_t& out) {
    bool closed = false;
    TakeBlanks();
    while (TakeSign() || TakeOnce(u'$', currency_) || (parenthesis_ && TakeOnce(u')', closed))) TakeBlanks();
    out.negative = (sign_ && !plus_) || parenthesis_;
    return at_ == end_ && closed == parenthesis_;
  }

  bool TakeBits(number_t& out) {
    const bool hexadecimal = Take(u'H') || Take(u'h');
    if (!hexadecimal && !Take(u'O') && !Take(u'o')) return false;
    const unsigned shift = hexadecimal ? 4 : 3;
    const char16_t* const first = at_;
    for (; at_ != end_; ++at_) {
      unsigned digit = DigitOf(*at_);
      if (digit > 9) {
        const unsigned letter = (static_cast<unsigned>(*at_) | 0x20) - u'a';
        digit = letter < 6 ? letter + 10 : 16;
      }
      if (digit >> shift != 0) break;
      out.bitsOverflow |= out.bits >> (64 - shift) != 0;
      out.bits = out.bits << shift | digit;
    }
    return at_ != first;
  }

  // Digits, ",", "." and the exponent.
  bool TakeDigits(number_t& out) {
    const char16_t* const first = at_;
    const char16_t* firstKept = nullptr;
    bool anyDigit = false, inFraction = false;
    for (; at_ != end_; ++at_) {
      const unsigned digit = DigitOf(*at_);
      if (digit <= 9) {
        anyDigit = true;
        if (firstKept == nullptr && digit != 0) firstKept = at_;
        out.decimal.Append(digit, inFraction);
      } else if (*at_ == u'.' && !inFraction) {
        inFraction = true;
      } else if (*at_ != u',' || inFraction || at_ == first) {
        break;
      }
    }
    if (!anyDigit) return false;
    const char16_t* const last = at_;
    if (at_ != end_ && (*at_ == u'e' || *at_ == u'E') && !TakeExponent(out.decimal.point)) return false;
    if (firstKept == nullptr) {
      out.decimal.point = 0;  // zero, whatever its exponent
    } else {
      out.digitText = {firstKept, static_cast<std::size_t>(last - firstKept)};
    }
    return true;
  }

  // Saturates far beyond any number of digits that a text can hold.
  bool TakeExponent(std::int64_t& point) {
    constexpr std::int64_t kLimit = 1'000'000'000'000'000'000;
    ++at_;
    const bool negative = Take(u'-');
    if (!negative) Take(u'+');
    const char16_t* const first = at_;
    std::int64_t value = 0;
    for (; at_ != end_ && DigitOf(*at_) <= 9; ++at_) {
      if (value < kLimit / 10) value = value * 10 + DigitOf(*at_);
    }
    point += negative ? -value : value;
    return at_ != first;
  }

  const char16_t* at_;
  const char16_t* end_;
  bool sign_ = false, plus_ = false, currency_ = false, parenthesis_ = false;
};

bool Read(std::u16string_view text, number_t& out) { return reader_t(text).Read(out); }

// Plain digits behind an optional sign, few enough for 64 bits: what nearly every text is.
bool ReadPlainInteger(std::u16string_view text, bool& negative, std::uint64_t& magnitude) {
  constexpr std::size_t kSafeDigits = 19;
  const bool minus = !text.empty() && text[0] == u'-';
  if (minus) text.remove_prefix(1);
  if (text.empty() || text.size() > kSafeDigits) return false;
  std::uint64_t value = 0;
  for (const char16_t unit : text) {
    const unsigned digit = DigitOf(unit);
    if (digit > 9) return false;
    value = value * 10 + digit;
  }
  negative = minus && value != 0;
  magnitude = value;
  return true;
}

// The nearest real to the digits. No real and no boundary between two has more than 768 significant digits, so
// behind those one digit stands for all.
template <class Real>
HRESULT NearestReal(const number_t& number, Real& out) {
  constexpr std::size_t kDecidingDigits = 800;
  constexpr std::int64_t kFarPoint = 400;
  if (number.decimal.point > kFarPoint) return DISP_E_OVERFLOW;
  Real value = 0;
  if (number.decimal.count != 0 && number.decimal.point > -kFarPoint) {
    char text[kDecidingDigits + 32] = ".";
    char* at = text + 1;
    for (const char16_t unit : number.digitText) {
      const unsigned digit = DigitOf(unit);
      if (digit > 9) continue;
      if (at < text + kDecidingDigits) {
        *at++ = static_cast<char>('0' + digit);
      } else if (digit != 0) {
        *at++ = '1';
        break;
      }
    }
    *at++ = 'e';
    at = std::to_chars(at, text + sizeof text, number.decimal.point).ptr;
    const bool outOfRange = real_chars::FromChars(text, at, value).ec == std::errc::result_out_of_range;
    if (outOfRange && number.decimal.point > 0) return DISP_E_OVERFLOW;
    if (outOfRange) value = 0;
  }
  out = number.negative ? -value : value;
  return S_OK;
}

template <class Real>
HRESULT ReadReal(std::u16string_view text, Real& out) {
  number_t number;
  if (!Read(text, number)) return DISP_E_TYPEMISMATCH;
  if (!number.isBits) return NearestReal(number, out);
  if (number.bitsOverflow) return DISP_E_OVERFLOW;
  out = static_cast<Real>(number.bits);
  return S_OK;
}

// Whether a double lies half-way between two floats, so that rounding it again could go wrong.
bool MayBeFloatTie(double value) {
  constexpr std::uint64_t kBelowTheTie = 0x0FFF'FFFF;
  return (std::bit_cast<std::uint64_t>(value) & kBelowTheTie) == 0 && static_cast<float>(value) != value;
}

}  // namespace

HRESULT ToInteger(std::u16string_view text, bool& negative, std::uint64_t& magnitude) noexcept {
  if (ReadPlainInteger(text, negative, magnitude)) return S_OK;
  number_t number;
  if (!Read(text, number)) return DISP_E_TYPEMISMATCH;
  uint128_t whole = number.bits;
  if (number.bitsOverflow || (!number.isBits && !RoundDigits(number.decimal, 0, whole)) ||
      whole > std::numeric_limits<std::uint64_t>::max()) {
    return DISP_E_OVERFLOW;
  }
  magnitude = static_cast<std::uint64_t>(whole);
  negative = number.negative && magnitude != 0;
  return S_OK;
}

HRESULT ToDouble(std::u16string_view text, double& out) noexcept {
  const number_text::real_prefix_t plain = number_text::ParseDoublePrefix(text);
  if (plain.length != text.size() || plain.length == 0) return ReadReal(text, out);
  if (plain.overflow) return DISP_E_OVERFLOW;
  out = plain.value;
  return S_OK;
}

HRESULT ToFloat(std::u16string_view text, float& out) noexcept {
  double value = 0;
  if (const HRESULT result = ToDouble(text, value); result != S_OK) return result;
  if (MayBeFloatTie(value)) return ReadReal(text, out);
  const auto nearest = static_cast<float>(value);
  if (nearest - nearest != 0) return DISP_E_OVERFLOW;
  out = nearest;
  return S_OK;
}

HRESULT ToCurrency(std::u16string_view text, CY& out) noexcept {
  constexpr int kPlaces = 4;
  number_t number;
  if (!Read(text, number)) return DISP_E_TYPEMISMATCH;
  uint128_t magnitude = 0;
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  if (number.isBits || !RoundDigits(number.decimal, kPlaces, magnitude) ||
      magnitude > static_cast<uint128_t>(kMax) + (number.negative ? 1 : 0)) {
    return DISP_E_OVERFLOW;
  }
  const auto low = static_cast<std::uint64_t>(magnitude);
  out.int64 = static_cast<std::int64_t>(number.negative ? 0 - low : low);
  return S_OK;
}

HRESULT ToDecimal(std::u16string_view text, DECIMAL& out) noexcept {
  number_t number;
  if (!Read(text, number)) return DISP_E_TYPEMISMATCH;
  if (!number.isBits) return FromDigits(number.decimal, number.negative, out);
  if (number.bitsOverflow) return DISP_E_OVERFLOW;
  out = ole_decimal::FromUInt64(number.bits);
  return S_OK;
}

}  // namespace text_to_number
