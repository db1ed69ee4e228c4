#include "util/serialization/pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "platform/framework/invalid_arg.h"
#include "util/serialization/private_heap.h"

using zorpool::CPool;

namespace {

// Watches the traffic of blocks, and fails at a call when told to.
struct parent_t : zorpool::IPool {
  ~parent_t() override { EXPECT_TRUE(blocks.empty()) << "a pool returns what is in use, too"; }
  void* Alloc(unsigned size) override {
    if (++calls == failAt) throw std::bad_alloc();
    void* const block = std::memset(::operator new(size), 0xAA, size);
    blocks.emplace(block, size);
    return block;
  }
  void Free(void* p, unsigned size) override {
    EXPECT_EQ(blocks.at(p), size);
    blocks.erase(p);
    freed.push_back(p);
    ::operator delete(p);
  }
  std::map<void*, unsigned> blocks;
  std::vector<void*> freed;
  int calls = 0;
  int failAt = 0;
};

TEST(Pool, GivesElementsInOrderOfAddressAndTheOneFreedLastFirst) {
  for (const auto& [size, chunk, count] : std::vector<std::array<unsigned, 3>>{
           {16, 65536, 4096}, {24, 65536, 2730}, {264, 0x100000, 3971}, {13, 64, 4}, {8, 8, 1}}) {
    parent_t parent;
    std::vector<char*> elements;
    CPool pool(size, chunk, &parent, false);
    for (unsigned i = 0; i != count; ++i) {
      elements.push_back(static_cast<char*>(pool.Alloc(3)));
      ASSERT_EQ(elements[i], elements[0] + std::size_t{i} * size) << size;
      ASSERT_EQ(std::count(elements[i] + sizeof(void*), elements[i] + size, '\0'), size - sizeof(void*));
    }
    void* const next = pool.Alloc(size);
    pool.Free(elements.back(), size);
    EXPECT_EQ(pool.Alloc(0), elements.back());
    EXPECT_EQ(pool.TotalAlloc(), 2 * count * size);
    EXPECT_THROW(pool.Alloc(size + 1), zorpool::bad_alloc_t);
    pool.Free(next, 0);
    EXPECT_EQ(parent.freed, std::vector<void*>{next});
  }
  EXPECT_STREQ(zorpool::bad_alloc_t().what(), "bad allocation");
  for (const unsigned size : {0u, static_cast<unsigned>(sizeof(void*) - 1), 65u})
    EXPECT_THROW(CPool(size, 64, nullptr, true), CInvalidArgException);
}

// Beside the rules done the plain way, with a parent that fails at every fifth call.
TEST(Pool, ServesFromTheFirstRoomOfItsChainAndReturnsWhatIsEmpty) {
  constexpr unsigned kElements = 3;
  for (const bool releaseWhenEmpty : {false, true}) {
    parent_t parent;
    CPool pool(16, 16 * kElements + 5, &parent, releaseWhenEmpty);
    std::vector<unsigned> inUse(1);
    std::vector<char*> blocks(1);
    std::vector<std::pair<char*, std::size_t>> live;  // elements and their places in the chain
    std::mt19937 random(1);
    for (int step = 0; step != 40'000; ++step) {
      if (live.empty() || random() % 100 < (step / 2000 % 2 == 0 ? 90u : 10u)) {
        const auto room = std::find_if(inUse.begin(), inUse.end(), [](unsigned n) { return n != kElements; });
        const auto place = static_cast<std::size_t>(room - inUse.begin());
        if (place == inUse.size()) inUse.push_back(0), blocks.push_back(nullptr);
        parent.failAt = parent.calls % 5 == 4 ? parent.calls + 1 : 0;
        try {
          auto* const element = static_cast<char*>(pool.Alloc(16));
          if (blocks[place] == nullptr) blocks[place] = element;
          ASSERT_LT(static_cast<std::size_t>(element - blocks[place]), 16 * kElements) << "not of pool " << place;
          ++inUse[place];
          live.emplace_back(element, place);
        } catch (const std::bad_alloc&) {
          ASSERT_EQ(blocks[place], nullptr);
        }
      } else {
        std::swap(live[random() % live.size()], live.back());
        const auto [element, place] = live.back();
        live.pop_back();
        pool.Free(element, 16);
        if (--inUse[place] == 0 && (place != 0 || releaseWhenEmpty)) blocks[place] = nullptr;
      }
      const auto held = blocks.size() - static_cast<std::size_t>(std::count(blocks.begin(), blocks.end(), nullptr));
      ASSERT_EQ(parent.blocks.size(), held);
      ASSERT_TRUE(pool.TotalAlloc() == held * 16 * kElements && pool.TotalInUse() == live.size() &&
                  pool.InstanceInUse() == inUse[0]);
    }
    EXPECT_GT(inUse.size(), 400u) << "a chain long enough to mean something";
  }
}

TEST(Pool, ThreadsShareOneAndSoTheyDoAPrivateHeap) {
  const auto share = [](auto&& source) {
    const auto work = [&](unsigned t) {
      std::vector<unsigned*> live;
      for (unsigned i = 0; i != 21'000; ++i) {
        if (i / 150 % 2 == 0) {
          live.push_back(std::fill_n(static_cast<unsigned*>(source.Alloc(264)), 66, t) - 66);
        } else {
          EXPECT_EQ(std::count(live.back(), live.back() + 66, t), 66);
          source.Free(live.back(), 264);
          live.pop_back();
        }
        EXPECT_LE(source.TotalAlloc(), 264'000u);
      }
    };
    std::thread others[] = {std::thread(work, 1), std::thread(work, 2)};
    for (auto& thread : others) thread.join();
    EXPECT_EQ(source.TotalAlloc(), 0u);
  };
  share(CPool(264, 264 * 100, nullptr, true));
  share(zorpool::CPrivateHeap());
}

}  // namespace
