#include "platform/text/real_chars.h"

#ifndef __cpp_lib_to_chars

#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace real_chars {
namespace {

const char* SkipDigits(const char* at, const char* last) {
  return std::find_if(at, last, [](char c) { return c < '0' || c > '9'; });
}

// Behind the number that a text begins with; null when there is none. strtod takes more, such as blanks and "0x".
const char* EndOfNumber(const char* first, const char* last) {
  const char* const digits = first != last && *first == '-' ? first + 1 : first;
  const char* at = SkipDigits(digits, last);
  bool hasDigits = at != digits;
  if (at != last && *at == '.') {
    const char* const fraction = at + 1;
    at = SkipDigits(fraction, last);
    hasDigits |= at != fraction;
  }
  if (!hasDigits) return nullptr;
  if (at == last || (*at != 'e' && *at != 'E')) return at;
  const char* const exponent = at + 1 != last && (at[1] == '-' || at[1] == '+') ? at + 2 : at + 1;
  const char* const end = SkipDigits(exponent, last);
  return end != exponent ? end : at;
}

template <class Real, Real (*READ)(const char*, char**, locale_t)>
std::from_chars_result Read(const char* first, const char* last, Real& value) {
  static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
  const char* const end = EndOfNumber(first, last);
  if (end == nullptr) return {first, std::errc::invalid_argument};
  char small[1001];
  std::string large;
  char* text = small;
  if (end - first >= static_cast<std::ptrdiff_t>(sizeof small)) {
    large.assign(first, end);
    text = large.data();
  } else {
    *std::copy(first, end, small) = '\0';
  }
  const Real read = READ(text, nullptr, plain);
  const char* const mantissaEnd = std::find_if(text, text + (end - first), [](char c) { return c == 'e' || c == 'E'; });
  const bool isZero =
      std::none_of(static_cast<const char*>(text), mantissaEnd, [](char c) { return c >= '1' && c <= '9'; });
  if (std::isinf(read) || (read == 0 && !isZero)) return {end, std::errc::result_out_of_range};
  value = read;
  return {end, std::errc()};
}

}  // namespace

std::from_chars_result FromChars(const char* first, const char* last, double& value) {
  return Read<double, ::strtod_l>(first, last, value);
}

std::from_chars_result FromChars(const char* first, const char* last, float& value) {
  return Read<float, ::strtof_l>(first, last, value);
}

}  // namespace real_chars

#endif
