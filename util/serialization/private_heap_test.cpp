#include "util/serialization/private_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <vector>

using zorpool::CPrivateHeap;

namespace {

TEST(PrivateHeap, ServesLessThanItsBudget) {
  for (const auto& [budget, served, refused] : std::vector<std::array<unsigned, 3>>{
           {100, 60, 40}, {100, 99, 1}, {100, 1, 0xFFFFFFFF}, {0, 5, 0}, {0, 2, 0xFFFFFFFE}}) {
    CPrivateHeap heap(budget);
    EXPECT_TRUE(heap.Validate(heap.Alloc(served)));
    EXPECT_THROW(heap.Alloc(refused), zorpool::bad_alloc_t) << refused;
    EXPECT_EQ(heap.TotalAlloc(), served);
  }
}

TEST(PrivateHeap, IgnoresWhatIsNotALiveBlockOfItsOwn) {
  CPrivateHeap heap;
  CPrivateHeap other;
  std::vector<void*> live;
  std::vector<void*> foreign = {&heap, other.Alloc(100)};
  for (const unsigned size : {1u, 100u, 5'000u, 200'000u, 256u * 1024, 1'000'000u}) {
    live.push_back(heap.Alloc(size)), foreign.push_back(heap.Alloc(size));
  }
  for (std::size_t i = 2; i != foreign.size(); ++i) heap.Free(foreign[i], 0);
  for (char* start : {static_cast<char*>(nullptr), static_cast<char*>(live[0]), static_cast<char*>(live[5])}) {
    for (const int distance : {-4096, -16, -8, -1, 1, 8, 16, 64, 1 << 20, 1 << 30}) {
      foreign.push_back(reinterpret_cast<void*>(reinterpret_cast<std::intptr_t>(start) + distance));
      if (std::find(live.begin(), live.end(), foreign.back()) != live.end()) foreign.pop_back();
    }
  }
  for (void* p : foreign) {
    EXPECT_FALSE(heap.Validate(p)) << p;
    heap.Free(p, 0);
    heap.Free(p, 100);
    EXPECT_EQ(heap.TotalAlloc(), 1u + 100 + 5'000 + 200'000 + 256 * 1024 + 1'000'000) << p;
  }
  for (void* p : live) EXPECT_TRUE(heap.Validate(p));
}

TEST(PrivateHeap, AWrongSizeFalsifiesTheTotalOnly) {
  CPrivateHeap heap;
  void* const first = heap.Alloc(60);
  void* const second = heap.Alloc(40);
  heap.Free(first, 500);
  EXPECT_EQ(heap.TotalAlloc(), 0u);
  EXPECT_TRUE(heap.Validate(second));
  heap.Free(second, 0);
  EXPECT_FALSE(heap.Validate(second));
}

// What the process has mapped, in MiB.
std::size_t Mapped() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages / 256;
}

TEST(PrivateHeap, UsesItsMemoryAgainAndGivesItBack) {
  CPrivateHeap heap;
  std::vector<void*> small(60'000);
  const std::size_t before = Mapped();
  for (void*& p : small) p = heap.Alloc(200);  // 13 MiB
  const std::size_t filled = Mapped();
  for (std::size_t i = 1; i != small.size(); ++i) heap.Free(small[i], 0);
  for (int i = 0; i != 100; ++i) heap.Free(heap.Alloc(i % 2 == 0 ? 200'000 : 4 << 20), 0);
  std::vector<void*> larger(80);
  for (void*& p : larger) p = heap.Alloc(200'000);
  EXPECT_LE(Mapped(), filled + 1) << "what was freed is joined to larger blocks";
  for (void* p : larger) heap.Free(p, 0);
  heap.Free(small[0], 0);
  EXPECT_LE(Mapped(), before + 1) << "an idle heap holds nothing";
}

TEST(PrivateHeap, BlocksOfAllSizesKeepApartWhileTheyComeAndGo) {
  for (const unsigned largestLog : {6u, 12u, 19u}) {
    CPrivateHeap heap;
    std::mt19937 random(largestLog);
    std::vector<std::pair<char*, unsigned>> live;
    std::map<char*, char*> ends;  // of the live blocks, by their starts
    for (int step = 0; step != 20'000; ++step) {
      if (live.empty() || random() % 100 < (step / 2'500 % 2 == 0 ? 70u : 30u)) {
        const unsigned size = 1 + static_cast<unsigned>(random()) % (2u << random() % largestLog);
        auto* const block = static_cast<char*>(heap.Alloc(size));
        const auto [at, isNew] = ends.emplace(block, block + size);
        ASSERT_TRUE(isNew && (std::next(at) == ends.end() || at->second <= std::next(at)->first));
        ASSERT_TRUE(reinterpret_cast<std::uintptr_t>(block) % 16 == 0 &&
                    (at == ends.begin() || std::prev(at)->second <= block));
        live.emplace_back(static_cast<char*>(std::memset(block, step, size)), size);
      } else {
        std::swap(live[random() % live.size()], live.back());
        const auto [block, size] = live.back();
        ASSERT_EQ(std::memcmp(block, block + 1, size - 1), 0) << "written to by others";
        ends.erase(block);
        const unsigned rest = heap.TotalAlloc() - size;
        heap.Free(block, step % 2 == 0 ? size : 0);
        ASSERT_EQ(heap.TotalAlloc(), rest);
        ASSERT_FALSE(heap.Validate(block));
        live.pop_back();
      }
    }
  }
}

}  // namespace
