// Decimal digits on their way into integers, CY and DECIMAL: one rounding for every reader of numbers.
#pragma once

#include <cstdint>

#include "platform/ole/ole_types.h"
#include "platform/text/uint128_internal.h"

namespace ole_decimal {

using wide::uint128_t;

/// A magnitude 0.d1 d2 d3 ... * 10^point. The first digit is not zero; no digits is zero.
struct digits_t {
  /// Decides the last bit of 128 and of every type here, with a digit to spare.
  static constexpr int kKept = 40;
  std::uint8_t digits[kKept];  // 0 to 9
  int count = 0;
  bool more = false;  // a digit other than 0 followed those kept
  std::int64_t point = 0;

  /// The next digit of a text, before or behind its decimal point. Leading zeros only move the point.
  void Append(unsigned digit, bool inFraction) {
    const bool significant = count != 0 || digit != 0;
    if (significant != inFraction) point += significant ? 1 : -1;
    if (!significant) return;
    if (count < kKept) {
      digits[count++] = static_cast<std::uint8_t>(digit);
    } else {
      more |= digit != 0;
    }
  }
};

/// The magnitude times 10^places as an integer, half to even. False when it has more than 38 digits.
bool RoundDigits(const digits_t& value, int places, uint128_t& out) noexcept;

/// The decimal nearest to the digits, without trailing zeros in the fraction. Zero has no sign.
HRESULT FromDigits(const digits_t& value, bool negative, DECIMAL& out) noexcept;

}  // namespace ole_decimal
