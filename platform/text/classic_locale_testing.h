// References of tests: what C's own functions print and read by the rules of the classic locale, whatever the locale of
// the program is.
#pragma once

#include <locale.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace classic_testing {

/// The calling thread has the classic locale while this lives.
class CClassicLocale {
 public:
  CClassicLocale() {
    static const locale_t classic = ::newlocale(LC_ALL_MASK, "C", nullptr);
    before_ = ::uselocale(classic);
  }
  CClassicLocale(const CClassicLocale&) = delete;
  ~CClassicLocale() { ::uselocale(before_); }

 private:
  locale_t before_;
};

/// What printf prints; of at most 1200 characters.
template <class... Arguments>
std::string Print(const char* format, Arguments... arguments) {
  const CClassicLocale classic;
  char text[1200];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, arguments...))};
}

inline double Double(const std::string& text) {
  const CClassicLocale classic;
  return std::strtod(text.c_str(), nullptr);
}
inline float Float(const std::string& text) {
  const CClassicLocale classic;
  return std::strtof(text.c_str(), nullptr);
}

}  // namespace classic_testing
