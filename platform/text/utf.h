// UTF-8, UTF-16 and UTF-32 into each other, on plain character ranges.
//
//   std::u16string wide(utf::MaxUtf16Units(utf8.size()), u'\0');
//   wide.resize(utf::Utf8ToUtf16(utf8, wide.data()));
//
// Every conversion takes any input: a malformed sequence becomes U+FFFD (one for each maximal ill-formed
// subpart, as the Unicode standard recommends in chapter 3.9), and so does an unpaired surrogate. Nothing is
// terminated, nothing is allocated, no state is kept; the functions may run on any number of threads.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/export.h"

namespace utf {

/// Upper bounds for the room an output needs, in units of the output. They hold for malformed input too.
/// @{
constexpr std::size_t MaxUtf16Units(std::size_t utf8Bytes) { return utf8Bytes; }
constexpr std::size_t MaxUtf8Bytes(std::size_t utf16Units) { return 3 * utf16Units; }
/// @}

/// Converts and returns the number of units written to `out`, which has room for MaxUtf16Units(utf8.size()).
ZORPLATFORM_API std::size_t Utf8ToUtf16(std::string_view utf8, char16_t* out) noexcept;

/// Converts and returns the number of bytes written to `out`, which has room for Utf8Length(utf16) bytes.
ZORPLATFORM_API std::size_t Utf16ToUtf8(std::u16string_view utf16, char* out) noexcept;

/// The exact number of UTF-8 bytes that Utf16ToUtf8 writes.
ZORPLATFORM_API std::size_t Utf8Length(std::u16string_view utf16) noexcept;

/// The exact number of UTF-16 units that Utf8ToUtf16 writes.
ZORPLATFORM_API std::size_t Utf16Length(std::string_view utf8) noexcept;

/// True when every unit is below 0x80.
ZORPLATFORM_API bool IsAscii(std::string_view text) noexcept;
ZORPLATFORM_API bool IsAscii(std::u16string_view text) noexcept;

/// Widens ASCII (any bytes, taken as Latin-1) to UTF-16: exactly text.size() units.
ZORPLATFORM_API void WidenAscii(std::string_view text, char16_t* out) noexcept;

/// The same conversions into a new string.
/// @{
ZORPLATFORM_API std::u16string ToUtf16(std::string_view utf8);
ZORPLATFORM_API std::string ToUtf8(std::u16string_view utf16);
/// @}

/// Wide text of the compiler's `wchar_t`: UTF-32 where it has 32 bits, UTF-16 where it has 16.
ZORPLATFORM_API std::u16string ToUtf16(std::wstring_view wide);

}  // namespace utf
