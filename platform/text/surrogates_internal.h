// Halves of surrogate pairs: for the forms of text that have no place for one by itself, and for whoever cuts a text.
#pragma once

#include <cstddef>
#include <string_view>

namespace utf {

constexpr bool IsSurrogate(char16_t unit) noexcept { return (unit & 0xF800) == 0xD800; }
constexpr bool IsHighSurrogate(char16_t unit) noexcept { return (unit & 0xFC00) == 0xD800; }
constexpr bool IsLowSurrogate(char16_t unit) noexcept { return (unit & 0xFC00) == 0xDC00; }

/// Whether a pair begins at a place of the text.
constexpr bool IsPairAt(std::u16string_view text, std::size_t at) noexcept {
  return at + 1 < text.size() && IsHighSurrogate(text[at]) && IsLowSurrogate(text[at + 1]);
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

/// The first `most` units of a text, or one less where a high half would be the last of them.
constexpr std::u16string_view CutBetweenCharacters(std::u16string_view text, std::size_t most) noexcept {
  if (text.size() <= most) return text;
  return text.substr(0, most != 0 && IsHighSurrogate(text[most - 1]) ? most - 1 : most);
}

}  // namespace utf
