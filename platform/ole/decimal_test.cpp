#include "platform/ole/decimal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

using namespace ole_decimal;

DECIMAL Make(std::uint32_t high, std::uint64_t low, std::uint8_t scale, std::uint8_t sign = 0) {
  return {.wReserved = 0, .scale = scale, .sign = sign, .Hi32 = high, .Lo64 = low};
}

std::string Text(const DECIMAL& value) {
  char text[32];
  return {text, Format(value, text)};
}

constexpr std::uint64_t kAllBits = std::numeric_limits<std::uint64_t>::max();
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();

TEST(OleDecimal, WritesItsDigitsWithoutTrailingZeros) {
  const struct {
    DECIMAL value;
    const char* text;
  } cases[] = {{Make(0, 0, 28, DECIMAL::kNegative), "0"},
               {Make(0, 120000, 4), "12"},
               {Make(0, 1200, 0), "1200"},
               {Make(0, 1, 28, DECIMAL::kNegative), "-0.0000000000000000000000000001"},
               {Make(~0U, kAllBits, 0), "79228162514264337593543950335"},
               {Make(~0U, kAllBits, 28, DECIMAL::kNegative), "-7.9228162514264337593543950335"},
               {Make(0x0000'0001, 0, 0), "18446744073709551616"},
               {Make(0, 5, 200, 0x7F), "0.0000000000000000000000000005"},  // a broken scale counts as 28
               {FromInt64(kMin64), "-9223372036854775808"},
               {FromCurrency({kMin64}), "-922337203685477.5808"},
               {FromUInt64(kAllBits), "18446744073709551615"}};
  for (const auto& c : cases) EXPECT_EQ(Text(c.value), c.text);
}

TEST(OleDecimal, KeepsTheSignificantDigitsOfAReal) {
  const struct {
    double value;
    int digits;
    const char* text;  // null for overflow
  } cases[] = {{0.1, 15, "0.1"},
               {1.0 / 3, 15, "0.333333333333333"},
               {123456789, 7, "123456800"},
               {-1234.5678, 15, "-1234.5678"},
               {1e28, 15, "10000000000000000000000000000"},
               {7.9e28, 15, "79000000000000000000000000000"},
               {79228162514264337593543950336.0, 15, nullptr},  // 2^96
               {7.922816251426433e28, 15, "79228162514264300000000000000"},
               {1.5e-28, 15, "0.0000000000000000000000000002"},
               {2.5e-28, 15, "0.0000000000000000000000000002"},  // half to even
               {1e-29, 15, "0"},
               {-1e-300, 15, "0"},
               {5e-324, 15, "0"},
               {1e300, 15, nullptr},
               {std::nan(""), 15, nullptr},
               {-HUGE_VAL, 15, nullptr}};
  for (const auto& c : cases) {
    DECIMAL value = FromInt64(7);
    EXPECT_EQ(FromDouble(c.value, c.digits, value), c.text == nullptr ? DISP_E_OVERFLOW : S_OK) << c.value;
    EXPECT_EQ(Text(value), c.text == nullptr ? "7" : c.text);
  }
}

TEST(OleDecimal, RoundsHalfToEvenIntoIntegersAndRefusesTheRest) {
  const struct {
    DECIMAL value;
    const char* asSigned;  // null for overflow
    const char* asUnsigned;
  } cases[] = {{Make(0, 25, 1), "2", "2"},
               {Make(0, 35, 1, DECIMAL::kNegative), "-4", nullptr},
               {Make(0, 5, 1, DECIMAL::kNegative), "0", "0"},
               {Make(0, 6, 1, DECIMAL::kNegative), "-1", nullptr},
               {Make(0, 1ULL << 63, 0), nullptr, "9223372036854775808"},
               {Make(0, 1ULL << 63, 0, DECIMAL::kNegative), "-9223372036854775808", nullptr},
               {Make(9, 0xFFFF'FFFF'FFFF'FFFB, 1), nullptr, nullptr},  // 2^64 - 0.5, a tie: up to even
               {Make(9, 0xFFFF'FFFF'FFFF'FFFA, 1), nullptr, "18446744073709551615"},
               {Make(~0U, kAllBits, 28), "8", "8"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(Text(c.value));
    std::int64_t asSigned = 7;
    std::uint64_t asUnsigned = 7;
    EXPECT_EQ(ToInt64(c.value, asSigned), c.asSigned == nullptr ? DISP_E_OVERFLOW : S_OK);
    EXPECT_EQ(ToUInt64(c.value, asUnsigned), c.asUnsigned == nullptr ? DISP_E_OVERFLOW : S_OK);
    EXPECT_EQ(std::to_string(asSigned), c.asSigned == nullptr ? "7" : c.asSigned);
    EXPECT_EQ(std::to_string(asUnsigned), c.asUnsigned == nullptr ? "7" : c.asUnsigned);
  }
}

TEST(OleDecimal, BecomesTheNearestDoubleAndACurrencyRoundedAway) {
  EXPECT_EQ(ToDouble(Make(0, 3, 1, DECIMAL::kNegative)), -0.3);
  EXPECT_EQ(ToDouble(Make(0, (1ULL << 53) + 1, 0)), 9007199254740992.0);  // a tie
  EXPECT_EQ(ToDouble(Make(0, (1ULL << 54) + 1, 1)), 1801439850948198.5);
  EXPECT_EQ(ToDouble(Make(~0U, kAllBits, 0)), 79228162514264337593543950336.0);
  const struct {
    DECIMAL value;
    std::int64_t currency;
    HRESULT status;
  } cases[] = {{Make(0, 15, 1), 15000, S_OK},
               {Make(0, 1, 5), 1, S_OK},
               {Make(0, 100001, 5, DECIMAL::kNegative), -10001, S_OK},
               {Make(0, 1ULL << 63, 4, DECIMAL::kNegative), kMin64, S_OK},
               {Make(0, 1ULL << 63, 4), 7, DISP_E_OVERFLOW},
               {Make(~0U, kAllBits, 0), 7, DISP_E_OVERFLOW}};
  for (const auto& c : cases) {
    CY currency{7};
    EXPECT_EQ(ToCurrency(c.value, currency), c.status) << Text(c.value);
    EXPECT_EQ(currency.int64, c.currency) << Text(c.value);
  }
}

}  // namespace
