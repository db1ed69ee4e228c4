#include "examples/gateway/gateway.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <thread>
#include <unordered_map>
#include <utility>

#include "examples/readings/reading.h"
#include "util/objects/object_search.h"

#if defined(__unix__)
#include <unistd.h>
#endif

namespace gateway {

using zorutil::object_lock_t;

std::uint64_t GetResidentBytes() {
#if defined(__linux__)
  std::ifstream statm("/proc/self/statm");
  std::uint64_t total = 0, resident = 0;
  if (statm >> total >> resident) return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
#endif
  return 0;
}

CGateway::CGateway(CTableObj& project, const settings_t& settings, CReadingFeed& feed, CChangeScript& changes,
                   std::ostream& log, std::ostream* reported, readings::CPlot& plot, CActivityPicture* picture,
                   zorutil::properties::CDefinitionStore& definitions)
    : project_(project),
      settings_(settings),
      feed_(feed),
      changes_(changes),
      log_(log),
      reported_(reported),
      plot_(plot),
      picture_(picture),
      definitions_(definitions) {
  for (const std::string& path : settings.watched) {
    const bool isThere = bool{project.FindObject(CString(path), kTag, -1)};
    if (!isThere) log_ << path << ": there is no such tag to watch, or not yet\n";
    panels_.push_back(isThere ? AddPanel(path) : kNoPanel);
  }
}

int CGateway::AddPanel(const std::string& path) {
  readings::plot_panel_t panel{path, {}, {}};
  if (const auto tag = project_.FindObject(CString(path), kTag, -1)) {
    const object_lock_t lock(*tag);
    panel.unit = static_cast<const CTag&>(*tag).GetScaling().GetUnits().ToUtf8();
    panel.rawType = CString(CDataType::TextFromType(static_cast<const CTag&>(*tag).GetDataType())).ToUtf8();
  }
  return plot_.AddPanel(std::move(panel));
}

void CGateway::Run() {
  startMs_ = feed_.GetTime() - feed_.GetTime() % 1000;
  const auto startedAt = std::chrono::steady_clock::now();
  const std::clock_t cpuStart = std::clock();
  if (reported_ != nullptr) *reported_ << "time,path,value\n";
  SynchronizeChannels(startMs_);
  slice_t slice{startMs_, startMs_ + settings_.sliceMs};
  feed_.Take(slice.untilMs, GetNextBatches());
  for (bool isLast = false; !isLast;) {
    // The readings of this slice are with the runners; without further ones it is the last.
    isLast = feed_.IsAtEnd() || (settings_.updates != 0 && GetUpdates() >= settings_.updates);
    const slice_t next = SliceAfter(slice);
    RunSlice(slice, isLast ? nullptr : &next);
    slice = next;
    MarkMemory();
    if (afterSlice_) {
      afterSlice_(GetUpdates());
      for (const auto& runner : runners_) runner->SetLogInterval(settings_.logIntervalMs);
    }
    if (settings_.isRealTime) std::this_thread::sleep_until(startedAt + std::chrono::milliseconds(runMs_));
  }
  seconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - startedAt).count();
  cpuSeconds_ = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
}

// The one that follows at once, unless there is nothing to read for long: one wrong date must not cost centuries.
CGateway::slice_t CGateway::SliceAfter(const slice_t& slice) const {
  constexpr std::int64_t kLongestGapMs = 10 * 60'000;
  std::int64_t fromMs = slice.untilMs;
  if (feed_.GetTime() - fromMs >= kLongestGapMs) fromMs = feed_.GetTime() - feed_.GetTime() % 1000;
  return {fromMs, fromMs + settings_.sliceMs};
}

void CGateway::RunSlice(const slice_t& slice, const slice_t* next) {
  for (const auto& runner : runners_) runner->Go(slice.fromMs, slice.untilMs);
  std::exception_ptr failure;
  try {
    for (const change_report_t& change :
         changes_.ApplyDue(project_, slice.untilMs - startMs_, settings_.languageId, definitions_)) {
      log_ << readings::TimeText(startMs_ + change.atMs) << "  " << change.text << '\n';
    }
    if (next != nullptr) feed_.Take(next->untilMs, GetNextBatches());
  } catch (...) {
    failure = std::current_exception();
  }
  for (const auto& runner : runners_) {
    try {
      runner->Wait();
    } catch (...) {
      failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
  Collect(slice);
  nowMs_ = slice.untilMs;
  runMs_ += slice.untilMs - slice.fromMs;
  if (next != nullptr) SynchronizeChannels(next->fromMs);
}

void CGateway::Log(std::string_view text) { log_ << readings::TimeText(nowMs_) << "  " << text << '\n'; }

void CGateway::Collect(const slice_t& slice) {
  for (const auto& runner : runners_) {
    log_ << runner->TakeLog();
    if (reported_ != nullptr) {
      *reported_ << runner->GetReported();
      runner->ClearReported();
    }
    TakeWatched(*runner);
    runner->ClearWatched();
    if (picture_ == nullptr) continue;
    for (const device_activity_t& device : runner->GetActivity()) {
      picture_->Add(device.path, slice.fromMs - startMs_, device.reported,
                    static_cast<double>(device.faulty) / device.tags);
    }
  }
}

void CGateway::TakeWatched(const CChannelRunner& runner) {
  for (const watched_update_t& update : runner.GetWatched()) {
    int& panel = panels_[update.watched];
    if (panel == kNoPanel) panel = AddPanel(settings_.watched[update.watched]);
    switch (update.quality) {
      case quality_t::good: plot_.AddValue(panel, update.ms, update.raw, update.value); break;
      case quality_t::noAnswer: plot_.AddDropout(panel, update.ms); break;
      default: plot_.AddFailure(panel, update.ms, update.raw); break;
    }
    if (update.isReported) plot_.AddReported(panel, update.ms, update.value);
  }
}

// Brings the runners in step with the channels of the project, and the feed with their addresses.
void CGateway::SynchronizeChannels(std::int64_t startMs) {
  const std::uint32_t count = static_cast<const CConfigObj&>(project_).GetChangeCount();
  if (isSynchronized_ && count == seen_) return;
  seen_ = count;
  isSynchronized_ = true;
  std::unordered_map<const CTableObj*, std::unique_ptr<CChannelRunner>> known;
  for (auto& runner : runners_) {
    const CTableObj* const channel = &runner->GetChannel();
    known.emplace(channel, std::move(runner));
  }
  runners_.clear();
  for (auto& channel : zorutil::GetChildObjectsOf(project_, kChannel)) {
    const auto found = known.find(channel.get());
    if (found != known.end()) {
      runners_.push_back(std::move(found->second));
      known.erase(found);
      continue;
    }
    runner_options_t options{reported_ != nullptr, settings_.logIntervalMs, settings_.watched};
    runners_.push_back(std::make_unique<CChannelRunner>(std::move(channel), std::move(options), startMs));
  }
  for (const auto& [channel, runner] : known) {
    AddGone(runner->GetSummary());
    goneUpdates_ += runner->GetUpdates();
  }
  std::vector<CReadingFeed::route_t> routes;
  for (std::size_t i = 0; i < runners_.size(); ++i) {
    const object_lock_t lock(runners_[i]->GetChannel());
    routes.push_back({runners_[i]->GetChannel().GetLineAddress().ToUtf8(), i});
  }
  feed_.SetRoutes(routes);
}

// Of channels that come and go for years only some are told by name.
void CGateway::AddGone(channel_summary_t channel) {
  constexpr std::size_t kMostNamed = 16;
  if (gone_.size() <= kMostNamed) {
    if (gone_.size() == kMostNamed) channel.name = "(others that went)";
    gone_.push_back(std::move(channel));
  } else {
    gone_.back() += channel;
  }
}

// Memory at a tenth, at half and at the whole of the updates that were asked for.
void CGateway::MarkMemory() {
  constexpr std::uint64_t kTenths[] = {1, 5, 10};
  if (settings_.updates == 0 || memory_.size() == std::size(kTenths)) return;
  const std::uint64_t updates = GetUpdates();
  if (updates >= settings_.updates / 10 * kTenths[memory_.size()]) memory_.push_back({updates, GetResidentBytes()});
}

std::uint64_t CGateway::GetUpdates() const {
  std::uint64_t updates = goneUpdates_;
  for (const auto& runner : runners_) updates += runner->GetUpdates();
  return updates;
}

std::vector<CReadingBatch*> CGateway::GetNextBatches() {
  std::vector<CReadingBatch*> batches;
  for (const auto& runner : runners_) batches.push_back(&runner->GetNextBatch());
  return batches;
}

result_t CGateway::GetResult() const {
  result_t result;
  for (const auto& runner : runners_) {
    result.channels.push_back(runner->GetSummary());
    for (tag_summary_t& tag : runner->GetTags()) result.tags.push_back(std::move(tag));
  }
  result.channels.insert(result.channels.end(), gone_.begin(), gone_.end());
  result.updates = GetUpdates();
  result.unrouted = feed_.GetUnrouted();
  result.simulatedMs = runMs_;
  result.seconds = seconds_;
  result.cpuSeconds = cpuSeconds_;
  result.memory = memory_;
  return result;
}

}  // namespace gateway
