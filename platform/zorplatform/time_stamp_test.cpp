#include "platform/zorplatform/time_stamp.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <tuple>
#include <utility>

#include "platform/ole/date.h"

namespace {

using zorplatform::CTimeStamp;

constexpr std::int64_t kDay = ole_date::kMillisecondsPerDay;
const CString kFirst = u"0100-01-01 00:00:00.000";
const CString kLast = u"9999-12-31 23:59:59.999";

TEST(TimeStamp, ReadsOleDatesAndGivesThemBack) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  const std::tuple<double, CString, double> cases[] = {
      {0, u"1899-12-30 00:00:00.000", 0},
      {45000.25, u"2023-03-15 06:00:00.000", 45000.25},
      {-1.25, u"1899-12-29 06:00:00.000", -1.25},
      {-1.75, u"1899-12-29 18:00:00.000", -1.75},
      {45000.5 + 0.75 / 86400, u"2023-03-15 12:00:00.750", 45000.5},
      {-1.5 - 0.75 / 86400, u"1899-12-29 12:00:00.750", -1.5},
      {nan, u"1899-12-30 00:00:00.000", 0},
      {infinity, kLast, 2958465 + 86399 / 86400.0},
      {2958466, kLast, 2958465 + 86399 / 86400.0},
      {2958465.9999999999, kLast, 2958465 + 86399 / 86400.0},
      {-infinity, kFirst, -657434},
      {-657435, kFirst, -657434},
  };
  for (const auto& [date, text, whole] : cases) {
    const CTimeStamp time(date);
    EXPECT_EQ(time.ToString(), text);
    EXPECT_EQ(time.GetVariantTime(), whole);
    EXPECT_EQ(CTimeStamp(time.GetVariantTimeWithMs()), time);
  }
}

TEST(TimeStamp, ReadsFileTimesAndGivesThemBack) {
  const std::tuple<std::uint64_t, CString, std::uint64_t> cases[] = {
      {0, u"1601-01-01 00:00:00.000", 0},
      {116444736000000000, u"1970-01-01 00:00:00.000", 116444736000000000},
      {116444736000019999, u"1970-01-01 00:00:00.001", 116444736000010000},
      {UINT64_MAX, kLast, 2650467743999990000},
  };
  for (const auto& [ticks, text, expected] : cases) {
    const CTimeStamp time(_FILETIME{static_cast<std::uint32_t>(ticks), static_cast<std::uint32_t>(ticks >> 32)});
    EXPECT_EQ(time.ToString(), text);
    const _FILETIME back = time.GetFileTime();
    EXPECT_EQ(std::uint64_t{back.dwHighDateTime} << 32 | back.dwLowDateTime, expected);
  }
  const _FILETIME before1601 = CTimeStamp(-200000.0).GetFileTime();
  EXPECT_EQ(before1601.dwHighDateTime | before1601.dwLowDateTime, 0U);
}

TEST(TimeStamp, CarriesFieldsOverAndStaysInTheCalendar) {
  const std::pair<CTimeStamp, CString> cases[] = {
      {CTimeStamp::FromFields(2024, 2, 29, 1, 2, 3, 4), u"2024-02-29 01:02:03.004"},
      {CTimeStamp::FromFields(2023, 2, 29), u"2023-03-01 00:00:00.000"},
      {CTimeStamp::FromFields(2024, 14, 0, 0, 90), u"2025-01-31 01:30:00.000"},
      {CTimeStamp::FromFields(2024, 0, 1, 0, 0, 0, -1), u"2023-11-30 23:59:59.999"},
      {CTimeStamp::FromFields(INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX), kLast},
      {CTimeStamp::FromFields(INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN), kFirst},
      {CTimeStamp::FromMilliseconds(INT64_MAX), kLast},
      {CTimeStamp::FromMilliseconds(INT64_MIN), kFirst},
  };
  for (const auto& [time, text] : cases) EXPECT_EQ(time.ToString(), text);

  CTimeStamp moved(1.0);
  moved.IncMS(-2 * kDay);
  EXPECT_EQ(moved.DiffMS(CTimeStamp()), -kDay);
  moved.IncMS(INT64_MIN);
  EXPECT_EQ(moved.ToString(), kFirst);
  moved.IncMS(INT64_MAX);
  EXPECT_EQ(moved.ToString(), kLast);
}

TEST(TimeStamp, ReadsItsTextAndNothingElse) {
  const std::pair<const char16_t*, const char16_t*> cases[] = {
      {u"2023-03-15 06:30:00.000", u"2023-03-15 06:30:00.000"},
      {u"2023-03-15T06:30Z", u"2023-03-15 06:30:00.000"},
      {u"2023-03-15 06:30:59.1", u"2023-03-15 06:30:59.100"},
      {u"2023-03-15 06:30:59.999999999Z", u"2023-03-15 06:30:59.999"},
      {u"0100-01-01 00:00", u"0100-01-01 00:00:00.000"},
      {u"9999-12-31 23:59:59.999", u"9999-12-31 23:59:59.999"},
  };
  CTimeStamp time;
  for (const auto& [text, read] : cases) {
    EXPECT_TRUE(CTimeStamp::FromString(text, time)) << CString(text);
    EXPECT_EQ(time.ToString(), read);
  }
  for (const char16_t* text :
       {u"", u"2023-03-15", u"2023-03-15 06", u"2023-03-15 06:30.5", u"2023-03-15 06:30:00.", u"2023-02-29 00:00",
        u"2023-03-15 06:30:00.0000000000", u"2023-03-15 06:30:00 ", u" 2023-03-15 06:30:00", u"2023-13-01 00:00",
        u"2023-00-01 00:00", u"2023-01-01 24:00", u"2023-01-01 00:60", u"2023-01-01 00:00:60", u"0099-12-31 00:00",
        u"2023-1-01 00:00", u"+023-01-01 00:00"}) {
    EXPECT_FALSE(CTimeStamp::FromString(text, time)) << CString(text);
    EXPECT_EQ(time.ToString(), kLast);
  }
}

TEST(TimeStamp, TakesThePresentMomentFromTheClock) {
  const std::time_t seconds = std::time(nullptr);
  const std::int64_t since1970 = CTimeStamp(true).DiffMS(CTimeStamp::FromFields(1970, 1, 1));
  EXPECT_NEAR(static_cast<double>(since1970) / 1000, static_cast<double>(seconds), 60);
  EXPECT_EQ(CTimeStamp(false), CTimeStamp());
}

}  // namespace
