// The number that a text begins with, under the names the family calls these parses by.
//
//   zorplatform::_ttoll(u" -12abc");          // -12
//   zorplatform::wtof(u"2.5 bar");            // 2.5
//
// Leading white space and a sign are taken, reading stops where the number ends, a text without one gives 0, and a
// null pointer is an empty text. Integers beyond their range saturate; a minus sign before an unsigned one gives 0.
// The C locale has no say. No state; any number of threads.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "platform/framework/cstring.h"
#include "platform/text/number_text.h"

namespace zorplatform {

/// 64 bits with a sign.
inline std::int64_t _ttoll(std::u16string_view text) noexcept { return number_text::ParseInt64(text); }
/// 64 bits without a sign.
inline std::uint64_t _ttoull(std::u16string_view text) noexcept { return number_text::ParseUInt64(text); }
/// 32 bits, as the family's unsigned int has.
inline std::uint32_t _ttoui(std::u16string_view text) noexcept {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(_ttoull(text), UINT32_MAX));
}
/// A real number, as number_text::ParseDouble reads it.
inline double wtof(std::u16string_view text) noexcept { return number_text::ParseDouble(text); }

/// The same of a CString or a NUL-terminated text.
/// @{
inline std::int64_t _ttoll(const CString& text) noexcept { return _ttoll(text.View()); }
inline std::uint64_t _ttoull(const CString& text) noexcept { return _ttoull(text.View()); }
inline std::uint32_t _ttoui(const CString& text) noexcept { return _ttoui(text.View()); }
inline double wtof(const CString& text) noexcept { return wtof(text.View()); }

inline std::u16string_view TextOrEmpty(const char16_t* text) noexcept {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}
inline std::int64_t _ttoll(const char16_t* text) noexcept { return _ttoll(TextOrEmpty(text)); }
inline std::uint64_t _ttoull(const char16_t* text) noexcept { return _ttoull(TextOrEmpty(text)); }
inline std::uint32_t _ttoui(const char16_t* text) noexcept { return _ttoui(TextOrEmpty(text)); }
inline double wtof(const char16_t* text) noexcept { return wtof(TextOrEmpty(text)); }
/// @}

}  // namespace zorplatform
