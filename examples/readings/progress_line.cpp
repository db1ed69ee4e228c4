#include "examples/readings/progress_line.h"

#include <cstdio>
#include <iostream>

#if defined(__unix__) || defined(__APPLE__)
#include <unistd.h>
#endif

namespace readings {

namespace {

bool IsTerminal() {
#if defined(__unix__) || defined(__APPLE__)
  return isatty(STDERR_FILENO) != 0;
#else
  return false;
#endif
}

}  // namespace

CProgressLine::CProgressLine(const char* what) : what_(what), isTerminal_(IsTerminal()) {}

void CProgressLine::Show(std::uint64_t count) {
  if (!isTerminal_) return;
  const auto now = clock_t::now();
  if (now - shownAt_ < std::chrono::milliseconds(200)) return;
  shownAt_ = now;
  isShown_ = true;
  const double millions = static_cast<double>(count) / 1e6;
  char text[128];
  std::snprintf(text, sizeof text, "\033[K%.1f million %s, %.1f million a second\r", millions, what_,
                millions / std::chrono::duration<double>(now - start_).count());
  std::cerr << text << std::flush;
}

void CProgressLine::Clear() const {
  if (isShown_) std::cerr << "\033[K";
}

}  // namespace readings
