// The decimal digits of an integer as wide text, for those who write them where they are to stay: what was written in
// bytes and is read again in vectors makes the processor wait.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace number_text {

inline constexpr std::array<std::uint64_t, 20> kPowersOfTen = [] {
  std::array<std::uint64_t, 20> powers{};
  std::uint64_t power = 1;
  for (auto& each : powers) {
    each = power;
    power *= 10;
  }
  return powers;
}();

/// 1 for zero.
inline std::size_t CountDigits(std::uint64_t value) noexcept {
  const auto bits = static_cast<std::size_t>(std::bit_width(value | 1));
  const std::size_t some = bits * 1233 >> 12;  // bits * log10(2): all digits, or all but one; at most 19
  return some + (value >= kPowersOfTen[some] ? 1 : 0) + (value == 0 ? 1 : 0);
}

/// Writes the digits so that they end before `end`.
inline void WriteDigits(std::uint64_t value, char16_t* end) noexcept {
  static constexpr auto kPairs = [] {
    std::array<std::array<char16_t, 2>, 100> pairs{};
    for (unsigned i = 0; i != pairs.size(); ++i) {
      pairs[i] = {static_cast<char16_t>(u'0' + i / 10), static_cast<char16_t>(u'0' + i % 10)};
    }
    return pairs;
  }();
  for (; value >= 100; value /= 100) {
    end -= 2;
    std::memcpy(end, kPairs[static_cast<std::size_t>(value % 100)].data(), sizeof kPairs[0]);
  }
  if (value >= 10) {
    std::memcpy(end - 2, kPairs[static_cast<std::size_t>(value)].data(), sizeof kPairs[0]);
  } else {
    end[-1] = static_cast<char16_t>(u'0' + value);
  }
}

}  // namespace number_text
