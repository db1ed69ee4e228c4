// Case-insensitive, locale-aware order of names: ICU's root collation at secondary strength, so that letter
// case does not count but accents do. It is what the whole family means by comparing names.
//
//   if (collation::CompareNoCase(name, u"Device 1") == 0) ...
//
// Two texts of plain ASCII are compared through a table that gives the same order without entering ICU. The
// functions may run on any number of threads; the first non-ASCII comparison of the process opens the
// collator.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/export.h"

namespace collation {

/// Negative, zero or positive. Characters that the collation ignores (controls, NUL included) do not count.
/// Any units may be passed, unpaired surrogates too: ICU has a place for them. Where ICU has no collation data,
/// the order is that of the simple-case-folded units behind ASCII, which keeps its own.
ZORPLATFORM_API int CompareNoCase(std::u16string_view a, std::u16string_view b) noexcept;

/// The first nine characters as one number: of two plain ASCII texts with different numbers, the one with the smaller
/// number comes first. Characters beyond ASCII count as one that comes last, wherever the collation puts them.
ZORPLATFORM_API std::uint64_t BeginningOf(std::u16string_view text) noexcept;

/// True for a letter or a digit of any script (Unicode general categories L* and Nd). Surrogates are neither.
ZORPLATFORM_API bool IsAlphaNumeric(char16_t unit) noexcept;

/// True for a blank, tab, line break or another Unicode white-space character.
ZORPLATFORM_API bool IsSpace(char16_t unit) noexcept;

/// Simple upper- and lower-case mapping of one unit; units without a one-unit mapping stay as they are.
/// @{
ZORPLATFORM_API char16_t ToUpper(char16_t unit) noexcept;
ZORPLATFORM_API char16_t ToLower(char16_t unit) noexcept;
/// @}

}  // namespace collation
