#include "util/serialization/private_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <thread>
#include <vector>

using zorpool::CPrivateHeap;

namespace {

void* Offset(const void* p, std::intptr_t bytes) {
  return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(p) + static_cast<std::uintptr_t>(bytes));
}

TEST(PrivateHeap, ServesLessThanItsBudget) {
  const struct {
    unsigned budget;
    std::vector<unsigned> served;
    unsigned refused, total;
  } cases[] = {{100, {60}, 40, 60},         {100, {60, 39}, 1, 99}, {100, {}, 100, 0},         {1, {}, 1, 0},
               {100, {60}, 0xFFFFFFFF, 60}, {0, {5}, 0, 5},         {0, {1, 1}, 0xFFFFFFFE, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refused);
    CPrivateHeap heap(c.budget);
    std::vector<void*> blocks;
    for (const unsigned size : c.served) blocks.push_back(heap.Alloc(size));
    try {
      heap.Alloc(c.refused);
      ADD_FAILURE() << "served";
    } catch (const std::bad_alloc& error) {
      EXPECT_STREQ(error.what(), "bad allocation");
    }
    EXPECT_EQ(heap.TotalAlloc(), c.total);
    for (void* block : blocks) EXPECT_TRUE(heap.Validate(block));
  }
}

TEST(PrivateHeap, CountsOffWhatTheCallerSaysOrWhatItKnowsAndIsGoneWithTheLastBlock) {
  CPrivateHeap heap;
  for (const unsigned size : {1u, 24u, 264u, 70'000u, 300'000u}) {
    SCOPED_TRACE(size);
    void* const first = heap.Alloc(size);
    void* const second = heap.Alloc(7);
    heap.Free(first, 0);
    EXPECT_EQ(heap.TotalAlloc(), 7u);
    EXPECT_FALSE(heap.Validate(first));
    EXPECT_TRUE(heap.Validate(second));
    heap.Free(second, 7);
    EXPECT_EQ(heap.TotalAlloc(), 0u);
    EXPECT_FALSE(heap.Validate(second));
  }
}

TEST(PrivateHeap, IgnoresWhatIsNotALiveBlockOfItsOwn) {
  CPrivateHeap heap;
  CPrivateHeap other;
  std::vector<void*> live;
  for (const unsigned size : {1u, 100u, 5'000u, 200'000u, 256u * 1024, 1'000'000u}) live.push_back(heap.Alloc(size));
  void* const freed[] = {heap.Alloc(100), heap.Alloc(5'000), heap.Alloc(1'000'000)};
  for (void* p : freed) heap.Free(p, 0);
  int onStack = 0;
  std::vector<void*> foreign = {nullptr,
                                &onStack,
                                &heap,
                                other.Alloc(100),
                                Offset(nullptr, 1),
                                Offset(nullptr, -1),
                                Offset(nullptr, -16),
                                Offset(nullptr, INTPTR_MIN)};
  foreign.insert(foreign.end(), std::begin(freed), std::end(freed));
  for (void* p : live) {
    for (const std::intptr_t distance : {-4096, -16, -8, -1, 1, 8, 16, 64, 4096, 1 << 20, 1 << 30}) {
      foreign.push_back(Offset(p, distance));
      std::erase_if(foreign, [&](void* q) { return std::find(live.begin(), live.end(), q) != live.end(); });
    }
  }
  const unsigned total = heap.TotalAlloc();
  for (void* p : foreign) {
    EXPECT_FALSE(heap.Validate(p)) << p;
    heap.Free(p, 0);
    heap.Free(p, 100);
    EXPECT_EQ(heap.TotalAlloc(), total) << p;
  }
  for (void* p : live) EXPECT_TRUE(heap.Validate(p));
}

TEST(PrivateHeap, BlocksOfAllSizesKeepApartWhileTheyComeAndGo) {
  struct block_t {
    unsigned char* at;
    unsigned size;
    unsigned char fill;
  };
  for (const unsigned largestLog : {6u, 12u, 19u}) {
    SCOPED_TRACE(largestLog);
    CPrivateHeap heap;
    std::mt19937 random(largestLog);
    std::vector<block_t> live;
    std::map<std::uintptr_t, std::uintptr_t> ends;  // of the live blocks, by their starts
    unsigned total = 0;
    for (unsigned step = 0; step != 20'000; ++step) {
      const bool grows = step / 2'500 % 2 == 0;
      if (live.empty() || random() % 100 < (grows ? 70u : 30u)) {
        const unsigned size = 1 + static_cast<unsigned>(random()) % (2u << random() % largestLog);
        const block_t block{static_cast<unsigned char*>(heap.Alloc(size)), size, static_cast<unsigned char>(step)};
        const auto start = reinterpret_cast<std::uintptr_t>(block.at);
        ASSERT_EQ(start % 16, 0u);
        const auto behind = ends.lower_bound(start);
        ASSERT_TRUE(behind == ends.end() || start + size <= behind->first) << "step " << step;
        ASSERT_TRUE(behind == ends.begin() || std::prev(behind)->second <= start) << "step " << step;
        ends.emplace(start, start + size);
        std::memset(block.at, block.fill, size);
        live.push_back(block);
        total += size;
      } else {
        std::swap(live[random() % live.size()], live.back());
        const block_t block = live.back();
        live.pop_back();
        ASSERT_TRUE(block.at[0] == block.fill && std::memcmp(block.at, block.at + 1, block.size - 1) == 0);
        ends.erase(reinterpret_cast<std::uintptr_t>(block.at));
        heap.Free(block.at, step % 2 == 0 ? block.size : 0);
        ASSERT_FALSE(heap.Validate(block.at));
        total -= block.size;
      }
      ASSERT_EQ(heap.TotalAlloc(), total);
    }
    for (const block_t& block : live) EXPECT_TRUE(heap.Validate(block.at));
  }
}

TEST(PrivateHeap, ThreadsShareOneAndLeaveNothing) {
  CPrivateHeap heap;
  std::vector<std::thread> threads;
  for (unsigned t = 0; t != 4; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 random(t);
      std::vector<unsigned*> live;
      for (int i = 0; i != 10'000; ++i) {
        if (live.size() < 3 && random() % 2 == 0) {
          live.push_back(static_cast<unsigned*>(heap.Alloc(4 + static_cast<unsigned>(random() % 300))));
          *live.back() = t;
        } else if (!live.empty()) {
          EXPECT_TRUE(heap.Validate(live.back()) && *live.back() == t);
          heap.Free(live.back(), 0);
          live.pop_back();
        }
      }
      for (unsigned* block : live) heap.Free(block, 0);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(heap.TotalAlloc(), 0u);
}

}  // namespace
