#include "platform/text/uint128_internal.h"

#include <gtest/gtest.h>

#include <random>

namespace {

#ifdef __SIZEOF_INT128__
using halves_t = wide::two_halves_t;

// Of every length, so that carries, shifts and quotients of all sizes occur.
template <class T>
T Random(std::mt19937_64 random) {
  const T high = random();
  const T value = high << 64 | T{random()};
  return value >> static_cast<int>(random() % 128);
}

bool IsSame(halves_t halves, wide::uint128_t number) {
  return static_cast<std::uint64_t>(halves) == static_cast<std::uint64_t>(number) &&
         static_cast<std::uint64_t>(halves >> 64) == static_cast<std::uint64_t>(number >> 64);
}

TEST(TwoHalves, CalculateAsTheCompilersNumbers) {
  for (unsigned i = 0; i != 20'000; ++i) {
    const std::mt19937_64 first(2 * i), second(2 * i + 1);
    const auto a = Random<halves_t>(first), b = Random<halves_t>(second);
    const auto x = Random<wide::uint128_t>(first), y = Random<wide::uint128_t>(second);
    const int count = static_cast<int>(i % 128);
    EXPECT_TRUE(IsSame(a, x) && IsSame(a + b, x + y) && IsSame(a - b, x - y) && IsSame(a * b, x * y)) << i;
    EXPECT_TRUE(IsSame(a << count, x << count) && IsSame(a >> count, x >> count) && IsSame(a | b, x | y)) << i;
    EXPECT_TRUE((a < b) == (x < y) && (a == b) == (x == y)) << i;
    if (y == 0) continue;
    EXPECT_TRUE(IsSame(a / b, x / y) && IsSame(a % b, x % y)) << i;
  }
}
#endif

}  // namespace
