#include "examples/readings/reading.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace readings {
namespace {

TEST(ParseTime, ReadsIso8601ToTheMillisecond) {
  const struct {
    const char* text;
    std::int64_t ms;
  } cases[] = {{"1970-01-01T00:00:00.000", 0},
               {"1970-01-01 00:00", 0},
               {"2026-03-12T05:00:00.250Z", 1773291600250},
               {"2026-03-12T05:00:00.2509999+00:00", 1773291600250},
               {"2026-03-12T06:30:00.25+01:30", 1773291600250},
               {"2026-03-11T23:00:00.250-0600", 1773291600250},
               {"2000-02-29T23:59:59", 951868799000},
               {"1969-12-31T23:59:59.999", -1},
               {"0100-01-01T00:00:00", -59011459200000},
               {"9999-12-31T23:59:59.999", 253402300799999}};
  for (const auto& c : cases) {
    std::int64_t ms = 7;
    EXPECT_TRUE(ParseTime(c.text, ms)) << c.text;
    EXPECT_EQ(ms, c.ms) << c.text;
  }
}

TEST(ParseTime, RefusesWhatIsNoTime) {
  for (const char* text : {"",
                           "2026-03-12",
                           "2026-03-12T",
                           "2026-03-12T05",
                           "2026-03-12T05:0",
                           "2026-3-12T05:00",
                           "2026-02-29T00:00",
                           "1900-02-29T00:00",
                           "2026-13-01T00:00",
                           "2026-00-01T00:00",
                           "2026-01-00T00:00",
                           "2026-01-01T24:00",
                           "2026-01-01T00:60",
                           "2026-01-01T00:00:60",
                           "2026-01-01T00:00:00.",
                           "2026-01-01T00:00:00.1234567890",
                           "2026-01-01T00:00Zx",
                           "2026-01-01T00:00+1",
                           "2026-01-01T00:00+25:00",
                           "0099-12-31T00:00",
                           "2026-01-01t00:00",
                           " 2026-01-01T00:00",
                           "+026-01-01T00:00"}) {
    std::int64_t ms = 7;
    EXPECT_FALSE(ParseTime(text, ms)) << text;
    EXPECT_EQ(ms, 7) << text;
  }
}

TEST(ParseTime, PrintsBack) {
  for (const char* text : {"2026-03-12 05:00:00.250", "1899-12-30 00:00:00.000", "1600-02-29 12:00:00.001"}) {
    std::int64_t ms = 0;
    ASSERT_TRUE(ParseTime(text, ms));
    EXPECT_EQ(TimeText(ms), text);
  }
}

TEST(ParseRaw, ReadsToTheEdgesOfEveryType) {
  const auto kTaken = raw_verdict_t::taken;
  const auto kWrong = raw_verdict_t::wrongKind;
  const auto kOut = raw_verdict_t::outOfRange;
  const struct {
    DATATYPE type;
    const char* text;
    raw_verdict_t verdict;
    double value;
  } cases[] = {
      {DT_CHAR, "-128", kTaken, -128},
      {DT_CHAR, "128", kOut, 0},
      {DT_BYTE, "255", kTaken, 255},
      {DT_BYTE, "256", kOut, 0},
      {DT_BYTE, "-1", kOut, 0},
      {DT_BYTE, "-0", kTaken, 0},
      {DT_BYTE, "--1", kWrong, 0},
      {DT_SHORT, "+32767", kTaken, 32767},
      {DT_SHORT, "+-1", kWrong, 0},
      {DT_SHORT, "32768", kOut, 0},
      {DT_SHORT, "12.5", kWrong, 0},
      {DT_SHORT, "1e3", kWrong, 0},
      {DT_SHORT, "99999999999999999999x", kWrong, 0},
      {DT_SHORT, "-", kWrong, 0},
      {DT_WORD, "65535", kTaken, 65535},
      {DT_LONG, "-2147483648", kTaken, -2147483648.0},
      {DT_DWORD, "4294967296", kOut, 0},
      {DT_BCD, "9999", kTaken, 9999},
      {DT_BCD, "10000", kOut, 0},
      {DT_LBCD, "99999999", kTaken, 99999999},
      {DT_LBCD, "100000000", kOut, 0},
      {DT_LLONG, "-9223372036854775808", kTaken, -9223372036854775808.0},
      {DT_LLONG, "9223372036854775808", kOut, 0},
      {DT_QWORD, "18446744073709551616", kOut, 0},
      {DT_FLOAT, "3.4028234e38", kTaken, 3.4028234663852886e38},
      {DT_FLOAT, "3.5e38", kOut, 0},
      {DT_FLOAT, "1e-60", kTaken, 0},
      {DT_DOUBLE, "+.5", kTaken, 0.5},
      {DT_DOUBLE, "-1.5e-3", kTaken, -0.0015},
      {DT_DOUBLE, "1e400", kOut, 0},
      {DT_DOUBLE, "-1e-400", kTaken, -0.0},
      {DT_DOUBLE, "inf", kWrong, 0},
      {DT_DOUBLE, "-nan", kWrong, 0},
      {DT_DOUBLE, "0x10", kWrong, 0},
      {DT_DOUBLE, "1,5", kWrong, 0},
      {DT_BOOLEAN, "TRUE", kTaken, 1},
      {DT_BOOLEAN, "0", kTaken, 0},
      {DT_BOOLEAN, "2", kWrong, 0},
      {DT_DATE, "1900-01-01T12:00", kTaken, 2.5},
      {DT_DATE, "2.5", kWrong, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.type) + " " + c.text);
    CVariant value = CVariant::FromInt32(-77);
    EXPECT_EQ(ParseRaw(c.text, c.type, value), c.verdict);
    const bool taken = c.verdict == raw_verdict_t::taken;
    EXPECT_EQ(value.vt, taken ? CVariant::ConvertDataType(c.type) : VARTYPE{VT_I4});
    EXPECT_EQ(value.GetAsDouble(), taken ? c.value : -77);
    EXPECT_EQ(std::signbit(value.GetAsDouble()), std::signbit(taken ? c.value : -77));
  }
}

TEST(ParseRaw, KeepsAll64BitsAndAllText) {
  CVariant value;
  ASSERT_EQ(ParseRaw("18446744073709551615", DT_QWORD, value), raw_verdict_t::taken);
  EXPECT_EQ(value.ullVal, 18446744073709551615u);
  ASSERT_EQ(ParseRaw("K\xC3\xBChl", DT_STRING, value), raw_verdict_t::taken);
  EXPECT_EQ(value.GetStringView(), u"Kühl");
}

TEST(ExpectedRaw, NamesTheRange) {
  EXPECT_EQ(ExpectedRaw(DT_SHORT), "a whole number from -32768 to 32767");
  EXPECT_EQ(ExpectedRaw(DT_LBCD), "a whole number from 0 to 99999999");
  EXPECT_EQ(ExpectedRaw(DT_DWORD), "a whole number from 0 to 4294967295");
}

}  // namespace
}  // namespace readings
