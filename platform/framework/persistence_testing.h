// For tests: operations on files, each of which is tried with every fault that there is: every call of the system that
// fails with each of its errors or does half of its work, a disk that stays full, the power lost after every change,
// every allocation that fails, of C++ and of C.
//
//   const persistence_testing::row_t kRows[] = {{"INI file, saved", "a.ini", PrepareIni, ReadIni}, ...};
//   persistence_testing::TryEachFault(kRows[0]);        // failed expectations of GoogleTest
//
// What is expected of an operation:
//   what succeeds has done its work, on the disk too: the power may go then, and what is read is the new state;
//   what fails says so, with the file's name and the system's cause. What is read is the old state, or, when only the
//   folder was not synchronised, the new one; the object in memory is as before. The next attempt succeeds;
//   interrupted and half-done calls are no failures;
//   no file is left behind, no handle stays open, and no memory is lost (which the address sanitizer watches);
//   when the power goes in between, what is read is the old state or the new one.
//
// The .cpp belongs to one test program, whose operators new and delete, and malloc where no sanitizer has its own, it
// replaces. See file_faults_testing.h for the calls.
#pragma once

#include <functional>
#include <string>

#include "platform/framework/temp_folder_testing.h"

namespace persistence_testing {

/// One attempt: its files are prepared. `act` throws a std::exception when a failure is told. `memory` is "old" or
/// "new", what the object holds that is saved (has it to be saved still?) or loaded; it may be missing.
struct attempt_t {
  std::function<void()> act;
  std::function<std::string()> memory;
};

enum option_t : unsigned {
  kWhole = 0,
  kInPlace = 1,        ///< the file is written in place: after a failure, or without power, it may be anything
  kTellsNothing = 2,   ///< failures are not told by contract; the state that is read is old or new all the same
  kSkipsUnopened = 4,  ///< files that it reads and that cannot be opened are left out by contract
  /// SQLite: gives its own words as the cause, tells of some interrupts and of failures that come when all is written,
  /// and keeps quiet where the folder cannot be synchronised before the file is written.
  kIsDatabase = 8,
  kKeepsMalloc = 16,  ///< a library beneath does not survive without
};

struct row_t {
  const char* name;
  const char* file;  ///< in the text of each failure
  attempt_t (*prepare)(const CTempFolder& folder);
  std::string (*read)(const CTempFolder& folder);  ///< "old", "new", or what is wrong; null for what only reads
  unsigned options = kWhole;
};

void TryEachFault(const row_t& row);
/// How many faults of each kind all rows have met so far: a table for people.
std::string GetFigures();

}  // namespace persistence_testing
