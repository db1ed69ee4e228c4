#include "util/serialization/pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/framework/invalid_arg.h"

using zorpool::CPool;

namespace {

// Watches the traffic of blocks, and fails when told to.
class CParent : public zorpool::IPool {
 public:
  ~CParent() override { EXPECT_TRUE(blocks_.empty()); }
  void* Alloc(unsigned size) override {
    if (++calls_ == failAt_) throw std::bad_alloc();
    void* const block = ::operator new(size);
    std::memset(block, 0xAA, size);
    blocks_.emplace(block, size);
    return block;
  }
  void Free(void* p, unsigned size) override {
    EXPECT_EQ(blocks_.at(p), size);
    freed_.push_back(p);
    blocks_.erase(p);
    ::operator delete(p);
  }
  void FailAt(int call) { failAt_ = calls_ + call; }

  std::map<void*, unsigned> blocks_;
  std::vector<void*> freed_;
  int calls_ = 0;
  int failAt_ = 0;
};

std::string Counts(const CPool& pool, const CParent& parent) {
  return std::to_string(pool.InstanceInUse()) + " of " + std::to_string(pool.TotalInUse()) + ", " +
         std::to_string(pool.TotalAlloc()) + " bytes, " + std::to_string(parent.calls_) + " taken, " +
         std::to_string(parent.freed_.size()) + " returned";
}

TEST(Pool, CountsAlongTheWayThroughOverflowAndBack) {
  // Each step frees the elements named by digits, or takes the next one (+); the counts afterwards.
  struct step_t {
    const char* what;
    const char* counts;
  };
  const struct {
    bool releaseWhenEmpty;
    std::vector<step_t> steps;
  } cases[] = {{false,
                {{"", "0 of 0, 0 bytes, 0 taken, 0 returned"},
                 {"+", "1 of 1, 48 bytes, 1 taken, 0 returned"},
                 {"0+", "1 of 1, 48 bytes, 1 taken, 0 returned"},
                 {"+", "2 of 2, 48 bytes, 1 taken, 0 returned"},
                 {"+", "2 of 3, 96 bytes, 2 taken, 0 returned"},
                 {"3", "2 of 2, 48 bytes, 2 taken, 1 returned"},
                 {"+", "2 of 3, 96 bytes, 3 taken, 1 returned"},
                 {"++", "2 of 5, 144 bytes, 4 taken, 1 returned"},
                 {"45", "2 of 3, 96 bytes, 4 taken, 2 returned"},
                 {"+6", "2 of 3, 96 bytes, 5 taken, 3 returned"}}},
               {true,
                {{"++", "2 of 2, 48 bytes, 1 taken, 0 returned"},
                 {"+01", "0 of 1, 48 bytes, 2 taken, 1 returned"},
                 {"+", "1 of 2, 96 bytes, 3 taken, 1 returned"},
                 {"32", "0 of 0, 0 bytes, 3 taken, 3 returned"},
                 {"+", "1 of 1, 48 bytes, 4 taken, 3 returned"}}}};
  for (const auto& c : cases) {
    CParent parent;
    CPool pool(24, 50, &parent, c.releaseWhenEmpty);
    std::vector<void*> taken;
    for (const step_t& step : c.steps) {
      SCOPED_TRACE(step.what);
      for (const char* at = step.what; *at != '\0'; ++at) {
        if (*at == '+') {
          taken.push_back(pool.Alloc(24));
        } else {
          pool.Free(taken[static_cast<std::size_t>(*at - '0')], 0);
        }
      }
      EXPECT_EQ(Counts(pool, parent), step.counts);
    }
  }
}

TEST(Pool, GivesElementsInOrderOfAddressAndTheOneFreedLastFirst) {
  const struct {
    unsigned elementSize, chunkSize, maxElements;
  } cases[] = {{16, 65536, 4096}, {24, 65536, 2730}, {264, 0x100000, 3971}, {13, 64, 4}, {8, 8, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.elementSize);
    CParent parent;
    {
      CPool pool(c.elementSize, c.chunkSize, &parent, false);
      EXPECT_EQ(pool.MaxElements(), c.maxElements);
      std::vector<char*> elements;
      while (elements.size() != c.maxElements) elements.push_back(static_cast<char*>(pool.Alloc(3)));
      const std::string zeros(c.elementSize - sizeof(void*), '\0');
      for (unsigned i = 0; i != c.maxElements; ++i) {
        ASSERT_EQ(elements[i], elements[0] + std::size_t{i} * c.elementSize);
        ASSERT_EQ(std::string(elements[i] + sizeof(void*), zeros.size()), zeros);
      }
      EXPECT_EQ(parent.blocks_.at(elements[0]), c.maxElements * c.elementSize);
      void* const next = pool.Alloc(c.elementSize);
      for (char* element : {elements.front(), elements.back()}) {
        pool.Free(element, c.elementSize);
        EXPECT_EQ(pool.Alloc(0), element);
      }
      EXPECT_EQ(pool.TotalInUse(), c.maxElements + 1U);
      EXPECT_THROW(pool.Alloc(c.elementSize + 1), zorpool::bad_alloc_t);
      pool.Free(next, c.elementSize);
      EXPECT_EQ(parent.freed_, std::vector<void*>{next});
    }
    EXPECT_EQ(parent.freed_.size(), 2u) << "the destructor returns what is in use";
  }
}

// The rules of the chain, done the plain way.
class CModel {
 public:
  std::size_t Take() {
    std::size_t at = 0;
    while (at != inUse_.size() && inUse_[at] == kElements) ++at;
    if (at == inUse_.size()) inUse_.push_back(0);
    ++inUse_[at];
    return at;
  }
  std::size_t BlocksHeld() const {
    const auto used = std::count_if(inUse_.begin(), inUse_.end(), [](unsigned count) { return count != 0; });
    return static_cast<std::size_t>(used) + (!inUse_.empty() && inUse_[0] == 0 ? 1 : 0);
  }
  static constexpr unsigned kElements = 3;
  std::vector<unsigned> inUse_;
};

TEST(Pool, ALongChainServesFromItsFirstRoomAndFreesWhereItBelongs) {
  CParent parent;
  CPool pool(16, 16 * CModel::kElements, &parent, false);
  CModel model;
  struct element_t {
    void* at;
    std::size_t link;
  };
  std::vector<element_t> live;
  std::map<std::size_t, char*> starts;  // the block of each link, as seen from outside
  std::mt19937 random(1);
  for (int step = 0; step != 40'000; ++step) {
    // Bursts: mostly taking, then mostly freeing.
    if (live.empty() || random() % 100 < (step / 2000 % 2 == 0 ? 90u : 15u)) {
      const std::size_t link = model.Take();
      const auto blocksBefore = parent.calls_;
      auto* const element = static_cast<char*>(pool.Alloc(16));
      if (parent.calls_ != blocksBefore) starts[link] = element;
      ASSERT_LT(static_cast<std::size_t>(element - starts[link]), 16u * CModel::kElements) << "not of link " << link;
      live.push_back({element, link});
    } else {
      std::swap(live[random() % live.size()], live.back());
      --model.inUse_[live.back().link];
      pool.Free(live.back().at, 16);
      live.pop_back();
    }
    ASSERT_EQ(pool.TotalInUse(), live.size());
    ASSERT_EQ(pool.InstanceInUse(), model.inUse_[0]);
    ASSERT_EQ(parent.blocks_.size(), model.BlocksHeld());
  }
  EXPECT_GT(model.inUse_.size(), 500u) << "long enough to mean something";
}

TEST(Pool, AFailureOfItsParentComesThroughAndChangesNothing) {
  CParent parent;
  CPool pool(16, 32, &parent, false);
  std::vector<void*> live;
  while (live.size() != 5) {
    const std::string before = Counts(pool, parent);
    if (live.size() % 2 == 0) {
      parent.FailAt(1);
      EXPECT_THROW(pool.Alloc(16), std::bad_alloc);
      --parent.calls_;
      parent.failAt_ = 0;
    }
    EXPECT_EQ(Counts(pool, parent), before);
    live.push_back(pool.Alloc(16));
  }
  for (void* element : live) pool.Free(element, 16);
  EXPECT_EQ(Counts(pool, parent), "0 of 0, 32 bytes, 3 taken, 2 returned");
  try {
    pool.Alloc(17);
    ADD_FAILURE() << "served 17 bytes";
  } catch (const std::bad_alloc& error) {
    EXPECT_STREQ(error.what(), "bad allocation");
  }
}

TEST(Pool, RefusesSizesThatCannotWork) {
  const struct { unsigned elementSize, chunkSize; } cases[] = {{0, 64}, {7, 64}, {16, 15}, {16, 0}};
  for (const auto& c : cases) EXPECT_THROW(CPool(c.elementSize, c.chunkSize, nullptr, true), CInvalidArgException);
}

TEST(Pool, ThreadsShareOne) {
  CPool pool(264, 264 * 100, nullptr, false);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t != 4; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 random(t);
      std::vector<unsigned*> live;
      for (unsigned i = 0; i != 20'000; ++i) {
        if (live.size() < 300 && (live.empty() || random() % 2 == 0)) {
          live.push_back(static_cast<unsigned*>(pool.Alloc(264)));
          std::fill_n(live.back(), 66, t);
        } else {
          EXPECT_EQ(std::count(live.back(), live.back() + 66, t), 66);
          pool.Free(live.back(), 264);
          live.pop_back();
        }
        EXPECT_GE(pool.TotalAlloc(), pool.InstanceInUse() * 264u);
      }
      for (unsigned* element : live) pool.Free(element, 264);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(pool.TotalInUse(), 0u);
  EXPECT_EQ(pool.TotalAlloc(), 26'400u);
}

}  // namespace
