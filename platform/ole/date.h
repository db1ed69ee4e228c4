// OLE dates and calendar fields, proleptic Gregorian, no time zone. Pure arithmetic, any number of threads.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/export.h"
#include "platform/ole/ole_types.h"

namespace ole_date {

/// The whole days that OLE dates may hold: 1 January 100 and 31 December 9999.
/// @{
inline constexpr std::int64_t kMinDay = -657434;
inline constexpr std::int64_t kMaxDay = 2958465;
/// @}
/// So many has every day: there are no leap seconds.
inline constexpr std::int64_t kMillisecondsPerDay = 86400000;

/// A moment as calendars and clocks show it. At first 30 December 1899, 00:00, the zero of OLE dates.
struct fields_t {
  /// Proleptic Gregorian; 0 is the year before 1.
  std::int32_t year = 1899;
  std::int32_t month = 12;       // 1 to 12
  std::int32_t day = 30;         // 1 to 31
  std::int32_t hour = 0;         // 0 to 23
  std::int32_t minute = 0;       // 0 to 59
  std::int32_t second = 0;       // 0 to 59
  std::int32_t millisecond = 0;  // 0 to 999
};

/// Days since 30 December 1899 of a calendar day, and back. Any year that fits the result. DayToFields sets year, month
/// and day and leaves the rest.
/// @{
ZORPLATFORM_API std::int64_t DayNumber(std::int32_t year, std::int32_t month, std::int32_t day) noexcept;
ZORPLATFORM_API void DayToFields(std::int64_t day, fields_t& out) noexcept;
/// @}
/// 28 to 31; `month` is 1 to 12.
ZORPLATFORM_API std::int32_t DaysInMonth(std::int32_t year, std::int32_t month) noexcept;

/// Milliseconds since 30 December 1899 00:00 of an OLE date, rounded to the nearest; a negative date counts its
/// fraction forward from midnight. False for NaN and for dates outside kMinDay to kMaxDay (whole days compared);
/// the last half millisecond of the last day rounds down.
ZORPLATFORM_API bool ToMilliseconds(DATE date, std::int64_t& milliseconds) noexcept;
/// The OLE date of a millisecond count; the inverse of ToMilliseconds for every count in its range.
ZORPLATFORM_API DATE FromMilliseconds(std::int64_t milliseconds) noexcept;

/// Reads a date, a time or both: ISO 8601 ("2023-03-15", "2023-03-15T06:30:00.250"), US forms ("3/15/2023",
/// "3/15/2023 12:00:00 PM"), month names ("15 March 2023", "Mar 15, 2023"), a time alone ("12:30", "7 PM"). Two-digit
/// years are 1930 to 2029; digits beyond the milliseconds are cut. Everything must be there: no part is taken from
/// today's date. False when it is no such text or names no real day.
ZORPLATFORM_API bool Parse(std::u16string_view text, DATE& out) noexcept;

/// US short form: "3/15/2023", with " 6:30:00 AM" when the time is not midnight; the time alone on day 0. Seconds
/// are rounded. Writes at most 32 characters, returns how many; 0 when the date is out of range.
ZORPLATFORM_API std::size_t Format(DATE date, char* out) noexcept;

}  // namespace ole_date
