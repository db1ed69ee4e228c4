// Numbers as people write them under US English conventions, with all of a text's digits.
//
// Between blanks: a sign in front or behind, or parentheses for a negative amount; "$"; digits with "," anywhere
// between those of the whole part; one "."; an exponent. Or "&H" with hexadecimal digits, "&O" with octal ones, up to
// 64 bits. Texts of any length and any units may be passed; the work is linear.
//
// Everything here gives DISP_E_TYPEMISMATCH for what is no number and DISP_E_OVERFLOW for one that does not fit;
// the output is then untouched.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/ole/ole_types.h"

namespace text_to_number {

/// Half to even, exact at 64 bits. An overflow is a magnitude of 2^64 and more; zero is never negative.
HRESULT ToInteger(std::u16string_view text, bool& negative, std::uint64_t& magnitude) noexcept;

/// Correctly rounded; what is too small becomes a zero with the sign of the text.
HRESULT ToDouble(std::u16string_view text, double& out) noexcept;
HRESULT ToFloat(std::u16string_view text, float& out) noexcept;

/// Half to even at four places. Hexadecimal and octal texts are an overflow: they have no form as an amount.
HRESULT ToCurrency(std::u16string_view text, CY& out) noexcept;

/// The nearest of 28 places and 96 bits, without trailing zeros in the fraction.
HRESULT ToDecimal(std::u16string_view text, DECIMAL& out) noexcept;

}  // namespace text_to_number
