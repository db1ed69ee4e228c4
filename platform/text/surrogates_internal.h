// Which texts have no UTF-8: for the binary forms of text, and for documents that are written as UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace utf {

/// Whether half of a surrogate pair stands alone, for which UTF-8 has no place. A text of ASCII need not be asked.
inline bool HasUnpairedSurrogate(std::u16string_view text) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((text[i] & 0xF800) != 0xD800) continue;
    if (text[i] >= 0xDC00 || i + 1 == text.size() || (text[i + 1] & 0xFC00) != 0xDC00) return true;
    ++i;
  }
  return false;
}

}  // namespace utf
