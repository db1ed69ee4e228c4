// DECIMAL arithmetic that conversions need: a 96-bit magnitude, a sign and a scale of 0 to 28 decimal places.
// No state, no allocation; any number of threads. A record read from outside may hold any bytes: a scale beyond 28
// counts as 28, and only the top bit of the sign counts.
#pragma once

#include <cstdint>

#include "platform/export.h"
#include "platform/ole/ole_types.h"

namespace ole_decimal {

/// Exact.
/// @{
ZORPLATFORM_API DECIMAL FromInt64(std::int64_t value) noexcept;
ZORPLATFORM_API DECIMAL FromUInt64(std::uint64_t value) noexcept;
ZORPLATFORM_API DECIMAL FromCurrency(CY value) noexcept;
/// @}
/// The decimal nearest to the given number of significant digits (7 for a float, 15 for a double), trailing zeros
/// of the fraction removed; zero has no sign. DISP_E_OVERFLOW, and `out` untouched, for NaN, infinities and magnitudes
/// of 2^96 and more.
ZORPLATFORM_API HRESULT FromDouble(double value, int significantDigits, DECIMAL& out) noexcept;

/// Integers round half to even. A currency rounds away from zero: what is left beyond its four places counts as one
/// more of the last. DISP_E_OVERFLOW, and `out` untouched, when the result does not fit.
/// @{
ZORPLATFORM_API HRESULT ToInt64(const DECIMAL& value, std::int64_t& out) noexcept;
ZORPLATFORM_API HRESULT ToUInt64(const DECIMAL& value, std::uint64_t& out) noexcept;
ZORPLATFORM_API HRESULT ToCurrency(const DECIMAL& value, CY& out) noexcept;
/// @}
/// Correctly rounded.
ZORPLATFORM_API double ToDouble(const DECIMAL& value) noexcept;
/// Sign, digits, "." and the fraction without trailing zeros. Writes at most 32 characters, returns how many.
ZORPLATFORM_API std::size_t Format(const DECIMAL& value, char* out) noexcept;
/// Whether the magnitude is 0, whatever scale and sign say.
ZORPLATFORM_API bool IsZero(const DECIMAL& value) noexcept;

}  // namespace ole_decimal
