#include "util/os/throttle.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>

#include "platform/framework/rows_testing.h"

using zorplatform::CTimeStamp;
using zorutil::time_utils::CThrottle;

namespace {

TEST(Throttle, SucceedsOncePerIntervalOfItsClock) {
  // The interval, then steps: by how much the clock moves, and what Try answers; "r": 0 after a reset.
  for (const auto& c : rows_testing::Rows(R"(
      1000|0 1 500 0 500 1 500 0 499 0 1 1 9999 1; 1000|0 1 -5000 0 5999 0 1 1; 1000|0 r 999 0 1 1 999 0 0 r 1000 1;
      0|0 1 0 1 -1 0 1 1; -5|0 1 0 1 -5 1 -6 0;
      1000|0 1 3000000000 1; 2147483647|0 1 2147483646 0 1 1; -2147483648|0 1 -2147483648 1)")) {
    std::int64_t now = 45'000LL * 86'400'000, later = 0;
    CThrottle throttle(std::stoi(c[0]), [&now] { return CTimeStamp::FromMilliseconds(now); });
    std::istringstream steps(c[1]);
    for (std::string answer; steps >> later >> answer;) {
      now += later;
      if (answer == "r") throttle.Reset();
      EXPECT_EQ(throttle.Try(), answer == "1") << c[0] << ": " << c[1] << ", at " << now;
    }
  }
  const auto hourly = CThrottle::MakeUnique(3'600'000);
  EXPECT_TRUE(hourly->Try() && !hourly->Try());
}

}  // namespace
