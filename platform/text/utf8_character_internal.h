// Where UTF-8 is well formed, character by character: for those who tell the place at which it is not.
#pragma once

#include <cstddef>
#include <string_view>

namespace utf {

/// How many bytes the character has that begins at `at`; 0 when what stands there is malformed.
inline std::size_t CharacterSize(std::string_view text, std::size_t at) noexcept {
  const auto byte = [&](std::size_t i) -> unsigned { return static_cast<unsigned char>(text[at + i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  const std::size_t size = lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (size == 0 || text.size() - at < size) return 0;
  // Neither longer than need be, nor a surrogate, nor beyond the last character.
  const unsigned from = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned to = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (byte(1) < from || byte(1) > to) return 0;
  for (std::size_t i = 2; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  return size;
}

}  // namespace utf
