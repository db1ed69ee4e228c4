// std::from_chars for float and double, also where the C++ library has it for integers alone.
//
//   double value = 0;
//   const auto [end, error] = real_chars::FromChars(text.data(), text.data() + text.size(), value);
//
// No state; any number of threads; the C locale is not looked at.
#pragma once

#include <charconv>
#include <version>

#include "platform/export.h"

namespace real_chars {

#ifdef __cpp_lib_to_chars
inline std::from_chars_result FromChars(const char* first, const char* last, double& value) noexcept {
  return std::from_chars(first, last, value);
}
inline std::from_chars_result FromChars(const char* first, const char* last, float& value) noexcept {
  return std::from_chars(first, last, value);
}
#else
/// As std::from_chars in its general format: the number that the text begins with, correctly rounded; a failure leaves
/// `value` as it is. Only whether "inf" and "nan" are numbers is left open. Throws std::bad_alloc for a number of more
/// than 1000 characters.
ZORPLATFORM_API std::from_chars_result FromChars(const char* first, const char* last, double& value);
ZORPLATFORM_API std::from_chars_result FromChars(const char* first, const char* last, float& value);
#endif

}  // namespace real_chars
