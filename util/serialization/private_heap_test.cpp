#include "util/serialization/private_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <vector>

using zorpool::CPrivateHeap;

namespace {

TEST(PrivateHeap, ServesLessThanItsBudget) {
  const struct {
    unsigned budget;
    std::vector<unsigned> served;
    unsigned refused, total;
  } cases[] = {{100, {60}, 40, 60}, {100, {60, 39}, 1, 99},   {1, {}, 1, 0},
               {0, {5}, 0, 5},      {100, {}, 0xFFFFFFFF, 0}, {0, {1, 1}, 0xFFFFFFFE, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refused);
    CPrivateHeap heap(c.budget);
    for (const unsigned size : c.served) EXPECT_TRUE(heap.Validate(heap.Alloc(size)));
    try {
      heap.Alloc(c.refused);
      ADD_FAILURE() << "served";
    } catch (const std::bad_alloc& error) {
      EXPECT_STREQ(error.what(), "bad allocation");
    }
    EXPECT_EQ(heap.TotalAlloc(), c.total);
  }
}

TEST(PrivateHeap, IgnoresWhatIsNotALiveBlockOfItsOwn) {
  CPrivateHeap heap;
  CPrivateHeap other;
  std::vector<void*> live;
  for (const unsigned size : {1u, 100u, 5'000u, 200'000u, 256u * 1024, 1'000'000u}) live.push_back(heap.Alloc(size));
  int onStack = 0;
  std::vector<void*> foreign = {nullptr, &onStack, other.Alloc(100)};
  for (const unsigned size : {100u, 5'000u, 1'000'000u}) {
    foreign.push_back(heap.Alloc(size));
    heap.Free(foreign.back(), 0);
  }
  for (const auto start : {std::uintptr_t{0}, std::uintptr_t{1} << 63, reinterpret_cast<std::uintptr_t>(live[0]),
                           reinterpret_cast<std::uintptr_t>(live[5])}) {
    for (const int distance : {-4096, -16, -8, -1, 1, 8, 16, 64, 4096, 1 << 20, 1 << 30}) {
      void* const p = reinterpret_cast<void*>(start + static_cast<std::uintptr_t>(distance));
      if (std::find(live.begin(), live.end(), p) == live.end()) foreign.push_back(p);
    }
  }
  const unsigned total = heap.TotalAlloc();
  for (void* p : foreign) {
    EXPECT_FALSE(heap.Validate(p)) << p;
    heap.Free(p, 0);
    heap.Free(p, 100);
    EXPECT_EQ(heap.TotalAlloc(), total) << p;
  }
  for (void* p : live) {
    EXPECT_TRUE(heap.Validate(p));
    heap.Free(p, 0);
    EXPECT_FALSE(heap.Validate(p));
  }
  EXPECT_EQ(heap.TotalAlloc(), 0u);
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
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
        const auto [at, isNew] = ends.emplace(block, block + size);
        ASSERT_TRUE(isNew && (std::next(at) == ends.end() || at->second <= std::next(at)->first));
        ASSERT_TRUE(at == ends.begin() || std::prev(at)->second <= block);
        live.emplace_back(static_cast<char*>(std::memset(block, step, size)), size);
      } else {
        std::swap(live[random() % live.size()], live.back());
        const auto [block, size] = live.back();
        live.pop_back();
        ASSERT_EQ(std::memcmp(block, block + 1, size - 1), 0) << "written to by others";
        ends.erase(block);
        const unsigned total = heap.TotalAlloc();
        heap.Free(block, step % 2 == 0 ? size : 0);
        ASSERT_EQ(heap.TotalAlloc(), total - size);
        ASSERT_FALSE(heap.Validate(block));
      }
    }
    for (const auto& [block, size] : live) EXPECT_TRUE(heap.Validate(block));
  }
}

}  // namespace
