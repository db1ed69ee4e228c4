// Enumerations with texts: one table, in the order of the numbers from 0 on, that both directions read.
#pragma once

#include <cstddef>
#include <functional>
#include <iterator>

#include "platform/text/collation.h"

namespace enum_text {

/// The position of the row whose text is `text`, letter case aside; -1 for any other text and for null. `textOf` gives
/// a row's text.
template <class Row, std::size_t N, class TextOf = std::identity>
int IndexOf(const Row (&rows)[N], const char16_t* text, TextOf textOf = {}) noexcept {
  if (text == nullptr) return -1;
  for (std::size_t i = 0; i < N; ++i) {
    if (collation::CompareNoCase(text, std::invoke(textOf, rows[i])) == 0) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace enum_text
