// A point in time: one count of milliseconds, proleptic Gregorian, no time zone.
//
//   CTimeStamp start(45000.25);              // an OLE date
//   start.ToString();                        // "2023-03-15 06:00:00.000"
//
// A plain value; any number of threads may read one. It always lies in the years 100 to 9999: what would leave them,
// stays at their first or last millisecond.
#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <string_view>

#include "platform/export.h"
#include "platform/framework/cstring.h"

/// Two 32-bit halves of a count of 100-nanosecond ticks since 1 January 1601.
struct _FILETIME {
  /// The lower 32 bits of the count.
  std::uint32_t dwLowDateTime;
  /// The upper 32 bits of the count.
  std::uint32_t dwHighDateTime;
};

namespace zorplatform {

class ZORPLATFORM_API CTimeStamp {
 public:
  /// 30 December 1899 00:00, the zero of OLE dates.
  CTimeStamp() noexcept = default;
  /// An OLE date, rounded to the millisecond. NaN gives the zero date; a date outside the years 100 to 9999 is cut
  /// to the nearest that is inside.
  explicit CTimeStamp(double oleDate) noexcept;
  /// Ticks since 1601, cut to the millisecond and to the year 9999.
  explicit CTimeStamp(const _FILETIME& fileTime) noexcept;
  /// `CTimeStamp(true)` is the present moment, `CTimeStamp(false)` the zero date.
  template <std::same_as<bool> T>
  explicit CTimeStamp(T now) noexcept : CTimeStamp(now ? Now() : CTimeStamp()) {}
  /// A count is no date: FromMilliseconds takes one.
  template <std::integral T>
  requires(!std::same_as<T, bool>) explicit CTimeStamp(T) = delete;
  /// Milliseconds since 30 December 1899; a count outside the years 100 to 9999 is cut to the nearest that is inside.
  static CTimeStamp FromMilliseconds(std::int64_t sinceOleZero) noexcept;
  /// Fields beyond their range carry over: minute 90 is an hour and a half, day 0 the last of the month before.
  static CTimeStamp FromFields(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                               int millisecond = 0) noexcept;
  /// The current UTC time.
  static CTimeStamp Now() noexcept;
  /// Reads what ToString writes; "T" may stand for the blank, the fraction (1 to 9 digits, cut to milliseconds) and
  /// the seconds may be missing, a "Z" may stand behind. False, and `out` untouched, when it is no such text or
  /// names no real time.
  static bool FromString(std::u16string_view text, CTimeStamp& out) noexcept;

  /// Milliseconds since 30 December 1899.
  std::int64_t GetMilliseconds() const noexcept { return milliseconds_; }
  /// The OLE date, whole seconds only (cut), and with the milliseconds.
  /// @{
  double GetVariantTime() const noexcept;
  double GetVariantTimeWithMs() const noexcept;
  /// @}
  /// Zero for times before 1601.
  _FILETIME GetFileTime() const noexcept;
  /// "2023-03-15 06:30:00.000"; years of four digits.
  CString ToString() const;

  /// Moves it on by so many milliseconds, or back.
  void IncMS(std::int64_t milliseconds) noexcept;
  /// The milliseconds from `earlier` to this; negative when that is the later one.
  std::int64_t DiffMS(const CTimeStamp& earlier) const noexcept { return milliseconds_ - earlier.milliseconds_; }

  /// Earlier is less.
  auto operator<=>(const CTimeStamp&) const noexcept = default;

 private:
  std::int64_t milliseconds_ = 0;
};

}  // namespace zorplatform
