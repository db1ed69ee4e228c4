// The gateway: a project at work. Runs every channel of a project on a thread of its own over one tree, feeds them from
// recorded readings, and lets the project be changed meanwhile.
//
//   CGateway gateway(project, settings, feed, changes, log, reported);
//   gateway.Run();
//   PrintSummary(std::cout, gateway.GetResult());
//
// Time is simulated and advances in slices: while the channels run through one, the changes that are due in it are made
// and the readings of the next are parsed. In real time a slice waits until its time has come. A stretch of ten minutes
// or more without any reading is left out. Channels come and go with the project. One thread makes and runs a gateway.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "examples/gateway/activity_picture.h"
#include "examples/gateway/change_script.h"
#include "examples/gateway/channel_runner.h"
#include "examples/gateway/reading_feed.h"
#include "examples/gateway/settings.h"
#include "examples/readings/plot.h"
#include "util/objects/table_obj.h"

namespace gateway {

struct memory_mark_t {
  std::uint64_t updates;
  std::uint64_t bytes;  ///< resident
};

struct result_t {
  std::vector<channel_summary_t> channels;  ///< in the order of the project, then those that are gone
  std::vector<tag_summary_t> tags;
  std::uint64_t updates = 0;
  std::uint64_t unrouted = 0;  ///< readings that no channel takes
  std::int64_t simulatedMs = 0;
  double seconds = 0;     ///< of the clock on the wall
  double cpuSeconds = 0;  ///< of all threads
  std::vector<memory_mark_t> memory;
};

/// Bytes that the process has in memory; 0 where that is not known.
std::uint64_t GetResidentBytes();

class CGateway {
 public:
  /// All of these outlive the gateway; so does the log, a line for each entry. `reported` and `picture` may be null.
  /// The feed is open. `plot` gets the watched tags.
  CGateway(CTableObj& project, const settings_t& settings, CReadingFeed& feed, CChangeScript& changes,
           std::ostream& log, std::ostream* reported, readings::CPlot& plot, CActivityPicture* picture,
           zorutil::properties::CDefinitionStore& definitions);

  void Run();
  result_t GetResult() const;
  /// Called after a slice, while no channel runs, with the updates made so far. It may change the settings' slice, log
  /// interval and language, and write to the log.
  void SetAfterSlice(std::function<void(std::uint64_t)> afterSlice) { afterSlice_ = std::move(afterSlice); }
  /// A line of the log, at the time that the plant has reached.
  void Log(std::string_view text);

 private:
  struct slice_t {
    std::int64_t fromMs;
    std::int64_t untilMs;
  };

  void SynchronizeChannels(std::int64_t startMs);
  slice_t SliceAfter(const slice_t& slice) const;
  void RunSlice(const slice_t& slice, const slice_t* next);
  void Collect(const slice_t& slice);
  int AddPanel(const std::string& path);
  void TakeWatched(const CChannelRunner& runner);
  void AddGone(channel_summary_t channel);
  void MarkMemory();
  std::uint64_t GetUpdates() const;
  std::vector<CReadingBatch*> GetNextBatches();

  CTableObj& project_;
  const settings_t& settings_;
  CReadingFeed& feed_;
  CChangeScript& changes_;
  std::ostream& log_;
  std::ostream* reported_;
  readings::CPlot& plot_;
  static constexpr int kNoPanel = -2;
  std::vector<int> panels_;  // by the number of the watched tag; kNoPanel until there is such a tag
  CActivityPicture* picture_;
  zorutil::properties::CDefinitionStore& definitions_;
  std::function<void(std::uint64_t)> afterSlice_;

  std::vector<std::unique_ptr<CChannelRunner>> runners_;
  std::uint32_t seen_ = 0;
  bool isSynchronized_ = false;
  std::vector<channel_summary_t> gone_;
  std::uint64_t goneUpdates_ = 0;
  std::int64_t startMs_ = 0;
  std::int64_t nowMs_ = 0;
  std::int64_t runMs_ = 0;  // without what was left out
  double seconds_ = 0;
  double cpuSeconds_ = 0;
  std::vector<memory_mark_t> memory_;
};

}  // namespace gateway
