// What ASCII characters are, for readers of texts. Other units are none of this, and stay as they are.
#pragma once

namespace ascii {

constexpr bool IsBlank(char16_t unit) noexcept { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }
constexpr bool IsDigit(char16_t unit) noexcept { return unit >= u'0' && unit <= u'9'; }
/// 0 to 9 for a digit, more for anything else.
constexpr unsigned DigitOf(char16_t unit) noexcept { return static_cast<unsigned>(unit) - u'0'; }
constexpr bool IsUpper(char16_t unit) noexcept { return unit >= u'A' && unit <= u'Z'; }
constexpr bool IsLower(char16_t unit) noexcept { return unit >= u'a' && unit <= u'z'; }
constexpr bool IsLetter(char16_t unit) noexcept { return IsUpper(unit) || IsLower(unit); }
constexpr char16_t ToLower(char16_t unit) noexcept { return IsUpper(unit) ? static_cast<char16_t>(unit | 0x20) : unit; }

}  // namespace ascii
