#include "examples/readings/plot_axis.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

#include "examples/readings/reading.h"

namespace readings {
namespace {

constexpr std::int64_t kSecond = 1000;
constexpr std::int64_t kMinute = 60 * kSecond;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;

constexpr std::int64_t kTimeSteps[] = {1,
                                       2,
                                       5,
                                       10,
                                       20,
                                       50,
                                       100,
                                       200,
                                       500,
                                       kSecond,
                                       2 * kSecond,
                                       5 * kSecond,
                                       10 * kSecond,
                                       15 * kSecond,
                                       30 * kSecond,
                                       kMinute,
                                       2 * kMinute,
                                       5 * kMinute,
                                       10 * kMinute,
                                       15 * kMinute,
                                       30 * kMinute,
                                       kHour,
                                       2 * kHour,
                                       3 * kHour,
                                       6 * kHour,
                                       12 * kHour,
                                       kDay,
                                       2 * kDay,
                                       7 * kDay,
                                       14 * kDay,
                                       30 * kDay,
                                       91 * kDay,
                                       365 * kDay};

std::string FixedText(double value, int decimals) {
  char text[400];
  const auto end = std::to_chars(text, std::end(text), value == 0 ? 0.0 : value, std::chars_format::fixed, decimals);
  return {text, end.ptr};
}

// "1234567" as "1 234 567", with narrow no-break spaces.
std::string Grouped(std::string text) {
  std::size_t end = std::min(text.find('.'), text.size());
  const std::size_t begin = text.starts_with('-') ? 1 : 0;
  if (end - begin <= 4) return text;
  while (end > begin + 3) text.insert(end -= 3, "\xE2\x80\xAF");
  return text;
}

std::string ValueText(double value, int decimals) {
  if (std::abs(value) < 1e15 && decimals <= 6) return Grouped(FixedText(value, std::max(decimals, 0)));
  char text[64];
  return {text, std::to_chars(text, std::end(text), value, std::chars_format::scientific, 2).ptr};
}

std::string TimeTickText(std::int64_t ms, std::int64_t step) {
  const std::string text = TimeText(ms);  // 2026-03-12 05:00:00.250
  if (step >= kDay) return text.substr(0, 10);
  if (step >= kMinute) return text.substr(11, 5);
  return text.substr(11, step >= kSecond ? 8 : 12);
}

std::int64_t RoundedUp(std::int64_t value, std::int64_t step) {
  const std::int64_t rest = value % step;
  return rest == 0 ? value : value - rest + (rest > 0 ? step : 0);
}

}  // namespace

std::vector<tick_t> ValueTicks(double low, double high, int count) {
  const double span = high / count - low / count;  // high - low could overflow
  const double power = std::pow(10, std::floor(std::log10(span)));
  const double ratio = span / power;
  const double step = power * (ratio <= 1 ? 1 : ratio <= 2 ? 2 : ratio <= 5 ? 5 : 10);
  std::vector<tick_t> ticks;
  if (!(step > 0) || !std::isfinite(step)) return ticks;
  const int decimals = static_cast<int>(-std::floor(std::log10(step) + 1e-9));
  const double first = std::ceil(low / step);
  for (int i = 0; i <= 2 * count; ++i) {
    const double at = (first + i) * step;
    if (at > high) break;
    if (at >= low) ticks.push_back({at, ValueText(at, decimals)});
  }
  return ticks;
}

std::vector<tick_t> TimeTicks(std::int64_t first, std::int64_t last, int count) {
  std::int64_t step = *std::rbegin(kTimeSteps);
  for (const std::int64_t candidate : kTimeSteps) {
    if ((last - first) / candidate < count) {
      step = candidate;
      break;
    }
  }
  while ((last - first) / step >= count) step *= 2;
  std::vector<tick_t> ticks;
  for (std::int64_t at = RoundedUp(first, step); at <= last; at += step) {
    ticks.push_back({static_cast<double>(at), TimeTickText(at, step)});
  }
  return ticks;
}

}  // namespace readings
