#include "examples/readings/time_bins.h"

namespace readings {

void time_bin_t::Merge(const time_bin_t& later) {
  raw.Merge(later.raw);
  scaled.Merge(later.scaled);
  reported.Merge(later.reported);
  dropouts += later.dropouts;
  failures += later.failures;
}

void CTimeBins::MakeRoom(std::int64_t ms) {
  if (bins_.empty()) {
    bins_.resize(kMost);
    first_ = last_ = ms;
    return;
  }
  const auto spans = [&] {
    const std::int64_t index = ms >> shift_;
    return static_cast<std::uint64_t>(std::max(last_, index) - std::min(first_, index)) < kMost;
  };
  while (!spans()) Coarsen();
  first_ = std::min(first_, ms >> shift_);
  last_ = std::max(last_, ms >> shift_);
}

void CTimeBins::Coarsen() {
  std::vector<time_bin_t> merged(kMost);
  for (std::int64_t i = first_; i <= last_; ++i) merged[Slot(i >> 1)].Merge(bins_[Slot(i)]);
  bins_.swap(merged);
  ++shift_;
  first_ >>= 1;
  last_ >>= 1;
}

}  // namespace readings
