#include "platform/zorplatform/time_stamp.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "platform/ole/date.h"

namespace zorplatform {
namespace {

constexpr std::int64_t kDay = ole_date::kMillisecondsPerDay;
constexpr std::int64_t kFirst = ole_date::kMinDay * kDay;
constexpr std::int64_t kLast = (ole_date::kMaxDay + 1) * kDay - 1;

// The zeros of other counts, as days since 30 December 1899.
constexpr std::int64_t kDayOf1601 = -109205;
constexpr std::int64_t kDayOf1970 = 25569;
constexpr std::int64_t kTicksPerMillisecond = 10000;

constexpr std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
  return value / by - (value % by < 0 ? 1 : 0);
}

std::int64_t MillisecondsOf(double oleDate) noexcept {
  std::int64_t milliseconds = 0;
  if (std::isnan(oleDate)) return 0;
  if (ole_date::ToMilliseconds(oleDate, milliseconds)) return milliseconds;
  return oleDate < 0 ? kFirst : kLast;
}

std::int64_t MillisecondsOf(const _FILETIME& fileTime) noexcept {
  const std::uint64_t ticks = std::uint64_t{fileTime.dwHighDateTime} << 32 | fileTime.dwLowDateTime;
  return static_cast<std::int64_t>(ticks / kTicksPerMillisecond) + kDayOf1601 * kDay;
}

// Writes a number of `width` digits, and returns what stands behind it.
char* WriteDigits(char* out, std::int64_t value, int width) {
  for (int i = width; i-- > 0; value /= 10) out[i] = static_cast<char>('0' + value % 10);
  return out + width;
}

// Reads a text from its front. Once something did not fit, nothing does.
class text_reader_t {
 public:
  explicit text_reader_t(std::u16string_view text) : rest_(text) {}

  bool AtEnd() const { return rest_.empty(); }
  bool Take(char16_t unit) {
    if (!rest_.starts_with(unit)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool TakeDigit(int& digit) {
    if (rest_.empty() || rest_[0] < u'0' || rest_[0] > u'9') return false;
    digit = rest_[0] - u'0';
    rest_.remove_prefix(1);
    return true;
  }
  // Exactly `width` digits.
  bool TakeNumber(int width, std::int32_t& number) {
    number = 0;
    for (int digit = 0; width > 0; --width) {
      if (!TakeDigit(digit)) return false;
      number = number * 10 + digit;
    }
    return true;
  }
  // One to nine digits behind the point; those behind the third are cut.
  bool TakeFraction(std::int32_t& milliseconds) {
    int digit = 0;
    int count = 0;
    for (std::int32_t worth = 100; count < 9 && TakeDigit(digit); ++count, worth /= 10) {
      milliseconds += worth * digit;
    }
    return count > 0;
  }

 private:
  std::u16string_view rest_;
};

bool ReadFields(text_reader_t& text, ole_date::fields_t& time) {
  if (!text.TakeNumber(4, time.year) || !text.Take(u'-') || !text.TakeNumber(2, time.month) || !text.Take(u'-') ||
      !text.TakeNumber(2, time.day)) {
    return false;
  }
  if (!text.Take(u' ') && !text.Take(u'T')) return false;
  if (!text.TakeNumber(2, time.hour) || !text.Take(u':') || !text.TakeNumber(2, time.minute)) return false;
  if (text.Take(u':')) {
    if (!text.TakeNumber(2, time.second)) return false;
    if (text.Take(u'.') && !text.TakeFraction(time.millisecond)) return false;
  }
  text.Take(u'Z');
  return text.AtEnd();
}

bool IsRealTime(const ole_date::fields_t& time) {
  return time.year >= 100 && time.month >= 1 && time.month <= 12 && time.day >= 1 &&
         time.day <= ole_date::DaysInMonth(time.year, time.month) && time.hour < 24 && time.minute < 60 &&
         time.second < 60;
}

}  // namespace

CTimeStamp::CTimeStamp(double oleDate) noexcept : CTimeStamp(FromMilliseconds(MillisecondsOf(oleDate))) {}

CTimeStamp::CTimeStamp(const _FILETIME& fileTime) noexcept : CTimeStamp(FromMilliseconds(MillisecondsOf(fileTime))) {}

CTimeStamp CTimeStamp::FromMilliseconds(std::int64_t sinceOleZero) noexcept {
  CTimeStamp result;
  result.milliseconds_ = std::clamp(sinceOleZero, kFirst, kLast);
  return result;
}

CTimeStamp CTimeStamp::FromFields(int year, int month, int day, int hour, int minute, int second,
                                  int millisecond) noexcept {
  const std::int64_t months = std::int64_t{month} - 1;
  const std::int64_t carried = year + FloorDivide(months, 12);
  // Far beyond what the other fields could bring back into the calendar, and still within the day count.
  const auto cutYear = static_cast<std::int32_t>(std::clamp<std::int64_t>(carried, -20'000'000, 20'000'000));
  const auto monthOfYear = static_cast<std::int32_t>(months - 12 * FloorDivide(months, 12) + 1);
  const std::int64_t days = ole_date::DayNumber(cutYear, monthOfYear, 1) + day - 1;
  const std::int64_t minutes = hour * std::int64_t{60} + minute;
  const std::int64_t seconds = minutes * 60 + second;
  return FromMilliseconds(days * kDay + seconds * 1000 + millisecond);
}

CTimeStamp CTimeStamp::Now() noexcept {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return FromMilliseconds(std::chrono::floor<std::chrono::milliseconds>(sinceEpoch).count() + kDayOf1970 * kDay);
}

bool CTimeStamp::FromString(std::u16string_view text, CTimeStamp& out) noexcept {
  ole_date::fields_t time;
  text_reader_t reader(text);
  if (!ReadFields(reader, time) || !IsRealTime(time)) return false;
  out = FromFields(time.year, time.month, time.day, time.hour, time.minute, time.second, time.millisecond);
  return true;
}

double CTimeStamp::GetVariantTime() const noexcept {
  return ole_date::FromMilliseconds(FloorDivide(milliseconds_, 1000) * 1000);
}

double CTimeStamp::GetVariantTimeWithMs() const noexcept { return ole_date::FromMilliseconds(milliseconds_); }

_FILETIME CTimeStamp::GetFileTime() const noexcept {
  const std::int64_t since1601 = std::max<std::int64_t>(milliseconds_ - kDayOf1601 * kDay, 0);
  const auto ticks = static_cast<std::uint64_t>(since1601 * kTicksPerMillisecond);
  return {static_cast<std::uint32_t>(ticks), static_cast<std::uint32_t>(ticks >> 32)};
}

CString CTimeStamp::ToString() const {
  const std::int64_t day = FloorDivide(milliseconds_, kDay);
  const std::int64_t timeOfDay = milliseconds_ - day * kDay;
  ole_date::fields_t date;
  ole_date::DayToFields(day, date);

  struct {
    std::int64_t value;
    int width;
    char separator;
  } const parts[] = {{date.year, 4, '-'},
                     {date.month, 2, '-'},
                     {date.day, 2, ' '},
                     {timeOfDay / 3600000, 2, ':'},
                     {timeOfDay / 60000 % 60, 2, ':'},
                     {timeOfDay / 1000 % 60, 2, '.'},
                     {timeOfDay % 1000, 3, '\0'}};
  char text[32];
  char* end = text;
  for (const auto& part : parts) {
    end = WriteDigits(end, part.value, part.width);
    *end++ = part.separator;
  }
  CString result;
  result.AssignAscii({text, static_cast<std::size_t>(end - text) - 1});
  return result;
}

void CTimeStamp::IncMS(std::int64_t milliseconds) noexcept {
  // Cut first: no way through the calendar is longer than twice its length, and the sum cannot overflow.
  const std::int64_t step = std::clamp(milliseconds, 2 * kFirst - kLast, 2 * kLast - kFirst);
  *this = FromMilliseconds(milliseconds_ + step);
}

}  // namespace zorplatform
