// Where the ticks of an axis stand and what is written beside them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace readings {

struct tick_t {
  double at;
  std::string text;
};

/// Ticks at 1, 2 or 5 times a power of ten, about `count` of them, inside low to high (finite, low below high).
std::vector<tick_t> ValueTicks(double low, double high, int count);

/// Ticks at round times, at most about `count`, inside first to last (milliseconds since 1970; first <= last).
std::vector<tick_t> TimeTicks(std::int64_t first, std::int64_t last, int count);

}  // namespace readings
