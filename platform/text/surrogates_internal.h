// Surrogates in wide text: which form a pair, and which texts have no UTF-8 because one stands alone.
#pragma once

#include <cstddef>
#include <string_view>

namespace utf {

inline bool IsSurrogate(char16_t unit) noexcept { return (unit & 0xF800) == 0xD800; }
/// The first half of a pair.
inline bool IsHighSurrogate(char16_t unit) noexcept { return (unit & 0xFC00) == 0xD800; }

/// Whether a pair of surrogates begins at `at`.
inline bool IsPairAt(std::u16string_view text, std::size_t at) noexcept {
  return IsHighSurrogate(text[at]) && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00;
}

/// Whether half of a surrogate pair stands alone, for which UTF-8 has no place. A text of ASCII need not be asked.
inline bool HasUnpairedSurrogate(std::u16string_view text) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!IsSurrogate(text[i])) continue;
    if (!IsPairAt(text, i)) return true;
    ++i;
  }
  return false;
}

}  // namespace utf
