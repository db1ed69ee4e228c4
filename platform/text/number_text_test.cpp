#include "platform/text/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <tuple>

#include "platform/text/classic_locale_testing.h"
#include "platform/text/real_chars.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::string General(double value, int precision) {
  char text[number_text::kMaxChars];
  return {text, number_text::FormatGeneral(value, precision, text)};
}

std::string GeneralOfPrintf(double value, int precision) { return classic_testing::Print("%.*G", precision, value); }

std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// Doubles of every kind that a fast way could get wrong.
constexpr double (*kKinds[])(std::mt19937_64&) = {
    [](std::mt19937_64& random) { return std::bit_cast<double>(random()); },
    // A decimal as people write it: few digits, a small exponent.
    [](std::mt19937_64& random) { return static_cast<double>(random() % 10'000'000) / std::pow(10.0, random() % 10); },
    // Halfway between two decimals of fewer digits, exactly representable.
    [](std::mt19937_64& random) { return std::ldexp(random() % 1'000'000, -static_cast<int>(random() % 24)); },
    [](std::mt19937_64& random) { return std::ldexp(1.0, static_cast<int>(random() % 2098) - 1074); },
    [](std::mt19937_64& random) { return std::bit_cast<double>(random() >> (12 + random() % 50)); }};  // subnormal

TEST(NumberTextFormat, LaysOutAsGeneralFormat) {
  const std::tuple<double, int, const char*> cases[] = {
      {0.0, 15, "0"},   {100, 2, "1E+02"},  {0.0001, 6, "0.0001"}, {1234567, 6, "1.23457E+06"},
      {0.1, 15, "0.1"}, {99.95, 3, "100"},  {0.00001, 6, "1E-05"}, {0.000099996, 4, "0.0001"},
      {0.5, 0, "0.5"},  {0.125, 2, "0.12"}, {1e100, 15, "1E+100"}, {5e-324, 1, "5E-324"},
      {kInf, 6, "INF"}, {0.375, 2, "0.38"}, {-kNan, 6, "-NAN"},    {-0.1, 33, "-0.100000000000000005551115123125783"}};
  for (const auto& [value, precision, text] : cases) EXPECT_EQ(General(value, precision), text);
}

// printf is the plain way; the fast way has to agree wherever it thinks that it may decide.
TEST(NumberTextFormat, AgreesWithPrintfOnEveryKindOfValue) {
  std::mt19937_64 random(1);
  for (const auto kind : kKinds) {
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
  const std::tuple<const char16_t*, std::int64_t, std::uint64_t> cases[] = {
      {u"", 0, 0},        {u" \t\n\v\f\r+12.9", 12, 12},
      {u"-", 0, 0},       {u"00000000000000000000000042", 42, 42},
      {u"- 1", 0, 0},     {u"9223372036854775807", kMax, std::uint64_t{kMax}},
      {u"-", 0, 0},       {u"9223372036854775808", kMax, std::uint64_t{kMax} + 1},
      {u"+-1", 0, 0},     {u"-9223372036854775809", kMin, 0},
      {u"-12", -12, 0},   {u"18446744073709551616", kMax, kUMax},
      {u"\u0661", 0, 0},  {u"18446744073709551620", kMax, kUMax},
      {u"1\u0661", 1, 1}, {u"-99999999999999999999", kMin, 0}};
  for (const auto& [text, value, unsignedValue] : cases) {
    EXPECT_EQ(number_text::ParseInt64(text), value) << testing::PrintToString(text);
    EXPECT_EQ(number_text::ParseUInt64(text), unsignedValue) << testing::PrintToString(text);
  }
}

TEST(NumberTextParse, RealsTakeThePrefixThatIsANumber) {
  const std::tuple<const char16_t*, double, std::size_t, bool> cases[] = {
      {u"", 0, 0, false},      {u"-2E-1", -0.2, 5, false},
      {u"-.e5", 0, 0, false},  {u"1.7976931348623158e308", 1.7976931348623157e308, 22, false},
      {u".", 0, 0, false},     {u"1.7976931348623159e308", kInf, 22, true},
      {u"0x10", 0, 1, false},  {u"1.5.5", 1.5, 3, false},
      {u" 1", 0, 0, false},    {u"-1e-400", -0.0, 7, false},
      {u".5", 0.5, 2, false},  {u"1e+2x", 100, 4, false},
      {u"inf", 0, 0, false},   {u"3e-324", 5e-324, 6, false},
      {u"1.", 1, 2, false},    {u"1e-99999999999999999999999", 0, 26, false},
      {u"1e+", 1, 1, false},   {u"1e99999999999999999999999", kInf, 25, true},
      {u"-0", -0.0, 2, false}, {u"0e999999999999999999999", 0, 23, false},
      {u"1,5", 1, 1, false},   {u"2e-324", 0, 6, false}};
  for (const auto& [text, value, length, overflow] : cases) {
    SCOPED_TRACE(testing::PrintToString(text));
    const auto prefix = number_text::ParseDoublePrefix(text);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(prefix.value), std::bit_cast<std::uint64_t>(value));
    EXPECT_EQ(prefix.length, length);
    EXPECT_EQ(prefix.overflow, overflow);
  }
  EXPECT_EQ(number_text::ParseDouble(u" \t\n-7.25z"), -7.25);
}

TEST(NumberTextParse, RealsAgreeWithTheStandardLibrary) {
  std::mt19937_64 random(2);
  for (const auto kind : kKinds) {
    for (int i = 0; i < 40'000; ++i) {
      const double value = kind(random);
      if (!std::isfinite(value)) continue;
      const int digits = 1 + static_cast<int>(random() % 25);
      const bool fixed = i % 2 == 0 && std::fabs(value) < 1e20;
      const std::string text = classic_testing::Print(fixed ? "%.*f" : "%.*e", digits, value);
      double expected = 0;
      if (real_chars::FromChars(text.data(), text.data() + text.size(), expected).ec != std::errc{}) continue;
      const auto prefix = number_text::ParseDoublePrefix(Wide(text));
      ASSERT_EQ(std::bit_cast<std::uint64_t>(prefix.value), std::bit_cast<std::uint64_t>(expected)) << text;
      ASSERT_EQ(prefix.length, text.size()) << text;
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

  // The longest tie of all: half of the smallest double.
  const std::string half = classic_testing::Print("%.1075Lf", 0x1p-1075L);
  EXPECT_EQ(parse(half), 0.0);
  EXPECT_EQ(parse(half + zeros + "1"), 5e-324);
}

}  // namespace
