#include "util/os/throttle.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <vector>

using zorplatform::CTimeStamp;
using zorutil::time_utils::CThrottle;

namespace {

TEST(Throttle, SucceedsOncePerIntervalOfItsClock) {
  std::int64_t now = 45'000LL * 86'400'000;
  const auto clock = [&now] { return CTimeStamp::FromMilliseconds(now); };
  // Milliseconds since the step before (negative: the clock was set back), and what Try answers; "reset" steps first.
  struct step_t {
    std::int64_t later;
    bool expected;
    bool reset = false;
  };
  const struct {
    int interval;
    std::vector<step_t> steps;
  } cases[] = {{1000, {{0, true}, {500, false}, {500, true}, {500, false}, {499, false}, {1, true}, {9999, true}}},
               {1000, {{0, true}, {-5000, false}, {5999, false}, {1, true}}},
               {1000, {{0, false, true}, {999, false}, {1, true}, {999, false}, {0, false, true}, {1000, true}}},
               {0, {{0, true}, {0, true}, {-1, false}, {1, true}}},
               {-5, {{0, true}, {0, true}, {-5, true}, {-6, false}}},
               {INT_MAX, {{0, true}, {INT_MAX - 1LL, false}, {1, true}}},
               {INT_MIN, {{0, true}, {INT_MIN, true}}}};
  for (const auto& c : cases) {
    CThrottle throttle(c.interval, clock);
    int number = 0;
    for (const step_t& step : c.steps) {
      now += step.later;
      if (step.reset) throttle.Reset();
      EXPECT_EQ(throttle.Try(), step.expected) << "interval " << c.interval << ", step " << number;
      ++number;
    }
  }
}

TEST(Throttle, CopiesGoTheirOwnWayAndASystemClockIsTheDefault) {
  std::int64_t now = 0;
  CThrottle first(1000, [&now] { return CTimeStamp::FromMilliseconds(now); });
  CThrottle second = first;
  EXPECT_TRUE(first.Try());
  EXPECT_TRUE(second.Try());
  now = 1000;
  EXPECT_TRUE(CThrottle(first).Try());
  EXPECT_TRUE(first.Try());

  const auto hourly = CThrottle::MakeUnique(3'600'000);
  EXPECT_TRUE(hourly->Try());
  EXPECT_FALSE(hourly->Try());
}

}  // namespace
