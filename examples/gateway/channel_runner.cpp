#include "examples/gateway/channel_runner.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>
#include <utility>

#include "examples/readings/csv_reader.h"
#include "examples/readings/problem_log.h"
#include "examples/readings/reading.h"
#include "platform/zorplatform/utf8_string.h"
#include "util/objects/object_search.h"

namespace gateway {

using zorutil::object_lock_t;
using zorutil::ref_counted_obj_ptr;

CChannelRunner::CChannelRunner(ref_counted_obj_ptr channel, runner_options_t options, std::int64_t startMs)
    : channel_(std::move(channel)),
      options_(std::move(options)),
      lane_(*this, startMs),
      log_(options_.logIntervalMs),
      thread_([this] { Work(); }) {
  root_.object = channel_;
}

CChannelRunner::~CChannelRunner() {
  {
    const std::lock_guard guard(mutex_);
    isEnding_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

// --- the thread ---------------------------------------------------------------------------------------------------

void CChannelRunner::Go(std::int64_t fromMs, std::int64_t untilMs) {
  {
    const std::lock_guard guard(mutex_);
    fromMs_ = fromMs;
    untilMs_ = untilMs;
    next_ = 1 - next_;
    isRunning_ = true;
  }
  changed_.notify_all();
}

void CChannelRunner::Wait() {
  std::unique_lock guard(mutex_);
  changed_.wait(guard, [this] { return !isRunning_; });
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void CChannelRunner::SetLogInterval(int intervalMs) {
  if (intervalMs == options_.logIntervalMs) return;
  options_.logIntervalMs = intervalMs;
  log_.SetInterval(intervalMs);
}

void CChannelRunner::Work() {
  std::unique_lock guard(mutex_);
  for (;;) {
    changed_.wait(guard, [this] { return isRunning_ || isEnding_; });
    if (isEnding_) return;
    CReadingBatch& batch = batches_[1 - next_];
    guard.unlock();
    const auto start = std::chrono::steady_clock::now();
    std::exception_ptr failure;
    try {
      if (!root_.isRead || GetChannel().GetChangeCount() != root_.seen) Synchronize(root_, nullptr);
      for (device_activity_t& device : activity_) device.reported = 0;
      lane_.SkipTo(fromMs_);
      lane_.Run(batch, untilMs_);
    } catch (...) {
      failure = std::current_exception();
    }
    batch.Clear();
    busySeconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    guard.lock();
    failure_ = failure;
    isRunning_ = false;
    changed_.notify_all();
  }
}

// --- keeping step with the tree -----------------------------------------------------------------------------------

// Reads what the node itself says. True when that is something else than before, so that everything below reads anew.
bool CChannelRunner::ReadNode(node_t& node, const node_t* parent) {
  const object_lock_t lock(*node.object);
  std::string path = node.object->GetName().ToUtf8();
  std::string station;
  bool isCollected = true;
  if (parent != nullptr) {
    path = parent->path + "." + path;
    station = parent->station;
    isCollected = parent->isCollected;
  }
  switch (node.object->GetType()) {
    case kDevice: {
      const auto& device = static_cast<const CDevice&>(*node.object);
      station = std::to_string(device.GetStation());
      isCollected = isCollected && device.IsCollected();
      break;
    }
    case kTagGroup: isCollected = isCollected && static_cast<const CTagGroup&>(*node.object).IsCollected(); break;
    default: break;
  }
  const bool isOther = !node.isRead || path != node.path || station != node.station || isCollected != node.isCollected;
  node.isRead = true;
  node.path = std::move(path);
  node.station = std::move(station);
  node.isCollected = isCollected;
  return isOther;
}

void CChannelRunner::Synchronize(node_t& node, const node_t* parent) {
  // The count comes first: a change that comes between it and the reading is seen the next time.
  const std::uint32_t count = static_cast<const CConfigObj&>(*node.object).GetChangeCount();
  const bool isOther = ReadNode(node, parent);
  if (node.object->GetType() == kDevice) {
    if (node.device == kNoDevice) {
      node.device = activity_.size();
      activity_.emplace_back();
    }
    activity_[node.device].path = node.path;
  } else if (parent != nullptr) {
    node.device = parent->device;
  }
  SynchronizeNodes(node, isOther);
  SynchronizeTags(node, isOther);
  node.seen = count;
}

void CChannelRunner::SynchronizeNodes(node_t& node, bool isOther) {
  const short type = node.object->GetType() == kChannel ? kDevice : kTagGroup;
  std::unordered_map<const CTableObj*, std::size_t> known;
  for (std::size_t i = 0; i < node.nodes.size(); ++i) known.emplace(node.nodes[i].object.get(), i);
  std::vector<node_t> present;
  for (ref_counted_obj_ptr& child : zorutil::GetChildObjectsOf(*node.object, type)) {
    const auto found = known.find(child.get());
    if (found == known.end()) {
      present.emplace_back().object = std::move(child);
    } else {
      present.push_back(std::move(node.nodes[found->second]));
      known.erase(found);
    }
  }
  for (const auto& [object, index] : known) Drop(node.nodes[index]);
  node.nodes = std::move(present);
  for (node_t& child : node.nodes) {
    const auto& object = static_cast<const CConfigObj&>(*child.object);
    if (isOther || !child.isRead || object.GetChangeCount() != child.seen) Synchronize(child, &node);
  }
}

void CChannelRunner::SynchronizeTags(node_t& node, bool isOther) {
  if (node.object->GetType() == kChannel) return;
  std::unordered_map<const CTableObj*, std::size_t> known;
  for (std::size_t i = 0; i < node.tags.size(); ++i) known.emplace(node.tags[i].object.get(), i);
  std::vector<tag_t> present;
  for (ref_counted_obj_ptr& child : zorutil::GetChildObjectsOf(*node.object, kTag)) {
    const auto found = known.find(child.get());
    if (found == known.end()) {
      present.emplace_back().object = std::move(child);
    } else {
      present.push_back(std::move(node.tags[found->second]));
      known.erase(found);
    }
  }
  for (const auto& [object, index] : known) Drop(node.tags[index]);
  node.tags = std::move(present);
  for (tag_t& tag : node.tags) {
    const std::uint32_t count = static_cast<const CTag&>(*tag.object).GetChangeCount();
    if (!isOther && tag.number >= 0 && count == tag.seen) continue;
    tag.seen = count;
    ReadTag(node, tag);
  }
}

void CChannelRunner::ReadTag(const node_t& node, tag_t& tag) {
  const auto& object = static_cast<const CTag&>(*tag.object);
  tag_settings_t settings;
  {
    const object_lock_t lock(object);
    settings.path = node.path + "." + object.GetName().ToUtf8();
    settings.address = object.GetAddress().ToUtf8();
    settings.dataType = object.GetDataType();
    settings.scaling = object.GetScaling();
    settings.deadband = object.GetDeadband();
    settings.periodMs = std::max(object.GetScanRate().GetRateInMilliseconds(), 1u);
  }
  settings.station = node.station;
  settings.isCollected = node.isCollected;
  ++settingsRead_;
  if (tag.number < 0) {
    tag.number = lane_.AddTag(settings);
    if (places_.size() <= static_cast<std::size_t>(tag.number))
      places_.resize(static_cast<std::size_t>(tag.number) + 1);
    places_[static_cast<std::size_t>(tag.number)] = {};
    ++activity_[node.device].tags;
  } else {
    lane_.ChangeTag(tag.number, settings);
  }
  place_t& place = places_[static_cast<std::size_t>(tag.number)];
  place.device = node.device;
  const auto watched = std::find(options_.watched.begin(), options_.watched.end(), settings.path);
  if (watched == options_.watched.end()) return;
  place.watched = static_cast<std::size_t>(watched - options_.watched.begin());
  lane_.WatchTag(tag.number);
}

void CChannelRunner::Drop(node_t& node) {
  for (node_t& child : node.nodes) Drop(child);
  for (const tag_t& tag : node.tags) Drop(tag);
  node.nodes.clear();
  node.tags.clear();
}

void CChannelRunner::Drop(const tag_t& tag) {
  if (tag.number < 0) return;
  place_t& place = places_[static_cast<std::size_t>(tag.number)];
  device_activity_t& device = activity_[place.device];
  --device.tags;
  if (place.isFaulty) --device.faulty;
  place = {};
  const tag_counts_t counts = lane_.RemoveTag(tag.number);
  gone_.updates += counts.updates;
  gone_.reported += counts.reported;
  gone_.dropouts += counts.dropouts;
  gone_.failures += counts.failures;
}

// --- what the lane tells ------------------------------------------------------------------------------------------

void CChannelRunner::OnReported(int tag, std::int64_t ms, const CVariant& value) {
  const place_t& place = places_[static_cast<std::size_t>(tag)];
  ++activity_[place.device].reported;
  if (!watchedUpdates_.empty() && watchedUpdates_.back().watched == place.watched && watchedUpdates_.back().ms == ms) {
    watchedUpdates_.back().isReported = true;
  }
  if (!options_.writesReported) return;
  if (ms != timeTextMs_) {
    timeTextMs_ = ms;
    timeText_ = readings::TimeText(ms);
  }
  value.Format(valueText_, CVariant::FORMAT_NORMAL);
  reported_.append(timeText_).append(1, ',');
  readings::AppendCsvField(reported_, lane_.GetSettings(tag).path);
  reported_ += ',';
  readings::AppendCsvField(reported_, zorplatform::CUtf8String(valueText_).View());
  reported_ += '\n';
}

void CChannelRunner::OnQuality(int tag, std::int64_t ms, quality_t before, quality_t now,
                               std::string_view registerText) {
  place_t& place = places_[static_cast<std::size_t>(tag)];
  const bool isFaulty = now != quality_t::good;
  if (place.isFaulty != isFaulty) activity_[place.device].faulty += isFaulty ? 1 : -1;
  place.isFaulty = isFaulty;
  const tag_settings_t& settings = lane_.GetSettings(tag);
  switch (now) {
    case quality_t::good:
      if (before != quality_t::unknown) log_.Add(CChannelLog::GOOD_AGAIN, ms, settings.path, "good again");
      break;
    case quality_t::noAnswer: log_.Add(CChannelLog::NO_ANSWER, ms, settings.path, "no answer"); break;
    case quality_t::badValue:
      log_.Add(CChannelLog::BAD_VALUE, ms, settings.path,
               "register " + settings.station + "/" + settings.address + " holds " + readings::Quoted(registerText) +
                   ", expected " + readings::ExpectedRaw(settings.dataType));
      break;
    case quality_t::notScaled:
      log_.Add(CChannelLog::NOT_SCALED, ms, settings.path,
               "the scaling has no result for " + readings::Quoted(registerText));
      break;
    case quality_t::unknown: break;
  }
}

void CChannelRunner::OnWatched(int tag, std::int64_t ms, quality_t quality, double raw, double value) {
  watchedUpdates_.push_back({places_[static_cast<std::size_t>(tag)].watched, ms, quality, raw, value, false});
}

// --- what it did --------------------------------------------------------------------------------------------------

std::vector<device_activity_t> CChannelRunner::GetActivity() const {
  std::vector<device_activity_t> devices;
  std::copy_if(activity_.begin(), activity_.end(), std::back_inserter(devices),
               [](const device_activity_t& device) { return device.tags != 0; });
  return devices;
}

void CChannelRunner::Collect(const node_t& node, std::vector<tag_summary_t>& out) const {
  for (const tag_t& tag : node.tags) {
    out.push_back({lane_.GetSettings(tag.number).path, lane_.GetQuality(tag.number), lane_.GetCounts(tag.number)});
  }
  for (const node_t& child : node.nodes) Collect(child, out);
}

std::vector<tag_summary_t> CChannelRunner::GetTags() const {
  std::vector<tag_summary_t> tags;
  Collect(root_, tags);
  return tags;
}

channel_summary_t& channel_summary_t::operator+=(const channel_summary_t& other) {
  devices += other.devices;
  tags += other.tags;
  readings += other.readings;
  total.updates += other.total.updates;
  total.reported += other.total.reported;
  total.dropouts += other.total.dropouts;
  total.failures += other.total.failures;
  settingsRead += other.settingsRead;
  logEntries += other.logEntries;
  busySeconds += other.busySeconds;
  return *this;
}

channel_summary_t CChannelRunner::GetSummary() const {
  channel_summary_t summary;
  summary.name = root_.path;
  summary.devices = root_.nodes.size();
  summary.readings = lane_.GetReadings();
  summary.total = gone_;
  for (const tag_summary_t& tag : GetTags()) {
    ++summary.tags;
    summary.total.updates += tag.counts.updates;
    summary.total.reported += tag.counts.reported;
    summary.total.dropouts += tag.counts.dropouts;
    summary.total.failures += tag.counts.failures;
  }
  summary.settingsRead = settingsRead_;
  summary.logEntries = log_.GetCount();
  summary.busySeconds = busySeconds_;
  return summary;
}

}  // namespace gateway
