// Tables of many records: filling, look-up, generated names and loading, beside Boost's flat_set and ICU's collator.
//
// Where it says "a record", the time is that of one of the many that a pass handles. It is the processor's time.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "platform/framework/mem_file.h"
#include "util/objects/table_testing.h"
#include "util/objects/unordered_table.h"

#if ZORUTIL_BENCH_BOOST
#include <boost/container/flat_set.hpp>
#endif
#if ZORUTIL_BENCH_ICU
#include <unicode/ucol.h>
#endif

namespace {

using namespace table_testing;

class CTimer {
 public:
  double Seconds() const { return static_cast<double>(std::clock() - start_) / CLOCKS_PER_SEC; }

 private:
  std::clock_t start_ = std::clock();
};

enum class order_t { NAMES, NUMBERS, RANDOM, FALLING, ONE_NAME };

std::vector<CString> MakeNames(std::size_t count, order_t order) {
  std::vector<CString> names;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t number = i + 1;
    names.push_back(CString(order == order_t::ONE_NAME ? "Tag"
                            : order == order_t::NUMBERS
                                ? "Tag" + std::to_string(number)
                                : "Line" + std::to_string(number % 97) + "_Pump" + std::to_string(number)));
  }
  std::mt19937 random(1);
  const auto less = [](const CString& a, const CString& b) { return a.CompareNoCase(b) < 0; };
  if (order == order_t::NAMES) std::sort(names.begin(), names.end(), less);
  if (order == order_t::FALLING) std::sort(names.rbegin(), names.rend(), less);
  if (order == order_t::RANDOM) std::shuffle(names.begin(), names.end(), random);
  return names;
}

// The names with their case changed, in another order.
void MakeQuestions(std::vector<CString>& names) {
  for (CString& name : names) name.MakeUpper();
  std::mt19937 random(2);
  std::shuffle(names.begin(), names.end(), random);
}

std::vector<CLeaf*> Leaves(const std::vector<CString>& names) {
  std::vector<CLeaf*> leaves;
  for (const CString& name : names) leaves.push_back(new CLeaf(name));
  return leaves;
}

// One pass over `count` records is an iteration; its time is that of one of them.
template <class Pass>
void EachRecord(benchmark::State& state, std::size_t count, Pass pass) {
  for (auto _ : state) state.SetIterationTime(pass() / static_cast<double>(count));
}

void FillOurs(benchmark::State& state, std::size_t count, order_t order) {
  const auto names = MakeNames(count, order);
  CTable table(0, true, 16);
  EachRecord(state, count, [&] {
    const auto leaves = Leaves(names);
    const CTimer timer;
    for (CLeaf* leaf : leaves) table.Insert(leaf);
    const double seconds = timer.Seconds();
    if (table.GetCount() != count) state.SkipWithError("records are missing");
    table.Reset();
    return seconds;
  });
}

#if ZORUTIL_BENCH_ICU
class CCollator {
 public:
  CCollator() {
    UErrorCode status = U_ZERO_ERROR;
    collator_.reset(ucol_open("", &status));
    ucol_setStrength(collator_.get(), UCOL_SECONDARY);
  }
  const UCollator* Get() const { return collator_.get(); }
  std::string Key(const CString& text) const {
    std::uint8_t key[256];
    const int length = ucol_getSortKey(collator_.get(), text, text.GetLength(), key, sizeof key);
    return {reinterpret_cast<const char*>(key), static_cast<std::size_t>(length)};
  }

 private:
  struct close_t {
    void operator()(UCollator* collator) const { ucol_close(collator); }
  };
  std::unique_ptr<UCollator, close_t> collator_;
};

#if ZORUTIL_BENCH_BOOST
struct icu_less_t {
  const UCollator* collator;
  bool operator()(const CLeaf* a, const CLeaf* b) const {
    const CString& left = a->GetName();
    const CString& right = b->GetName();
    return ucol_strcoll(collator, left, left.GetLength(), right, right.GetLength()) == UCOL_LESS;
  }
};

void FillFlatSet(benchmark::State& state, std::size_t count, order_t order) {
  const auto leaves = Leaves(MakeNames(count, order));
  const CCollator collator;
  EachRecord(state, count, [&] {
    boost::container::flat_set<CLeaf*, icu_less_t> set(icu_less_t{collator.Get()});
    const CTimer timer;
    for (CLeaf* leaf : leaves) set.insert(leaf);
    const double seconds = timer.Seconds();
    if (set.size() != count) state.SkipWithError("records are missing");
    return seconds;
  });
  for (CLeaf* leaf : leaves) delete leaf;
}
#endif

void FindBySortKey(benchmark::State& state, std::size_t count) {
  auto names = MakeNames(count, order_t::RANDOM);
  const auto leaves = Leaves(names);
  const CCollator collator;
  std::vector<std::pair<std::string, CLeaf*>> sorted;
  for (CLeaf* leaf : leaves) sorted.emplace_back(collator.Key(leaf->GetName()), leaf);
  std::sort(sorted.begin(), sorted.end());
  MakeQuestions(names);
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string key = collator.Key(names[i]);
    const auto found =
        std::lower_bound(sorted.begin(), sorted.end(), key,
                         [](const auto& entry, const std::string& sought) { return entry.first < sought; });
    benchmark::DoNotOptimize(found->second);
    if (++i == count) i = 0;
  }
  for (CLeaf* leaf : leaves) delete leaf;
}
#endif

void FindOurs(benchmark::State& state, std::size_t count) {
  auto names = MakeNames(count, order_t::RANDOM);
  CTable table(0, true, 16);
  for (CLeaf* leaf : Leaves(names)) table.Insert(leaf);
  MakeQuestions(names);
  std::size_t i = 0;
  for (auto _ : state) {
    CTableObj* found = table.FindRecord(names[i]);
    if (found == nullptr) state.SkipWithError("not found");
    benchmark::DoNotOptimize(found);
    if (++i == count) i = 0;
  }
}

void GenerateNames(benchmark::State& state, std::size_t count) {
  EachRecord(state, count, [&] {
    CTable table(0, true, 16);
    const CTimer timer;
    for (std::size_t i = 0; i < count; ++i) {
      CString name = u"Tag";
      table.GenerateName(name, 256);
      table.Insert(new CLeaf(name));
    }
    return timer.Seconds();
  });
}

// Time for the whole table.
void LoadTable(benchmark::State& state, std::size_t count, order_t order) {
  RegisterTypes();
  CMemFile file;
  {
    CUnorderedTable source(0, true, 16);
    for (CLeaf* leaf : Leaves(MakeNames(count, order))) source.Insert(leaf);
    source.Save(&file);
  }
  CTable table(0, true, 16);
  for (auto _ : state) {
    table.Reset();
    file.SeekToBegin();
    const CTimer timer;
    if (table.Load(&file) == 0 || table.GetCount() != count) state.SkipWithError("not loaded");
    state.SetIterationTime(timer.Seconds());
  }
}

void SaveTable(benchmark::State& state, std::size_t count) {
  CTable table(0, true, 16);
  for (CLeaf* leaf : Leaves(MakeNames(count, order_t::NAMES))) table.Insert(leaf);
  for (auto _ : state) {
    CMemFile file;
    const CTimer timer;
    table.Save(&file);
    state.SetIterationTime(timer.Seconds());
  }
}

template <class Run, class... Args>
auto* AddRow(const std::string& name, Run run, Args... args) {
  return benchmark::RegisterBenchmark(name.c_str(), run, args...);
}

[[maybe_unused]] const bool registered = [] {
  constexpr std::size_t kMany = 100'000;
  constexpr std::size_t kMillion = 1'000'000;
  AddRow("insert a record in name order/ours", FillOurs, kMany, order_t::NAMES)->UseManualTime()->Iterations(20);
  AddRow("insert a record at random, 100000/ours", FillOurs, kMany, order_t::RANDOM)->UseManualTime()->Iterations(5);
  AddRow("insert a record at random, 1000000/ours", FillOurs, kMillion, order_t::RANDOM)
      ->UseManualTime()
      ->Iterations(1);
  AddRow("find a record of 100000, case changed/ours", FindOurs, kMany);
#if ZORUTIL_BENCH_ICU
#if ZORUTIL_BENCH_BOOST
  AddRow("insert a record in name order/flat_set", FillFlatSet, kMany, order_t::NAMES)->UseManualTime()->Iterations(5);
  AddRow("insert a record at random, 100000/flat_set", FillFlatSet, kMany, order_t::RANDOM)
      ->UseManualTime()
      ->Iterations(2);
#endif
  AddRow("find a record of 100000, case changed/sort keys", FindBySortKey, kMany);
#endif
  for (const std::size_t count : {std::size_t{10'000}, kMany})
    AddRow("generate a name of " + std::to_string(count) + "/ours", GenerateNames, count)
        ->UseManualTime()
        ->Iterations(5);
  const std::pair<order_t, const char*> orders[] = {{order_t::NAMES, "name order"},
                                                    {order_t::NUMBERS, "order of numbers"},
                                                    {order_t::RANDOM, "random order"},
                                                    {order_t::FALLING, "falling order"},
                                                    {order_t::ONE_NAME, "all of one name"}};
  for (const auto& [order, text] : orders)
    AddRow(std::string("load 1000000 records, ") + text + "/ours", LoadTable, kMillion, order)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
  AddRow("save 1000000 records/ours", SaveTable, kMillion)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
  return true;
}();

}  // namespace
