// What a plot keeps of a series of any length: first, lowest, highest and last value of each slice of time.
//
//   CTimeBins bins;
//   bins.At(ms).scaled.Add(21.5);
//   bins.ForEach([](std::int64_t begin, std::int64_t width, const time_bin_t& bin) { ... });
//
// The slices are a power of two of milliseconds wide, the same for the whole series; when it outgrows kMost of them,
// they double and merge in pairs. So memory is bounded, and a plot of half as many pixels shows every extreme. Times
// may come in any order. A value object.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace readings {

struct value_range_t {
  double first = 0;
  double low = 0;
  double high = 0;
  double last = 0;
  std::uint64_t count = 0;

  void Add(double value) {
    if (count++ == 0) {
      first = low = high = last = value;
      return;
    }
    low = std::min(low, value);
    high = std::max(high, value);
    last = value;
  }
  void Merge(const value_range_t& later) {
    if (later.count == 0) return;
    if (count == 0) {
      *this = later;
      return;
    }
    low = std::min(low, later.low);
    high = std::max(high, later.high);
    last = later.last;
    count += later.count;
  }
};

struct time_bin_t {
  value_range_t raw;
  value_range_t scaled;
  value_range_t reported;
  std::uint64_t dropouts = 0;
  std::uint64_t failures = 0;

  void Merge(const time_bin_t& later);
};

class CTimeBins {
 public:
  static constexpr std::size_t kMost = 2048;

  /// The slice that holds the time.
  time_bin_t& At(std::int64_t ms) {
    if (bins_.empty() || (ms >> shift_) < first_ || (ms >> shift_) > last_) MakeRoom(ms);
    return bins_[Slot(ms >> shift_)];
  }
  bool IsEmpty() const { return bins_.empty(); }

  /// Calls `use(begin, width, bin)` for every slice that something fell into, in the order of time (milliseconds).
  template <class Use>
  void ForEach(Use use) const {
    if (bins_.empty()) return;
    for (std::int64_t i = first_; i <= last_; ++i) {
      const time_bin_t& bin = bins_[Slot(i)];
      if (bin.raw.count + bin.scaled.count + bin.dropouts + bin.failures == 0) continue;
      use(i * (std::int64_t{1} << shift_), std::int64_t{1} << shift_, bin);
    }
  }

 private:
  // Slices lie in a ring by their absolute number, so that growing to either side moves none.
  static std::size_t Slot(std::int64_t index) { return static_cast<std::size_t>(index) & (kMost - 1); }
  void MakeRoom(std::int64_t ms);
  void Coarsen();

  std::vector<time_bin_t> bins_;
  int shift_ = 0;
  std::int64_t first_ = 0;
  std::int64_t last_ = 0;
};

}  // namespace readings
