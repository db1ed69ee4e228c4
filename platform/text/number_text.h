// Numbers to text and back, the one set of rules that every number of the library goes through.
//
//   char text[number_text::kMaxChars];
//   std::size_t n = number_text::FormatGeneral(0.1, 15, text);        // "0.1"
//
// Nothing here looks at the C locale. No state, no allocation; any number of threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/export.h"

namespace number_text {

/// Room that any of the functions below needs. Characters behind the returned length may be written over.
inline constexpr std::size_t kMaxChars = 64;

/// "%.*G": the given number of significant digits (1 to 40), trailing zeros removed, an upper-case exponent of
/// at least two digits; "INF", "-INF", "NAN", "-NAN". Correctly rounded, ties as the exact binary value falls
/// (round half to even on the exact decimal expansion). A precision outside 1 to 40 is taken as the nearer end.
/// Returns the number of characters written.
ZORPLATFORM_API std::size_t FormatGeneral(double value, int precision, char* out) noexcept;

/// Decimal digits with a leading "-" for negative values. Returns the number of characters written.
ZORPLATFORM_API std::size_t FormatInteger(std::int64_t value, char* out) noexcept;
ZORPLATFORM_API std::size_t FormatInteger(std::uint64_t value, char* out) noexcept;

/// The integer that a text begins with: leading white space (space, \t \n \v \f \r) and one sign are accepted,
/// reading stops at the first character that is not an ASCII digit, a text without digits gives 0. Beyond 64 bits
/// the result saturates; for the unsigned form a minus sign before any number gives 0.
/// @{
ZORPLATFORM_API std::int64_t ParseInt64(std::u16string_view text) noexcept;
ZORPLATFORM_API std::uint64_t ParseUInt64(std::u16string_view text) noexcept;
/// @}

/// The real number that a text begins with: leading white space, a sign, digits with at most one ".", an exponent
/// ("e" or "E", taken only when digits follow). Correctly rounded at any length; too large gives an infinity of
/// the sign, too small a zero of the sign; no digits gives 0. Hexadecimal, "inf" and "nan" are no numbers.
ZORPLATFORM_API double ParseDouble(std::u16string_view text) noexcept;

/// How ParseDoublePrefix tells what it read.
struct real_prefix_t {
  double value = 0;        ///< 0 without a number
  std::size_t length = 0;  ///< units taken; 0 when the text does not begin with a number
  bool overflow = false;   ///< too large for a double; `value` is then an infinity
};
/// As ParseDouble, but tells how far it read, and an overflow. `text` may not begin with white space here.
ZORPLATFORM_API real_prefix_t ParseDoublePrefix(std::u16string_view text) noexcept;

}  // namespace number_text
