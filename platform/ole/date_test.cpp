#include "platform/ole/date.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

using namespace ole_date;

std::string Text(DATE date) {
  char text[32];
  return {text, Format(date, text)};
}

TEST(OleDate, CountsEveryDayOfTheCalendarOnce) {
  fields_t fields{.year = 100, .month = 1, .day = 1};
  for (std::int64_t day = kMinDay; day <= kMaxDay; ++day) {
    fields_t found;
    DayToFields(day, found);
    ASSERT_TRUE(found.year == fields.year && found.month == fields.month && found.day == fields.day) << day;
    ASSERT_EQ(DayNumber(found.year, found.month, found.day), day);
    if (++fields.day > DaysInMonth(fields.year, fields.month)) {
      fields.day = 1;
      if (++fields.month > 12) fields.month = 1, ++fields.year;
    }
  }
  EXPECT_EQ(fields.year, 10000);
  EXPECT_EQ(DayNumber(1899, 12, 30), 0);
  EXPECT_EQ(DaysInMonth(1900, 2) + DaysInMonth(2000, 2) + DaysInMonth(2023, 2) + DaysInMonth(2024, 2),
            28 + 29 + 28 + 29);
}

TEST(OleDate, KeepsEveryMillisecond) {
  const std::int64_t first = kMinDay * kMillisecondsPerDay;
  const std::int64_t last = (kMaxDay + 1) * kMillisecondsPerDay - 1;
  for (std::int64_t at = first; at <= last; at += 7'777'777'777) {
    std::int64_t found = 0;
    ASSERT_TRUE(ToMilliseconds(FromMilliseconds(at), found) && found == at) << at;
  }
  const struct {
    DATE date;
    std::int64_t milliseconds;
  } cases[] = {{0, 0},
               {-1.25, -kMillisecondsPerDay + kMillisecondsPerDay / 4},  // the fraction counts forward
               {-0.5, kMillisecondsPerDay / 2},
               {1e-9, 0},
               {2958465.999999999, last},
               {-657434.0, first}};
  for (const auto& c : cases) {
    std::int64_t found = -1;
    EXPECT_TRUE(ToMilliseconds(c.date, found)) << c.date;
    EXPECT_EQ(found, c.milliseconds) << c.date;
  }
  for (const DATE date : {2958466.0, -657435.0, 1e300, -1e300, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    std::int64_t untouched = 7;
    EXPECT_FALSE(ToMilliseconds(date, untouched) || untouched != 7 || !Text(date).empty()) << date;
  }
  EXPECT_LT(FromMilliseconds(std::numeric_limits<std::int64_t>::min()), 0);  // out of range, yet defined
}

TEST(OleDate, ReadsIsoAndUsFormsMonthNamesAndTimes) {
  const struct {
    const char16_t* text;
    DATE date;
  } cases[] = {{u"2023-03-15", 45000},
               {u"2023-03-15T06:30:00.250", 45000 + (6.5 * 3600 + 0.25) / 86400},
               {u"2023-03-15 06:30:00.2509999", 45000 + (6.5 * 3600 + 0.25) / 86400},
               {u"2023/3/15", 45000},
               {u"3/15/2023 12:00:00 PM", 45000.5},
               {u" 3-15-2023  12:00 am ", 45000},
               {u"3/15/23", 45000},
               {u"1/1/29", 47119},
               {u"1/1/30", 10959},
               {u"15 March 2023", 45000},
               {u"15-MAR-2023", 45000},
               {u"Mar 15, 2023 6 PM", 45000.75},
               {u"sept 1 2023", 45170},
               {u"3 April 2023", 45019},
               {u"2/29/2024", 45351},
               {u"1/1/100", -657434},
               {u"12/31/9999", 2958465},
               {u"12:30", 12.5 / 24},
               {u"7 PM", 19.0 / 24},
               {u"12:00:00 AM", 0},
               {u"12/29/1899 6:00", -1.25}};
  for (const auto& c : cases) {
    DATE date = -1;
    EXPECT_TRUE(Parse(c.text, date)) << testing::PrintToString(std::u16string(c.text));
    EXPECT_DOUBLE_EQ(date, c.date) << testing::PrintToString(std::u16string(c.text));
  }
}

TEST(OleDate, RefusesWhatNamesNoRealDay) {
  for (const char16_t* text : {u"",
                               u" ",
                               u"5",
                               u"45000.5",
                               u"1 2",
                               u"1.9",
                               u"1/2",
                               u"2/29/2023",
                               u"13/1/2023",
                               u"0/1/2023",
                               u"1/32/2023",
                               u"2023-03-15T",
                               u"2023-03-15x",
                               u"2023-03/15",
                               u"2023-03-15 25:00",
                               u"12:60",
                               u"12:30:60",
                               u"13 PM",
                               u"0 AM",
                               u"12:30.5",
                               u"12:30:",
                               u"12:30:00.",
                               u"1/1/99999",
                               u"1/1/0099",
                               u"100/100/100",
                               u"15 Mar",
                               u"15 Foo 2023",
                               u"Marchs 15 2023",
                               u"Mar 15 2023 12",
                               u"12:30 12:30",
                               u"\u0661/\u0661/2023",
                               u"7 P",
                               u"7 PMM"}) {
    DATE untouched = 7;
    EXPECT_FALSE(Parse(text, untouched)) << testing::PrintToString(std::u16string(text));
    EXPECT_EQ(untouched, 7);
  }
}

TEST(OleDate, ReadsBackWhatItWrites) {
  for (std::int64_t second = 0; second < 86400 * 40; second += 997) {
    const DATE date = FromMilliseconds((second - 86400 * 20) * 1000 * 3650);
    DATE back = 0;
    const std::string text = Text(date);
    ASSERT_TRUE(Parse(std::u16string(text.begin(), text.end()), back) && back == date) << text;
  }
}

}  // namespace
