// A channel of the project at work: it keeps a lane in step with the channel's devices, groups and tags, on a thread of
// its own.
//
//   CChannelRunner runner(channel, options, startMs);
//   runner.GetNextBatch().Add(...);                        // readings of the first slice of time
//   runner.Go(fromMs, untilMs);                            // the thread runs; here, prepare the next batch
//   runner.Wait();
//   out << runner.TakeLog();
//
// The runner holds references on all objects that it runs, so that anybody may change, rename and delete them
// meanwhile. At the beginning of each slice it looks whether the channel's change count is another one, and then reads
// what changed, each object under its lock. Objects that are gone from their tables are let go.
//
// One thread, which makes and destroys it, calls everything; between Go and Wait only GetNextBatch and IsGone.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "examples/gateway/channel_log.h"
#include "examples/gateway/lane.h"
#include "examples/gateway/types/object_types.h"
#include "util/objects/object_ref.h"

namespace gateway {

struct runner_options_t {
  bool writesReported = false;
  int logIntervalMs = 60'000;
  std::vector<std::string> watched;  ///< paths below the project
};

/// An update of a watched tag.
struct watched_update_t {
  std::size_t watched;  ///< into runner_options_t::watched
  std::int64_t ms;
  quality_t quality;
  double raw;
  double value;
  bool isReported;
};

/// What a device did, for pictures of the whole plant.
struct device_activity_t {
  std::string path;
  std::uint64_t reported = 0;  ///< in the last slice
  int tags = 0;
  int faulty = 0;  ///< tags without a good value at the end of it
};

struct tag_summary_t {
  std::string path;
  quality_t quality;
  tag_counts_t counts;
};

struct channel_summary_t {
  std::string name;
  std::size_t devices = 0;
  std::size_t tags = 0;
  std::uint64_t readings = 0;
  tag_counts_t total;              ///< of all its tags, those included that are gone
  std::uint64_t settingsRead = 0;  ///< how often a tag's settings were read
  std::uint64_t logEntries = 0;
  double busySeconds = 0;  ///< that its thread was at work

  /// Another channel's, under this name.
  channel_summary_t& operator+=(const channel_summary_t& other);
};

class CChannelRunner : private ILaneListener {
 public:
  CChannelRunner(zorutil::ref_counted_obj_ptr channel, runner_options_t options, std::int64_t startMs);
  CChannelRunner(const CChannelRunner&) = delete;
  CChannelRunner& operator=(const CChannelRunner&) = delete;
  ~CChannelRunner() override;

  const CChannel& GetChannel() const { return static_cast<const CChannel&>(*channel_.get()); }
  /// Readings for the slice after the one that is running.
  CReadingBatch& GetNextBatch() { return batches_[next_]; }

  /// `fromMs` is the end of the slice before, or later.
  void Go(std::int64_t fromMs, std::int64_t untilMs);
  /// What the thread threw comes out here.
  void Wait();

  void SetLogInterval(int intervalMs);
  std::string TakeLog() { return log_.Take(); }
  /// Lines of time, path, value.
  const std::string& GetReported() const { return reported_; }
  void ClearReported() { reported_.clear(); }
  const std::vector<watched_update_t>& GetWatched() const { return watchedUpdates_; }
  void ClearWatched() { watchedUpdates_.clear(); }
  /// Of the last slice.
  std::vector<device_activity_t> GetActivity() const;

  std::uint64_t GetUpdates() const { return lane_.GetUpdates(); }
  channel_summary_t GetSummary() const;
  /// In the order of the tree.
  std::vector<tag_summary_t> GetTags() const;

 private:
  static constexpr std::size_t kNoDevice = static_cast<std::size_t>(-1);
  static constexpr std::size_t kNotWatched = static_cast<std::size_t>(-1);
  struct tag_t {
    zorutil::ref_counted_obj_ptr object;
    std::uint32_t seen = 0;
    int number = -1;  // in the lane
  };
  /// A channel, device or group.
  struct node_t {
    zorutil::ref_counted_obj_ptr object;
    std::uint32_t seen = 0;
    bool isRead = false;
    std::string path;
    std::string station;
    bool isCollected = true;
    std::size_t device = kNoDevice;  // into activity_
    std::vector<node_t> nodes;
    std::vector<tag_t> tags;
  };
  /// What the lane's tag belongs to.
  struct place_t {
    std::size_t device = 0;
    std::size_t watched = kNotWatched;
    bool isFaulty = false;
  };

  void Work();
  void Synchronize(node_t& node, const node_t* parent);
  bool ReadNode(node_t& node, const node_t* parent);
  void SynchronizeNodes(node_t& node, bool isOther);
  void SynchronizeTags(node_t& node, bool isOther);
  void ReadTag(const node_t& node, tag_t& tag);
  void Drop(node_t& node);
  void Drop(const tag_t& tag);
  void Collect(const node_t& node, std::vector<tag_summary_t>& out) const;

  void OnReported(int tag, std::int64_t ms, const CVariant& value) override;
  void OnQuality(int tag, std::int64_t ms, quality_t before, quality_t now, std::string_view registerText) override;
  void OnWatched(int tag, std::int64_t ms, quality_t quality, double raw, double value) override;

  zorutil::ref_counted_obj_ptr channel_;
  runner_options_t options_;
  CLane lane_;
  CChannelLog log_;
  node_t root_;
  std::vector<place_t> places_;  // by the lane's numbers
  std::vector<device_activity_t> activity_;
  tag_counts_t gone_;
  std::uint64_t settingsRead_ = 0;
  double busySeconds_ = 0;

  std::string reported_;
  std::int64_t timeTextMs_ = -1;
  std::string timeText_;
  CString valueText_;
  std::vector<watched_update_t> watchedUpdates_;

  CReadingBatch batches_[2];
  int next_ = 0;

  std::mutex mutex_;
  std::condition_variable changed_;
  bool isRunning_ = false;
  bool isEnding_ = false;
  std::int64_t fromMs_ = 0;
  std::int64_t untilMs_ = 0;
  std::exception_ptr failure_;
  std::thread thread_;
};

}  // namespace gateway
