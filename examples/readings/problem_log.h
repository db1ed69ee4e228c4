// What was wrong with the input, told to a person: file, line, column, the fault and what was expected.
//
//   CProblemLog log(std::cerr, 20);
//   log.Add("tags.csv", {7, 12}, "deadband " + Quoted("-1") + " is negative: expected 0 or more");
//   log.Finish();                              // "... and 312 more"
//
// Prints the first problems and counts the rest. One thread at a time.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "examples/readings/csv_reader.h"

namespace readings {

class CProblemLog {
 public:
  /// `limit` is how many problems are printed. The stream must outlive the log.
  CProblemLog(std::ostream& out, std::uint64_t limit) : out_(out), limit_(limit) {}

  void Add(std::string_view file, text_position_t at, std::string_view text);
  /// A problem whose text says itself where it is.
  void Add(std::string_view text);
  /// True when the next problem will be printed: a text that is dear to make need not be made otherwise.
  bool IsPrinting() const { return count_ < limit_; }
  /// Counts a problem that is not printed.
  void AddUnprinted() { ++count_; }
  std::uint64_t GetCount() const { return count_; }
  /// Says how many problems were only counted, if any.
  void Finish();

 private:
  std::ostream& out_;
  std::uint64_t limit_;
  std::uint64_t count_ = 0;
};

/// A text of the input as it may stand in a message: in single quotes, cut to 40 bytes at a character's end,
/// control characters shown as "?".
std::string Quoted(std::string_view text);

}  // namespace readings
