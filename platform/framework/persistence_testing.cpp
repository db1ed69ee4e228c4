#include "platform/framework/persistence_testing.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iterator>
#include <map>
#include <new>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/framework/allocation_testing.h"
#include "platform/framework/file_faults_testing.h"

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#if defined(__has_feature)
#if !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer)
#define OWN_MALLOC
#endif
#else
#define OWN_MALLOC
#endif
#endif

namespace persistence_testing {

namespace fs = std::filesystem;
using file_faults_testing::call_t;
using file_faults_testing::CFileLayer;
using file_faults_testing::fault_t;
using file_faults_testing::kShort;

namespace {

struct figures_t {
  std::string name;
  int calls = 0, faults = 0, losses = 0, allocations = 0, mallocs = 0;
};
std::vector<figures_t> allFigures;

constexpr int kUnlimited = -1;

// Of this thread: those of malloc that still succeed before one fails. Unlimited before and after.
constinit thread_local int mallocsLeft = kUnlimited;

[[maybe_unused]] bool FailsMalloc() noexcept { return mallocsLeft != kUnlimited && mallocsLeft-- == 0; }

// Failed expectations tell which fault it was.
std::string Describe(const char* what, int number, const char* call, int error) {
  return std::string(what) + " " + std::to_string(number) + " " + call + " " +
         (error == kShort ? "short"
          : error == 0    ? ""
                          : std::generic_category().message(error));
}

std::set<std::string> NamesIn(const CTempFolder& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(folder.Native())) {
    names.insert(entry.path().string().substr(folder.Native().string().size()));
  }
  return names;
}

std::ptrdiff_t CountHandles() { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); }

class CTrial {
 public:
  explicit CTrial(const row_t& row, bool withLayer = true) : row_(row) {
    if (withLayer) layer_.emplace(folder_.Native());
    attempt_ = row.prepare(folder_);
    before_ = NamesIn(folder_);
  }

  CFileLayer& GetLayer() { return *layer_; }
  const CTempFolder& GetFolder() const { return folder_; }

  /// The failure's text, if one is told.
  std::optional<std::string> Act() {
    try {
      attempt_.act();
      return std::nullopt;
    } catch (const std::exception& failure) {
      allocation_testing::allocationsLeft = mallocsLeft = kUnlimited;
      return failure.what();
    }
  }

  std::string Read(const CTempFolder& folder) const {
    try {
      return row_.read(folder);
    } catch (const std::exception& failure) {
      return std::string("unreadable: ") + failure.what();
    }
  }

  void ExpectDone() const {
    if (row_.read != nullptr) {
      EXPECT_EQ(Read(folder_), "new");
    }
    if (attempt_.memory != nullptr) {
      EXPECT_EQ(attempt_.memory(), "new");
    }
  }
  void ExpectUndone(bool mayBeDone) const {
    if (row_.read != nullptr && (row_.options & kInPlace) == 0) {
      const std::string state = Read(folder_);
      EXPECT_TRUE(state == "old" || (mayBeDone && state == "new")) << state;
    }
    if (attempt_.memory != nullptr) {
      EXPECT_EQ(attempt_.memory(), "old");
    }
  }
  void ExpectNothingLeft(const std::set<std::string>& after) const {
    for (const std::string& name : NamesIn(folder_)) {
      EXPECT_TRUE(before_.contains(name) || after.contains(name)) << name << " is left";
    }
  }
  /// After a failure: as if there had been none.
  void ExpectNextToSucceed(std::ptrdiff_t handles) {
    const std::optional<std::string> failure = Act();
    EXPECT_FALSE(failure) << "the next attempt: " << *failure;
    ExpectDone();
    EXPECT_EQ(CountHandles(), handles);
  }

 private:
  const row_t& row_;
  const CTempFolder folder_;
  std::optional<CFileLayer> layer_;
  attempt_t attempt_;
  std::set<std::string> before_;
};

// What an attempt without faults does.
struct outcome_t {
  std::vector<call_t> calls;
  std::set<std::string> names;
  std::ptrdiff_t handles = 0;
};

outcome_t TryWithout(const row_t& row) {
  outcome_t outcome;
  for (int i = 0; i < 2; ++i) {  // once for what is made only once in a process
    CTrial trial(row);
    trial.GetLayer().Start();
    const auto failure = trial.Act();
    trial.GetLayer().Stop();
    EXPECT_FALSE(failure) << *failure;
    trial.ExpectDone();
    outcome = {trial.GetLayer().GetCalls(), NamesIn(trial.GetFolder()), CountHandles()};
  }
  return outcome;
}

bool MustBeTold(call_t call, int error, unsigned options) {
  switch (call) {
    case call_t::openFolder:
    case call_t::syncFolder: return error != EACCES && (options & (kIsDatabase | kTellsNothing)) == 0;
    case call_t::open: return (options & (kTellsNothing | kSkipsUnopened)) == 0;
    case call_t::close:
    case call_t::unlink:
    case call_t::look:
    case call_t::rights:
    case call_t::lock: return false;
    default: return (options & kTellsNothing) == 0 && ((options & kIsDatabase) == 0 || call != call_t::closeWritten);
  }
}

void TryFault(const row_t& row, const outcome_t& good, const fault_t& fault) {
  const call_t call = good.calls[static_cast<std::size_t>(fault.call) - 1];
  const bool isDatabase = (row.options & kIsDatabase) != 0;
  SCOPED_TRACE(Describe(fault.isLasting ? "from call" : "call", fault.call, NameOf(call), fault.error));
  CTrial trial(row);
  trial.GetLayer().Start(fault);
  const auto failure = trial.Act();
  trial.GetLayer().Stop();
  const bool isHarmless = fault.error == EINTR || fault.error == kShort;
  if (!failure) {
    EXPECT_TRUE(isHarmless || !MustBeTold(call, fault.error, row.options)) << "no failure is told";
    const bool mayBeSkipped = (call == call_t::open || call == call_t::look) && (row.options & kSkipsUnopened) != 0;
    if ((row.options & kTellsNothing) != 0) {
      trial.ExpectUndone(true);
    } else if (!mayBeSkipped) {
      trial.ExpectDone();
    }
  } else {
    EXPECT_TRUE(!isHarmless || (isDatabase && fault.error == EINTR)) << *failure;
    const bool isLate = call == call_t::syncFolder || (isDatabase && (call == call_t::unlink || call == call_t::lock));
    trial.ExpectUndone(isLate);
    if (!isHarmless) {
      EXPECT_NE(failure->find(row.file), std::string::npos) << *failure;
      const bool hasCause = failure->find(std::generic_category().message(fault.error)) != std::string::npos;
      EXPECT_TRUE(hasCause || isDatabase) << *failure;
    }
  }
  if (call != call_t::unlink) trial.ExpectNothingLeft(good.names);
  trial.ExpectNextToSucceed(good.handles);
}

int TryFaults(const row_t& row, const outcome_t& good) {
  int faults = 0;
  for (int number = 1; number <= static_cast<int>(good.calls.size()); ++number) {
    const call_t call = good.calls[static_cast<std::size_t>(number) - 1];
    for (const int error : ErrorsOf(call)) {
      TryFault(row, good, {number, error, false});
      ++faults;
    }
    if (call != call_t::open && call != call_t::write && call != call_t::makeFolder) continue;
    TryFault(row, good, {number, ENOSPC, true});
    ++faults;
  }
  return faults;
}

int LosePower(const row_t& row) {
  CTrial trial(row);
  trial.GetLayer().Record();
  const auto failure = trial.Act();
  trial.GetLayer().Stop();
  const CTempFolder disk;
  int number = 0;
  return trial.GetLayer().ForEachPowerLoss(disk.Native(), [&](bool isOver) {
    const std::string state = trial.Read(disk);
    EXPECT_TRUE(state == "new" || (state == "old" && !isOver))
        << "power loss " << number << (isOver ? " when all was done: " : ": ") << state;
    ++number;
  });
}

// Up to 200 allocations one by one, more in growing steps. `spent` is what is left when one has failed.
int FailAllocations(const row_t& row, const outcome_t& good, int& allocationsLeft, int spent, const char* what) {
  int failed = 0;
  for (int left = 0;; left += 1 + left / 200, ++failed) {
    SCOPED_TRACE(Describe(what, left + 1, "", 0));
    CTrial trial(row, false);
    allocationsLeft = left;
    const auto failure = trial.Act();
    const int rest = std::exchange(allocationsLeft, kUnlimited);
    if (failure) {
      trial.ExpectUndone(true);
      trial.ExpectNothingLeft(good.names);
    } else {
      (row.options & kTellsNothing) == 0 ? trial.ExpectDone() : trial.ExpectUndone(true);
    }
    if (!failure && rest != spent) return failed;
    trial.ExpectNextToSucceed(good.handles);
  }
}

}  // namespace

void TryEachFault(const row_t& row) {
  SCOPED_TRACE(row.name);
  file_faults_testing::SkipSynchronising();
  figures_t& figures = allFigures.emplace_back();
  figures.name = row.name;
  const outcome_t good = TryWithout(row);
  figures.calls = static_cast<int>(good.calls.size());
  EXPECT_GT(figures.calls, 0) << "the file layer sees nothing";
  if (testing::Test::HasFailure()) return;
  figures.faults = TryFaults(row, good);
  if (row.read != nullptr && (row.options & kInPlace) == 0) figures.losses = LosePower(row);
#if !defined(OWN_ALLOCATOR)
  figures.allocations = FailAllocations(row, good, allocation_testing::allocationsLeft, 0, "allocation");
#endif
#if defined(OWN_MALLOC)
  if ((row.options & kKeepsMalloc) == 0)
    figures.mallocs = FailAllocations(row, good, mallocsLeft, kUnlimited, "malloc");
#endif
}

std::string GetFigures() {
  char line[200];
  std::string text;
  figures_t total{"all"};
  const auto add = [&](const figures_t& row) {
    std::snprintf(line, sizeof line, "%-44s %7d %7d %7d %7d %7d\n", row.name.c_str(), row.calls, row.faults, row.losses,
                  row.allocations, row.mallocs);
    text += line;
  };
  std::snprintf(line, sizeof line, "%-44s %7s %7s %7s %7s %7s\n", "", "calls", "faults", "power", "new", "malloc");
  text += line;
  for (const figures_t& row : allFigures) {
    add(row);
    total.calls += row.calls;
    total.faults += row.faults;
    total.losses += row.losses;
    total.allocations += row.allocations;
    total.mallocs += row.mallocs;
  }
  add(total);
  return text;
}

}  // namespace persistence_testing

// The sanitizers have an allocator of their own.
#if defined(OWN_MALLOC)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

[[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept {
  if (!persistence_testing::FailsMalloc()) return __libc_malloc(size);
  errno = ENOMEM;
  return nullptr;
}
[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept {
  if (!persistence_testing::FailsMalloc()) return __libc_calloc(count, size);
  errno = ENOMEM;
  return nullptr;
}
[[gnu::visibility("default")]] void* realloc(void* memory, std::size_t size) noexcept {
  if (!persistence_testing::FailsMalloc()) return __libc_realloc(memory, size);
  errno = ENOMEM;
  return nullptr;
}
}
#endif
