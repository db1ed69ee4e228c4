// A line on the terminal that tells how far a long run is, and that each next one, and any message, overwrites.
//
//   CProgressLine progress("readings");
//   progress.Show(count);                   // at most five times a second, and nowhere but on a terminal
//   progress.Clear();                       // before anything else is written to standard error
#pragma once

#include <chrono>
#include <cstdint>

namespace readings {

class CProgressLine {
 public:
  /// What is counted, for people; the text outlives the line. Nothing is shown unless standard error is a terminal.
  explicit CProgressLine(const char* what);
  void Show(std::uint64_t count);
  void Clear() const;

 private:
  using clock_t = std::chrono::steady_clock;
  const char* what_;
  bool isTerminal_;
  bool isShown_ = false;
  clock_t::time_point start_ = clock_t::now();
  clock_t::time_point shownAt_ = start_;
};

}  // namespace readings
