#include "examples/readings/reading.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>
#include <type_traits>

#include "platform/text/number_text.h"
#include "platform/text/real_chars.h"
#include "platform/zorplatform/time_stamp.h"

namespace readings {
namespace {

constexpr std::int64_t kMsPerMinute = 60'000;
constexpr std::int64_t kMsPerDay = 24 * 60 * kMsPerMinute;
constexpr std::int64_t kOleZeroToUnix = 25'569;  // days from 30 December 1899 to 1 January 1970

// Reads a text from its front.
class CScanner {
 public:
  explicit CScanner(std::string_view text) : text_(text) {}

  /// Exactly so many digits.
  bool Digits(std::size_t count, int& number) {
    if (text_.size() < count) return false;
    int read = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (text_[i] < '0' || text_[i] > '9') return false;
      read = read * 10 + (text_[i] - '0');
    }
    number = read;
    text_.remove_prefix(count);
    return true;
  }
  bool Take(char c) {
    if (text_.empty() || text_.front() != c) return false;
    text_.remove_prefix(1);
    return true;
  }
  bool IsAtEnd() const { return text_.empty(); }

 private:
  std::string_view text_;
};

// Days since 1970 of a day of the proleptic Gregorian calendar, its year beginning in March.
std::int64_t DaysFromCivil(int year, int month, int day) {
  const std::int64_t y = month <= 2 ? year - 1 : year;
  const std::int64_t era = y / 400;  // years are positive here
  const std::int64_t yearOfEra = y - era * 400;
  const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  return era * 146'097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719'468;
}

int DaysInMonth(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month == 2 && leap ? 29 : kDays[month - 1];
}

bool ParseDay(CScanner& in, std::int64_t& ms) {
  int year = 0, month = 0, day = 0;
  if (!in.Digits(4, year) || !in.Take('-') || !in.Digits(2, month) || !in.Take('-') || !in.Digits(2, day)) return false;
  if (year < 100 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) return false;
  ms = DaysFromCivil(year, month, day) * kMsPerDay;
  return true;
}

bool ParseHourMinute(CScanner& in, bool colonOptional, int& minutes) {
  int hour = 0, minute = 0;
  if (!in.Digits(2, hour)) return false;
  const bool colon = in.Take(':');
  if ((!colon && !colonOptional) || !in.Digits(2, minute) || hour > 23 || minute > 59) return false;
  minutes = hour * 60 + minute;
  return true;
}

bool ParseSeconds(CScanner& in, std::int64_t& ms) {
  int second = 0;
  if (!in.Digits(2, second) || second > 59) return false;
  ms += second * 1000;
  if (!in.Take('.')) return true;
  int digit = 0;
  if (!in.Digits(1, digit)) return false;
  int weight = 100;
  int decimals = 1;
  do {
    ms += digit * weight;
    weight /= 10;
  } while (in.Digits(1, digit) && ++decimals <= 9);
  return decimals <= 9;
}

bool ParseZone(CScanner& in, std::int64_t& ms) {
  if (in.IsAtEnd() || in.Take('Z')) return true;
  const bool east = in.Take('+');
  int minutes = 0;
  if ((!east && !in.Take('-')) || !ParseHourMinute(in, true, minutes)) return false;
  ms -= (east ? minutes : -minutes) * kMsPerMinute;
  return true;
}

template <class T>
raw_verdict_t VerdictOf(std::from_chars_result result, const char* end) {
  if (result.ec == std::errc::invalid_argument || result.ptr != end) return raw_verdict_t::wrongKind;
  return result.ec == std::errc::result_out_of_range ? raw_verdict_t::outOfRange : raw_verdict_t::taken;
}

template <class T>
raw_verdict_t ParseWhole(std::string_view text, T& value) {
  const char* const end = text.data() + text.size();
  const bool minus = std::is_unsigned_v<T> && text.starts_with('-');  // only "-0" is in range then
  if (minus) text.remove_prefix(1);
  T read{};
  raw_verdict_t verdict = VerdictOf<T>(std::from_chars(text.data(), end, read), end);
  if (minus && verdict == raw_verdict_t::taken && read != 0) verdict = raw_verdict_t::outOfRange;
  if (verdict == raw_verdict_t::taken) value = read;
  return verdict;
}

// from_chars calls both ends out of range; a number too near zero is a zero to us.
template <class T>
raw_verdict_t ParseExtremeReal(std::string_view text, T& value) {
  const std::u16string wide(text.begin(), text.end());
  const number_text::real_prefix_t read = number_text::ParseDoublePrefix(wide);
  const T narrow = static_cast<T>(read.value);
  if (read.overflow || std::isinf(narrow)) return raw_verdict_t::outOfRange;
  value = narrow;
  return raw_verdict_t::taken;
}

template <class T>
raw_verdict_t ParseReal(std::string_view text, T& value) {
  const char* const end = text.data() + text.size();
  const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
  const bool number = !digits.empty() && ((digits[0] >= '0' && digits[0] <= '9') || digits[0] == '.');
  if (!number) return raw_verdict_t::wrongKind;  // "inf" and "nan" are no numbers here
  T read{};
  const raw_verdict_t verdict = VerdictOf<T>(real_chars::FromChars(text.data(), end, read), end);
  if (verdict == raw_verdict_t::outOfRange) return ParseExtremeReal(text, value);
  if (verdict == raw_verdict_t::taken) value = read;
  return verdict;
}

// --- one function per way of writing a value ---------------------------------------------------------------------

using parse_t = raw_verdict_t (*)(std::string_view text, CVariant& value);

// kHighest: where the digits of the text can show less than the type holds.
template <class T, auto kMake, std::uint32_t kHighest = 0>
raw_verdict_t ParseNumber(std::string_view text, CVariant& value) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  T number{};
  raw_verdict_t verdict;
  if constexpr (std::is_integral_v<T>) {
    verdict = ParseWhole(text, number);
  } else {
    verdict = ParseReal(text, number);
  }
  if (verdict != raw_verdict_t::taken) return verdict;
  if constexpr (kHighest != 0) {
    if (number > kHighest) return raw_verdict_t::outOfRange;
  }
  value = kMake(number);
  return verdict;
}

raw_verdict_t ParseTruth(std::string_view text, CVariant& value) {
  const auto is = [&](std::string_view word) {
    if (text.size() != word.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
      if ((text[i] | 0x20) != word[i]) return false;
    }
    return true;
  };
  const bool truth = text == "1" || is("true");
  if (!truth && text != "0" && !is("false")) return raw_verdict_t::wrongKind;
  value = CVariant::FromBool(truth);
  return raw_verdict_t::taken;
}

raw_verdict_t ParseText(std::string_view text, CVariant& value) {
  value = CVariant::FromString(text);
  return raw_verdict_t::taken;
}

raw_verdict_t ParseDate(std::string_view text, CVariant& value) {
  std::int64_t ms = 0;
  if (!ParseTime(text, ms)) return raw_verdict_t::wrongKind;
  value = CVariant::FromDate(zorplatform::CTimeStamp::FromMilliseconds(ms + kOleZeroToUnix * kMsPerDay));
  return raw_verdict_t::taken;
}

enum class kind_t { whole, real, other };
struct raw_type_t {
  DATATYPE type;
  parse_t parse;
  kind_t kind;
  const char* expected;
};
// In the order of the types' numbers.
constexpr raw_type_t kRawTypes[] = {
    {DT_STRING, ParseText, kind_t::other, "a text"},
    {DT_BOOLEAN, ParseTruth, kind_t::other, "0, 1, true or false"},
    {DT_CHAR, ParseNumber<std::int8_t, CVariant::FromInt8>, kind_t::whole, nullptr},
    {DT_BYTE, ParseNumber<std::uint8_t, CVariant::FromUInt8>, kind_t::whole, nullptr},
    {DT_SHORT, ParseNumber<std::int16_t, CVariant::FromInt16>, kind_t::whole, nullptr},
    {DT_WORD, ParseNumber<std::uint16_t, CVariant::FromUInt16>, kind_t::whole, nullptr},
    {DT_LONG, ParseNumber<std::int32_t, CVariant::FromInt32>, kind_t::whole, nullptr},
    {DT_DWORD, ParseNumber<std::uint32_t, CVariant::FromUInt32>, kind_t::whole, nullptr},
    {DT_FLOAT, ParseNumber<float, CVariant::FromFloat>, kind_t::real, nullptr},
    {DT_DOUBLE, ParseNumber<double, CVariant::FromDouble>, kind_t::real, nullptr},
    {DT_BCD, ParseNumber<std::uint16_t, CVariant::FromUInt16, 9999>, kind_t::whole, nullptr},
    {DT_LBCD, ParseNumber<std::uint32_t, CVariant::FromUInt32, 99'999'999>, kind_t::whole, nullptr},
    {DT_DATE, ParseDate, kind_t::other, "a time such as 2026-03-12T05:00:00.000"},
    {DT_LLONG, ParseNumber<std::int64_t, CVariant::FromInt64>, kind_t::whole,
     "a whole number from -9223372036854775808 to 9223372036854775807"},
    {DT_QWORD, ParseNumber<std::uint64_t, CVariant::FromUInt64>, kind_t::whole,
     "a whole number from 0 to 18446744073709551615"},
};
constexpr bool RowsStandAtTheirNumbers() {
  for (int i = 0; i < static_cast<int>(std::size(kRawTypes)); ++i) {
    if (kRawTypes[i].type != i) return false;
  }
  return true;
}
static_assert(RowsStandAtTheirNumbers() && std::size(kRawTypes) == DT_QWORD + 1);

std::string NumberText(double value) {
  char text[number_text::kMaxChars];
  return {text, number_text::FormatGeneral(value, 10, text)};
}

}  // namespace

bool ParseTime(std::string_view text, std::int64_t& ms) {
  CScanner in(text);
  std::int64_t read = 0;
  if (!ParseDay(in, read) || (!in.Take('T') && !in.Take(' '))) return false;
  int minutes = 0;
  if (!ParseHourMinute(in, false, minutes)) return false;
  read += minutes * kMsPerMinute;
  if (in.Take(':') && !ParseSeconds(in, read)) return false;
  if (!ParseZone(in, read) || !in.IsAtEnd()) return false;
  ms = read;
  return true;
}

std::string TimeText(std::int64_t ms) {
  return zorplatform::CTimeStamp::FromMilliseconds(ms + kOleZeroToUnix * kMsPerDay).ToString().ToUtf8();
}

raw_verdict_t ParseRaw(std::string_view text, DATATYPE type, CVariant& value) {
  return kRawTypes[type].parse(text, value);
}

std::string ExpectedRaw(DATATYPE type) {
  const raw_type_t& row = kRawTypes[type];
  if (row.expected != nullptr) return row.expected;
  return std::string(row.kind == kind_t::whole ? "a whole" : "a") + " number from " +
         NumberText(CDataType::MinVal(type)) + " to " + NumberText(CDataType::MaxVal(type));
}

}  // namespace readings
