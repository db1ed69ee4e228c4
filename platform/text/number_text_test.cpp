#include "platform/text/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::string General(double value, int precision) {
  char text[number_text::kMaxChars];
  return {text, number_text::FormatGeneral(value, precision, text)};
}

std::string GeneralOfPrintf(double value, int precision) {
  char text[number_text::kMaxChars];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%.*G", precision, value))};
}

std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

double AnyDouble(std::mt19937_64& random) { return std::bit_cast<double>(random()); }

// A decimal as people write it: few digits, a small exponent.
double ShortDecimal(std::mt19937_64& random) {
  const auto places = static_cast<double>(random() % 10);
  return static_cast<double>(random() % 10'000'000) / std::pow(10.0, places);
}

// Halfway between two decimals of fewer digits, exactly representable.
double Half(std::mt19937_64& random) {
  return std::ldexp(static_cast<double>(random() % 1'000'000), -static_cast<int>(random() % 24));
}

double PowerOfTwo(std::mt19937_64& random) { return std::ldexp(1.0, static_cast<int>(random() % 2098) - 1074); }

double Subnormal(std::mt19937_64& random) { return std::bit_cast<double>(random() >> (12 + random() % 50)); }

TEST(NumberTextFormat, LaysOutAsGeneralFormat) {
  const struct {
    double value;
    int precision;
    const char* text;
  } cases[] = {{0.0, 15, "0"},
               {-0.0, 15, "-0"},
               {0.1, 15, "0.1"},
               {100, 2, "1E+02"},
               {123456, 6, "123456"},
               {1234567, 6, "1.23457E+06"},
               {0.0001, 6, "0.0001"},
               {0.00001, 6, "1E-05"},
               {99.95, 3, "100"},
               {0.125, 2, "0.12"},
               {0.375, 2, "0.38"},
               {999999.5, 6, "1E+06"},
               {0.000099996, 4, "0.0001"},
               {1e100, 15, "1E+100"},
               {5e-324, 1, "5E-324"},
               {0.1, 17, "0.10000000000000001"},
               {0.5, 0, "0.5"},
               {0.1, 99, "0.1000000000000000055511151231257827021182"},
               {kInf, 6, "INF"},
               {-kInf, 6, "-INF"},
               {kNan, 6, "NAN"},
               {-kNan, 6, "-NAN"}};
  for (const auto& c : cases) EXPECT_EQ(General(c.value, c.precision), c.text);
}

// printf is the plain way; the fast way has to agree wherever it thinks that it may decide.
TEST(NumberTextFormat, AgreesWithPrintfOnEveryKindOfValue) {
  double (*const kinds[])(std::mt19937_64&) = {AnyDouble, ShortDecimal, Half, PowerOfTwo, Subnormal};
  std::mt19937_64 random(1);
  for (const auto kind : kinds) {
    for (int i = 0; i < 40'000; ++i) {
      const double value = kind(random);
      const int precision = i % 4 == 0 ? 1 + static_cast<int>(random() % 40) : 1 + static_cast<int>(random() % 18);
      ASSERT_EQ(General(value, precision), GeneralOfPrintf(value, precision)) << value << " " << precision;
    }
  }
}

TEST(NumberTextFormat, WritesIntegersToTheirEnds) {
  char text[number_text::kMaxChars];
  const auto of = [&text](auto value) { return std::string(text, number_text::FormatInteger(value, text)); };
  EXPECT_EQ(of(std::int64_t{0}), "0");
  EXPECT_EQ(of(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(of(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(NumberTextParse, IntegersStopSaturateAndKeepTheirSign) {
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kUMax = std::numeric_limits<std::uint64_t>::max();
  const struct {
    const char16_t* text;
    std::int64_t value;
    std::uint64_t unsignedValue;
  } cases[] = {{u"", 0, 0},
               {u"-", 0, 0},
               {u"x1", 0, 0},
               {u"- 1", 0, 0},
               {u"+-1", 0, 0},
               {u" \t\n\v\f\r+12.9", 12, 12},
               {u"-12", -12, 0},
               {u"-0", 0, 0},
               {u"\u0661", 0, 0},
               {u"1\u0661", 1, 1},
               {u"00000000000000000000000042", 42, 42},
               {u"9223372036854775807", kMax, std::uint64_t{kMax}},
               {u"9223372036854775808", kMax, std::uint64_t{kMax} + 1},
               {u"-9223372036854775808", kMin, 0},
               {u"-9223372036854775809", kMin, 0},
               {u"18446744073709551615", kMax, kUMax},
               {u"18446744073709551616", kMax, kUMax},
               {u"18446744073709551620", kMax, kUMax},
               {u"99999999999999999999999x", kMax, kUMax},
               {u"-99999999999999999999", kMin, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(std::u16string(c.text)));
    EXPECT_EQ(number_text::ParseInt64(c.text), c.value);
    EXPECT_EQ(number_text::ParseUInt64(c.text), c.unsignedValue);
  }
}

TEST(NumberTextParse, RealsTakeThePrefixThatIsANumber) {
  const struct {
    const char16_t* text;
    double value;
    std::size_t length;
    bool overflow;
  } cases[] = {{u"", 0, 0, false},
               {u"-", 0, 0, false},
               {u".", 0, 0, false},
               {u"-.e5", 0, 0, false},
               {u" 1", 0, 0, false},
               {u"inf", 0, 0, false},
               {u"nan", 0, 0, false},
               {u"0x10", 0, 1, false},
               {u"1.", 1, 2, false},
               {u".5", 0.5, 2, false},
               {u"1.5.5", 1.5, 3, false},
               {u"1e", 1, 1, false},
               {u"1e+", 1, 1, false},
               {u"1e+2x", 100, 4, false},
               {u"-2E-1", -0.2, 5, false},
               {u"1,5", 1, 1, false},
               {u"-0", -0.0, 2, false},
               {u"0e999999999999999999999", 0, 23, false},
               {u"-1e309", -kInf, 6, true},
               {u"1.7976931348623158e308", 1.7976931348623157e308, 22, false},
               {u"1.7976931348623159e308", kInf, 22, true},
               {u"-1e-400", -0.0, 7, false},
               {u"2e-324", 0, 6, false},
               {u"3e-324", 5e-324, 6, false},
               {u"1e99999999999999999999999", kInf, 25, true},
               {u"1e-99999999999999999999999", 0, 26, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(std::u16string(c.text)));
    const auto prefix = number_text::ParseDoublePrefix(c.text);
    EXPECT_EQ(prefix.value, c.value);
    EXPECT_EQ(std::signbit(prefix.value), std::signbit(c.value));
    EXPECT_EQ(prefix.length, c.length);
    EXPECT_EQ(prefix.overflow, c.overflow);
  }
  EXPECT_EQ(number_text::ParseDouble(u" \t\n-7.25z"), -7.25);
}

TEST(NumberTextParse, RealsAgreeWithTheStandardLibrary) {
  double (*const kinds[])(std::mt19937_64&) = {AnyDouble, ShortDecimal, Half, Subnormal};
  std::mt19937_64 random(2);
  for (const auto kind : kinds) {
    for (int i = 0; i < 40'000; ++i) {
      const double value = kind(random);
      if (!std::isfinite(value)) continue;
      char text[400];
      const int digits = 1 + static_cast<int>(random() % 25);
      const bool fixed = i % 2 == 0 && std::fabs(value) < 1e20;
      const int length = std::snprintf(text, sizeof text, fixed ? "%.*f" : "%.*e", digits, value);
      double expected = 0;
      if (std::from_chars(text, text + length, expected).ec != std::errc{}) continue;
      const auto prefix = number_text::ParseDoublePrefix(Wide({text, static_cast<std::size_t>(length)}));
      ASSERT_EQ(std::bit_cast<std::uint64_t>(prefix.value), std::bit_cast<std::uint64_t>(expected)) << text;
      ASSERT_EQ(prefix.length, static_cast<std::size_t>(length)) << text;
    }
  }
}

// Every digit counts: the texts stand exactly between two doubles, or one digit at the far end beyond.
TEST(NumberTextParse, RealsOfAnyLengthAreRoundedCorrectly) {
  const std::string tie = "9007199254740993";  // 2^53 + 1
  const std::string zeros(1'000'000, '0');
  const auto parse = [](const std::string& text) { return number_text::ParseDouble(Wide(text)); };
  EXPECT_EQ(parse(tie + "." + zeros), 9007199254740992.0);
  EXPECT_EQ(parse(tie + "." + zeros + "1"), 9007199254740994.0);
  EXPECT_EQ(parse(tie + zeros + "e-1000000"), 9007199254740992.0);
  EXPECT_EQ(parse(tie + zeros + "1e-1000001"), 9007199254740994.0);
  EXPECT_EQ(parse("0." + zeros + "25e1000000"), 0.25);
  EXPECT_EQ(parse(zeros + "25" + zeros + "e-1000000"), 25);
  EXPECT_EQ(parse("1" + zeros), kInf);

  char text[1200];  // the longest tie of all: half of the smallest double
  int length = std::snprintf(text, sizeof text, "%.1074f", 5e-324);
  std::string half(text, static_cast<std::size_t>(length));
  half.insert(2, "0");  // a tenth of it; five tenths below
  EXPECT_EQ(parse(half + "e1"), 5e-324);
  int carry = 0;
  for (auto digit = half.rbegin(); digit != half.rend(); ++digit) {
    if (*digit == '.') continue;
    const int product = (*digit - '0') * 5 + carry;
    *digit = static_cast<char>('0' + product % 10);
    carry = product / 10;
  }
  EXPECT_EQ(parse(half), 0.0);
  EXPECT_EQ(parse(half + zeros + "1"), 5e-324);
}

}  // namespace
