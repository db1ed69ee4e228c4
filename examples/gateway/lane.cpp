#include "examples/gateway/lane.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "examples/readings/reading.h"

namespace gateway {
namespace {

// Front of the heap: due first; of those due together the shorter period, so that the order is always the same.
constexpr auto kLater = [](const auto& a, const auto& b) {
  return a.next != b.next ? a.next > b.next : a.periodMs > b.periodMs;
};

// The first multiple of the period that is not before `ms`.
std::int64_t NextMultiple(std::int64_t ms, std::uint32_t periodMs) {
  const std::int64_t rest = ms % periodMs;
  return rest == 0 ? ms : ms - rest + (rest > 0 ? periodMs : 0);
}

bool NeedsScaling(const tag_settings_t& settings) {
  const CScaling& scaling = settings.scaling;
  return scaling.GetScalingType() != CScaling::NONE || scaling.GetClampLow() || scaling.GetClampHigh() ||
         scaling.GetNegateValue() || scaling.GetScaledDataType() != settings.dataType;
}

}  // namespace

void CReadingBatch::Add(std::int64_t ms, std::string_view station, std::string_view address, std::string_view value) {
  readings_.push_back({ms, text_.size(), static_cast<std::uint32_t>(station.size() + 1 + address.size()),
                       static_cast<std::uint32_t>(value.size())});
  text_.append(station).append(1, '/').append(address).append(value);
}

void CReadingBatch::Clear() {
  readings_.clear();
  text_.clear();
}

// --- tags ---------------------------------------------------------------------------------------------------------

int CLane::AddTag(const tag_settings_t& settings) {
  std::uint32_t number = static_cast<std::uint32_t>(points_.size());
  if (free_.empty()) {
    points_.emplace_back();
  } else {
    number = free_.back();
    free_.pop_back();
    points_[number] = point_t();
  }
  Configure(number, settings);
  Join(number);
  return static_cast<int>(number);
}

void CLane::ChangeTag(int tag, const tag_settings_t& settings) {
  const auto number = static_cast<std::uint32_t>(tag);
  tag_settings_t& now = points_[number].settings;
  now.path = settings.path;
  if (now == settings) return;
  Leave(number);
  Configure(number, settings);
  Join(number);
}

tag_counts_t CLane::RemoveTag(int tag) {
  const auto number = static_cast<std::uint32_t>(tag);
  Leave(number);
  free_.push_back(number);
  const tag_counts_t counts = points_[number].counts;
  points_[number] = point_t();
  return counts;
}

void CLane::Configure(std::uint32_t number, const tag_settings_t& settings) {
  const std::uint32_t registerNumber = RegisterOf(settings.station + '/' + settings.address);
  point_t& point = points_[number];
  point.settings = settings;
  point.registerNumber = registerNumber;
  point.seen = 0;
  point.rawQuality = quality_t::unknown;
  point.isScaled = NeedsScaling(settings);
  point.hasReported = false;
}

std::vector<CLane::group_t>::iterator CLane::GroupOf(std::uint32_t periodMs) {
  return std::find_if(groups_.begin(), groups_.end(),
                      [periodMs](const group_t& group) { return group.periodMs == periodMs; });
}

// The tag goes into the group of its period, which is made when there is none.
void CLane::Join(std::uint32_t number) {
  point_t& point = points_[number];
  const std::uint32_t periodMs = point.settings.periodMs;
  if (!point.settings.isCollected) return;
  auto group = GroupOf(periodMs);
  if (group == groups_.end()) {
    groups_.push_back({periodMs, NextMultiple(now_, periodMs), {}});
    std::push_heap(groups_.begin(), groups_.end(), kLater);
    group = GroupOf(periodMs);
  }
  point.place = group->points.size();
  group->points.push_back(number);
}

void CLane::Leave(std::uint32_t number) {
  const point_t& point = points_[number];
  if (!point.settings.isCollected) return;
  const auto group = GroupOf(point.settings.periodMs);
  const std::uint32_t last = group->points.back();
  group->points[point.place] = last;
  points_[last].place = point.place;
  group->points.pop_back();
  if (!group->points.empty()) return;
  groups_.erase(group);
  std::make_heap(groups_.begin(), groups_.end(), kLater);
}

// --- running ------------------------------------------------------------------------------------------------------

std::uint32_t CLane::RegisterOf(std::string_view key) {
  if (const auto found = registerNumbers_.find(key); found != registerNumbers_.end()) return found->second;
  const auto number = static_cast<std::uint32_t>(registers_.size());
  registers_.emplace_back();
  registerNumbers_.emplace(key, number);
  return number;
}

void CLane::Apply(const CReadingBatch& batch, const CReadingBatch::reading_t& reading) {
  const std::string_view text = batch.text_;
  register_t& taken = registers_[RegisterOf(text.substr(reading.begin, reading.keySize))];
  taken.text = text.substr(reading.begin + reading.keySize, reading.valueSize);
  if (++taken.version == 0) taken.version = 1;
  ++readings_;
}

void CLane::SkipTo(std::int64_t ms) {
  if (ms <= now_) return;
  now_ = ms;
  for (group_t& group : groups_) group.next = NextMultiple(std::max(group.next, ms), group.periodMs);
  std::make_heap(groups_.begin(), groups_.end(), kLater);
}

void CLane::Run(const CReadingBatch& batch, std::int64_t untilMs) {
  std::size_t applied = 0;
  const auto applyUpTo = [&](std::int64_t ms) {
    for (; applied < batch.readings_.size() && batch.readings_[applied].ms <= ms; ++applied) {
      Apply(batch, batch.readings_[applied]);
    }
  };
  while (!groups_.empty() && groups_.front().next < untilMs) {
    std::pop_heap(groups_.begin(), groups_.end(), kLater);
    group_t& group = groups_.back();
    const std::int64_t ms = group.next;
    applyUpTo(ms);
    for (const std::uint32_t number : group.points) Poll(number, ms);
    group.next += group.periodMs;
    std::push_heap(groups_.begin(), groups_.end(), kLater);
  }
  for (; applied < batch.readings_.size(); ++applied) Apply(batch, batch.readings_[applied]);
  now_ = untilMs;
}

// Makes the raw value of what the register holds now. False when nothing has changed since the last time.
bool CLane::ReadRaw(point_t& point) {
  const register_t& source = registers_[point.registerNumber];
  if (source.version == point.seen) return false;
  point.seen = source.version;
  if (source.text.empty() && point.settings.dataType != DT_STRING) {
    point.rawQuality = quality_t::noAnswer;
    return true;
  }
  const auto verdict = readings::ParseRaw(source.text, point.settings.dataType, point.raw);
  point.rawQuality = verdict == readings::raw_verdict_t::taken ? quality_t::good : quality_t::badValue;
  return true;
}

void CLane::Poll(std::uint32_t number, std::int64_t ms) {
  point_t& point = points_[number];
  const bool isNew = ReadRaw(point);
  if (point.rawQuality == quality_t::unknown) return;
  ++updates_;
  ++point.counts.updates;
  if (point.rawQuality != quality_t::good) {
    ++(point.rawQuality == quality_t::noAnswer ? point.counts.dropouts : point.counts.failures);
    SetQuality(number, ms, point.rawQuality);
    return;
  }
  const bool isText = point.raw.vt == VT_BSTR;
  if (isText && !isNew && point.hasReported) return;  // a text is copied only when it is another

  CVariant value = point.raw;
  if (point.isScaled && (!point.settings.scaling.DoScaling(value) || std::isnan(value.GetAsDouble()))) {
    ++point.counts.failures;
    SetQuality(number, ms, quality_t::notScaled);
    return;
  }
  const bool isRepaired = point.quality != quality_t::good;
  if (isRepaired) SetQuality(number, ms, quality_t::good);
  tag_counts_t& counts = point.counts;
  if (!isText) {
    const double number64 = value.GetAsDouble();
    if (counts.updates == counts.dropouts + counts.failures + 1) counts.low = counts.high = number64;
    counts.low = std::min(counts.low, number64);
    counts.high = std::max(counts.high, number64);
    if (point.isWatched) {
      listener_.OnWatched(static_cast<int>(number), ms, quality_t::good, point.raw.GetAsDouble(), number64);
    }
  }
  if (point.hasReported && !isRepaired && !point.settings.deadband.DeadbandPassed(point.lastReported, value)) return;
  point.hasReported = true;
  ++counts.reported;
  listener_.OnReported(static_cast<int>(number), ms, value);
  point.lastReported = std::move(value);
}

void CLane::SetQuality(std::uint32_t number, std::int64_t ms, quality_t quality) {
  point_t& point = points_[number];
  const int tag = static_cast<int>(number);
  if (quality != quality_t::good && point.isWatched) {
    listener_.OnWatched(tag, ms, quality, point.rawQuality == quality_t::good ? point.raw.GetAsDouble() : std::nan(""),
                        std::nan(""));
  }
  const quality_t before = std::exchange(point.quality, quality);
  if (before != quality) listener_.OnQuality(tag, ms, before, quality, registers_[point.registerNumber].text);
}

}  // namespace gateway
