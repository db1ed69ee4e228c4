// The text of addresses, for the classes that print and read them.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace address_text {

using octets_t = std::array<std::uint8_t, 4>;
static_assert(sizeof(octets_t) == sizeof(std::uint32_t));

inline constexpr std::size_t kMaxQuadUnits = 15;  // "255.255.255.255"

/// Writes the dotted text of a raw value and returns its end. `out` has room for kMaxQuadUnits + 1 units.
char16_t* WriteQuad(std::uint32_t address, char16_t* out) noexcept;

/// Throws CException -4: the text in double quotes, cut when it is very long, and what is wrong with it.
[[noreturn]] void Fail(std::u16string_view text, const char* why);

}  // namespace address_text
