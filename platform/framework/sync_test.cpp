#include "platform/framework/sync.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace {

template <class Call>
auto OnAnotherThread(Call call) {
  decltype(call()) result{};
  std::thread([&] { result = call(); }).join();
  return result;
}

TEST(CriticalSection, LetsOneThreadInAtATime) {
  for (const std::uint32_t spinCount : {0U, 4000U}) {
    SCOPED_TRACE(spinCount);
    CCriticalSection lock(spinCount);
    std::int64_t counter = 0;  // not atomic: the lock is what keeps it whole
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&, t] {
        for (int i = 0; i < 20'000; ++i) {
          // Timed waits beside endless ones: a waiter that gives up must not lose a wake that another needs.
          while (!lock.Lock(t == 0 && i % 64 == 0 ? 1 : CSyncObject::kInfinite)) continue;
          ++counter;
          lock.Unlock();
        }
      });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(counter, 80'000);
  }
}

TEST(CriticalSection, BelongsToItsThreadUntilItIsGivenBackAsOftenAsTaken) {
  CCriticalSection lock;
  EXPECT_FALSE(lock.Unlock());
  EXPECT_TRUE(lock.Lock());
  EXPECT_TRUE(lock.TryLock());
  EXPECT_FALSE(OnAnotherThread([&] { return lock.Unlock(); }));
  EXPECT_TRUE(lock.Unlock());
  EXPECT_FALSE(OnAnotherThread([&] { return lock.TryLock(); }));
  EXPECT_TRUE(lock.Unlock());
  EXPECT_FALSE(lock.Unlock());
  EXPECT_TRUE(OnAnotherThread([&] { return lock.TryLock() && lock.Unlock(); }));
}

TEST(CriticalSection, WaitsAsLongAsItIsToldAndWakesWhenItIsFree) {
  using namespace std::chrono_literals;
  CCriticalSection lock;
  lock.Lock();
  const auto started = std::chrono::steady_clock::now();
  EXPECT_FALSE(OnAnotherThread([&] { return lock.Lock(20); }));
  EXPECT_GE(std::chrono::steady_clock::now() - started, 20ms);

  bool got = false;
  std::thread waiter([&] { got = lock.Lock(60'000) && lock.Unlock(); });
  std::this_thread::sleep_for(10ms);
  lock.Unlock();
  waiter.join();
  EXPECT_TRUE(got);
}

TEST(LightLock, LetsOneThreadInAtATimeAndWakesThoseWhoFellAsleep) {
  CLightLock lock;
  int counter = 0;
  const auto work = [&] {
    for (int i = 0; i < 20'000; ++i) {
      const std::lock_guard guard(lock);
      ++counter;
      if (i % 2'000 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  };
  std::thread others[] = {std::thread(work), std::thread(work), std::thread(work)};  // several asleep at once
  for (auto& thread : others) thread.join();
  EXPECT_EQ(counter, 60'000);
}

TEST(SingleLock, HoldsItsLockOnceAndGivesItBack) {
  CCriticalSection section;
  CSyncObject& lock = section;
  const auto isFree = [&] { return OnAnotherThread([&] { return lock.Lock(0) && lock.Unlock(); }); };
  {
    CSingleLock guard(&lock);
    EXPECT_TRUE(guard.Lock());
    EXPECT_FALSE(isFree());
    EXPECT_TRUE(guard.Unlock());
    EXPECT_FALSE(guard.Unlock());
    EXPECT_TRUE(isFree());
    std::lock_guard<CSingleLock> again(guard);
    EXPECT_FALSE(isFree());
  }
  EXPECT_TRUE(isFree());
  CSingleLock later(&lock, false);
  EXPECT_TRUE(isFree());
}

}  // namespace
