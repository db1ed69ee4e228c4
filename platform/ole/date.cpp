#include "platform/ole/date.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "platform/text/ascii_internal.h"

namespace ole_date {
namespace {

constexpr std::int64_t kMillisecondsPerSecond = 1000;
constexpr std::int64_t kMaxMilliseconds = (kMaxDay + 1) * kMillisecondsPerDay - 1;
constexpr std::int32_t kMinYear = 100;

// Calendar arithmetic counts in years that begin on 1 March, so that the leap day comes last, and in eras of 400
// years, which are all of one length.
constexpr std::int64_t kDaysPerEra = 146097;
constexpr std::int64_t kEpoch = 693899;  // 30 December 1899, counted from 1 March of year 0

constexpr std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor) {
  return value / divisor - (value % divisor < 0 ? 1 : 0);
}

bool IsLeapYear(std::int32_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

// ---- Reading texts

constexpr std::string_view kMonths[] = {"january", "february", "march",     "april",   "may",      "june",
                                        "july",    "august",   "september", "october", "november", "december"};

struct number_t {
  std::int32_t value = 0;
  std::int32_t digits = 0;
};

// A position in a text. What begins with Take moves on when it finds what it looks for.
class reader_t {
 public:
  explicit reader_t(std::u16string_view text) : rest_(text) {}

  bool AtEnd() const { return rest_.empty(); }
  bool AtLetter() const { return !AtEnd() && ascii::IsLetter(rest_[0]); }

  bool Take(char16_t unit) {
    if (AtEnd() || ascii::ToLower(rest_[0]) != unit) return false;
    rest_.remove_prefix(1);
    return true;
  }

  bool TakeBlanks() {
    const bool found = !AtEnd() && ascii::IsBlank(rest_[0]);
    while (!AtEnd() && ascii::IsBlank(rest_[0])) rest_.remove_prefix(1);
    return found;
  }

  // One to four digits: no part of a date has more.
  bool TakeNumber(number_t& out) {
    out = {};
    while (static_cast<std::size_t>(out.digits) < rest_.size() && ascii::IsDigit(rest_[out.digits])) {
      if (out.digits == 4) return false;
      out.value = out.value * 10 + (rest_[out.digits] - u'0');
      ++out.digits;
    }
    rest_.remove_prefix(static_cast<std::size_t>(out.digits));
    return out.digits != 0;
  }

  // Decimals of a second, cut after the milliseconds.
  bool TakeMilliseconds(std::int32_t& out) {
    if (AtEnd() || !ascii::IsDigit(rest_[0])) return false;
    out = 0;
    for (std::int32_t unit = 100; !AtEnd() && ascii::IsDigit(rest_[0]); unit /= 10, rest_.remove_prefix(1)) {
      out += unit * (rest_[0] - u'0');
    }
    return true;
  }

  // A month's name, or three and more of its first letters, in any letter case.
  bool TakeMonth(std::int32_t& month) {
    const std::size_t letters = LetterCount();
    if (letters < 3) return false;
    for (std::size_t i = 0; i != std::size(kMonths); ++i) {
      const std::string_view name = kMonths[i].substr(0, letters);
      if (letters > kMonths[i].size() || !std::equal(name.begin(), name.end(), rest_.begin(), [](char a, char16_t b) {
            return static_cast<char16_t>(a) == ascii::ToLower(b);
          })) {
        continue;
      }
      rest_.remove_prefix(letters);
      month = static_cast<std::int32_t>(i) + 1;
      return true;
    }
    return false;
  }

 private:
  std::size_t LetterCount() const {
    reader_t ahead = *this;
    while (ahead.AtLetter() && rest_.size() - ahead.rest_.size() < 10) ahead.rest_.remove_prefix(1);
    return rest_.size() - ahead.rest_.size();
  }

  std::u16string_view rest_;
};

bool SetYear(const number_t& number, fields_t& out) {
  out.year = number.value;
  if (number.digits <= 2) out.year += number.value < 30 ? 2000 : 1900;
  return out.year >= kMinYear;
}

bool SetDay(std::int32_t month, std::int32_t day, fields_t& out) {
  if (month < 1 || month > 12 || day < 1 || day > DaysInMonth(out.year, month)) return false;
  out.month = month;
  out.day = day;
  return true;
}

// Behind "15" or in front of everything: "March 2023", "-Mar-2023".
bool ReadMonthFirst(reader_t& reader, number_t day, fields_t& out) {
  const bool dayFirst = day.digits != 0;
  std::int32_t month = 0;
  number_t year;
  if (!reader.TakeMonth(month)) return false;
  if (!dayFirst) {
    reader.TakeBlanks();
    if (!reader.TakeNumber(day)) return false;
  }
  if (!reader.Take(u',') && !reader.Take(u'-')) {
    if (!reader.TakeBlanks()) return false;
  } else {
    reader.TakeBlanks();
  }
  return day.digits <= 2 && reader.TakeNumber(year) && SetYear(year, out) && SetDay(month, day.value, out);
}

// Behind the first number of a date: "/15/2023", "-03-15", " March 2023". The separator is the same in both places.
bool ReadDateBehind(reader_t& reader, const number_t& first, fields_t& out) {
  const char16_t separator = reader.Take(u'/') ? u'/' : reader.Take(u'-') ? u'-' : u' ';
  if (separator != u'/' && (reader.TakeBlanks() || reader.AtLetter())) return ReadMonthFirst(reader, first, out);
  number_t second, third;
  if (separator == u' ' || !reader.TakeNumber(second) || second.digits > 2 || !reader.Take(separator) ||
      !reader.TakeNumber(third)) {
    return false;
  }
  if (first.digits > 2) {
    return third.digits <= 2 && SetYear(first, out) && SetDay(second.value, third.value, out);
  }
  return SetYear(third, out) && SetDay(first.value, second.value, out);
}

// Behind the hour: ":30", ":30:00.250", then AM or PM. An hour alone needs one of these.
bool ReadTimeBehind(reader_t& reader, const number_t& hour, fields_t& out) {
  const auto takeSixtieth = [&reader](std::int32_t& value) {
    number_t number;
    const bool taken = reader.TakeNumber(number) && number.digits <= 2 && number.value < 60;
    value = number.value;
    return taken;
  };
  const bool hasMinutes = reader.Take(u':');
  if (hasMinutes) {
    if (!takeSixtieth(out.minute)) return false;
    if (reader.Take(u':')) {
      if (!takeSixtieth(out.second)) return false;
      if (reader.Take(u'.') && !reader.TakeMilliseconds(out.millisecond)) return false;
    }
  }
  reader.TakeBlanks();
  const bool pm = reader.Take(u'p');
  const bool halfDays = (pm || reader.Take(u'a')) && reader.Take(u'm');
  if (hour.digits > 2 || (!halfDays && !hasMinutes)) return false;
  out.hour = halfDays ? hour.value % 12 + (pm ? 12 : 0) : hour.value;
  return halfDays ? hour.value >= 1 && hour.value <= 12 : hour.value < 24;
}

bool ReadAll(reader_t reader, fields_t& out) {
  reader.TakeBlanks();
  number_t first;
  if (!reader.TakeNumber(first)) {
    if (!ReadMonthFirst(reader, {}, out)) return false;
  } else {
    reader_t ahead = reader;  // a number begins a time or a date
    if (ReadTimeBehind(ahead, first, out)) {
      ahead.TakeBlanks();
      return ahead.AtEnd();
    }
    out = {};
    if (!ReadDateBehind(reader, first, out)) return false;
  }
  const bool mustHaveTime = reader.Take(u't');
  const bool mayHaveTime = mustHaveTime || reader.TakeBlanks();
  if (reader.AtEnd()) return !mustHaveTime;
  if (!mayHaveTime || !reader.TakeNumber(first) || !ReadTimeBehind(reader, first, out)) return false;
  reader.TakeBlanks();
  return reader.AtEnd();
}

// ---- Writing texts

char* WriteNumber(std::int32_t value, char* out) { return std::to_chars(out, out + 11, value).ptr; }

char* WriteTwoDigits(char separator, std::int32_t value, char* out) {
  *out++ = separator;
  *out++ = static_cast<char>('0' + value / 10);
  *out++ = static_cast<char>('0' + value % 10);
  return out;
}

char* WriteDate(const fields_t& fields, char* out) {
  out = WriteNumber(fields.month, out);
  *out++ = '/';
  out = WriteNumber(fields.day, out);
  *out++ = '/';
  return WriteNumber(fields.year, out);
}

char* WriteTime(std::int32_t secondOfDay, char* out) {
  const std::int32_t hour = secondOfDay / 3600;
  out = WriteNumber((hour + 11) % 12 + 1, out);
  out = WriteTwoDigits(':', secondOfDay / 60 % 60, out);
  out = WriteTwoDigits(':', secondOfDay % 60, out);
  *out++ = ' ';
  *out++ = hour < 12 ? 'A' : 'P';
  *out++ = 'M';
  return out;
}

}  // namespace

std::int64_t DayNumber(std::int32_t year, std::int32_t month, std::int32_t day) noexcept {
  const std::int64_t marchYear = std::int64_t{year} - (month <= 2 ? 1 : 0);
  const std::int64_t era = FloorDivide(marchYear, 400);
  const std::int64_t yearOfEra = marchYear - era * 400;
  const std::int64_t dayOfYear = (153 * ((month + 9) % 12) + 2) / 5 + day - 1;
  return era * kDaysPerEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - kEpoch;
}

void DayToFields(std::int64_t day, fields_t& out) noexcept {
  const std::int64_t shifted = day + kEpoch;
  const std::int64_t era = FloorDivide(shifted, kDaysPerEra);
  const std::int64_t dayOfEra = shifted - era * kDaysPerEra;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (kDaysPerEra - 1)) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t month = (5 * dayOfYear + 2) / 153;  // 0 is March
  out.day = static_cast<std::int32_t>(dayOfYear - (153 * month + 2) / 5 + 1);
  out.month = static_cast<std::int32_t>(month < 10 ? month + 3 : month - 9);
  out.year = static_cast<std::int32_t>(era * 400 + yearOfEra + (month < 10 ? 0 : 1));
}

std::int32_t DaysInMonth(std::int32_t year, std::int32_t month) noexcept {
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

bool ToMilliseconds(DATE date, std::int64_t& milliseconds) noexcept {
  const double day = std::trunc(date);
  if (!(day >= static_cast<double>(kMinDay) && day <= static_cast<double>(kMaxDay))) return false;
  const double time = std::fabs(date - day) * static_cast<double>(kMillisecondsPerDay);
  const std::int64_t rounded =
      static_cast<std::int64_t>(day) * kMillisecondsPerDay + static_cast<std::int64_t>(time + 0.5);
  milliseconds = std::min(rounded, kMaxMilliseconds);
  return true;
}

DATE FromMilliseconds(std::int64_t milliseconds) noexcept {
  const std::int64_t rest = milliseconds % kMillisecondsPerDay;
  const std::int64_t time = rest < 0 ? rest + kMillisecondsPerDay : rest;
  // Exact up to the division for every count in the range, so that the quotient is the nearest date.
  const double midnight = static_cast<double>(milliseconds) - static_cast<double>(time);
  const double signedTime = static_cast<double>(midnight < 0 ? -time : time);
  return (midnight + signedTime) / static_cast<double>(kMillisecondsPerDay);
}

bool Parse(std::u16string_view text, DATE& out) noexcept {
  fields_t fields;
  if (!ReadAll(reader_t(text), fields)) return false;
  const std::int64_t seconds = fields.hour * 3600 + fields.minute * 60 + fields.second;
  out = FromMilliseconds(DayNumber(fields.year, fields.month, fields.day) * kMillisecondsPerDay +
                         seconds * kMillisecondsPerSecond + fields.millisecond);
  return true;
}

std::size_t Format(DATE date, char* out) noexcept {
  std::int64_t milliseconds = 0;
  if (!ToMilliseconds(date, milliseconds)) return 0;
  constexpr std::int64_t kSecondsPerDay = kMillisecondsPerDay / kMillisecondsPerSecond;
  const std::int64_t seconds = std::min(FloorDivide(milliseconds + kMillisecondsPerSecond / 2, kMillisecondsPerSecond),
                                        kMaxMilliseconds / kMillisecondsPerSecond);
  const std::int64_t day = FloorDivide(seconds, kSecondsPerDay);
  const auto secondOfDay = static_cast<std::int32_t>(seconds - day * kSecondsPerDay);
  char* at = out;
  if (day != 0) {
    fields_t fields;
    DayToFields(day, fields);
    at = WriteDate(fields, at);
    if (secondOfDay != 0) *at++ = ' ';
  }
  if (day == 0 || secondOfDay != 0) at = WriteTime(secondOfDay, at);
  return static_cast<std::size_t>(at - out);
}

}  // namespace ole_date
