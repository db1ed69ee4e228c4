// What runs the tags of one channel: the registers of its devices, and the tags that are polled from them.
//
//   CLane lane(listener, startMs);
//   int tag = lane.AddTag(settings);                       // "3/40001" every 500 ms, scaled, with a deadband
//   batch.Add(ms, "3", "40001", "13824");
//   lane.Run(batch, startMs + 10'000);                     // polls whatever is due before then
//   lane.GetCounts(tag).reported;
//
// Time is simulated: a lane knows only the times that it is given, in milliseconds since 1970, UTC. A tag is polled at
// every multiple of its period. Each poll is an update: the register's value as the tag's data type, scaled, and
// reported when it passes the deadband against the value last reported, or is the first good one, the first after a
// fault included. A register keeps its value until the next reading; one that no reading named has none, and polling it
// counts nowhere. Nothing is allocated for an update unless its value is a text that has changed.
//
// A lane knows no configuration objects and no threads; one thread at a time uses it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "util/tagproc/deadband.h"
#include "util/tagproc/scaling.h"
#include "util/values/data_type.h"
#include "util/values/variant.h"

namespace gateway {

/// What a tag's configuration says, copied out of it.
struct tag_settings_t {
  std::string path;     ///< as it stands in messages
  std::string station;  ///< of the device, "3"
  std::string address;  ///< of the register, "40001"
  DATATYPE dataType = DT_DOUBLE;
  CScaling scaling;
  CDeadband deadband;
  std::uint32_t periodMs = 100;  ///< not 0
  bool isCollected = true;       ///< false: the tag is not polled

  bool operator==(const tag_settings_t&) const = default;
};

enum class quality_t : std::uint8_t {
  unknown,    ///< no reading yet
  good,       //
  noAnswer,   ///< the device did not answer
  badValue,   ///< the register does not hold what the data type says
  notScaled,  ///< the scaling has no result for the value
};

struct tag_counts_t {
  std::uint64_t updates = 0;  ///< polls of a register with a value or without an answer
  std::uint64_t reported = 0;
  std::uint64_t dropouts = 0;  ///< updates without an answer
  std::uint64_t failures = 0;  ///< updates whose value was bad or not scaled
  double low = 0;              ///< of the good values; set from the first one on
  double high = 0;
};

/// Readings on their way into a lane. Reused, it stops allocating.
class CReadingBatch {
 public:
  /// An empty value is a device that does not answer. In the order of time.
  void Add(std::int64_t ms, std::string_view station, std::string_view address, std::string_view value);
  void Clear();
  std::size_t GetCount() const { return readings_.size(); }

 private:
  friend class CLane;
  struct reading_t {
    std::int64_t ms;
    std::size_t begin;  // of the key in text_; the value stands behind it
    std::uint32_t keySize;
    std::uint32_t valueSize;
  };
  std::vector<reading_t> readings_;
  std::string text_;
};

/// Hears what happens in a lane, on the thread that runs it. It does not add, change or remove tags. What it throws
/// passes through Run.
class ILaneListener {
 public:
  virtual ~ILaneListener() = default;
  virtual void OnReported(int tag, std::int64_t ms, const CVariant& value) = 0;
  /// `registerText` is what the register holds.
  virtual void OnQuality(int tag, std::int64_t ms, quality_t before, quality_t now, std::string_view registerText) = 0;
  /// Every update of a tag that is watched: a good one, or one without a value.
  virtual void OnWatched(int tag, std::int64_t ms, quality_t quality, double raw, double value) = 0;
};

class CLane {
 public:
  /// The listener outlives the lane. No tag is polled before `startMs`.
  CLane(ILaneListener& listener, std::int64_t startMs) : listener_(listener), now_(startMs) {}
  CLane(const CLane&) = delete;
  CLane& operator=(const CLane&) = delete;

  /// The number of the tag; those of removed tags are given again.
  int AddTag(const tag_settings_t& settings);
  /// The counts go on, and the next good value is reported. Nothing happens when the settings are the same; another
  /// path alone changes nothing but the path.
  void ChangeTag(int tag, const tag_settings_t& settings);
  /// Returns what it had counted.
  tag_counts_t RemoveTag(int tag);
  /// From now on OnWatched hears of it, unless its values are texts.
  void WatchTag(int tag) { points_[static_cast<std::size_t>(tag)].isWatched = true; }

  /// Time jumps to `ms`, without a poll. Nothing happens when it is there already.
  void SkipTo(std::int64_t ms);
  /// Polls what is due from the last end of Run to before `untilMs`, each poll seeing the readings up to its time.
  void Run(const CReadingBatch& batch, std::int64_t untilMs);

  const tag_settings_t& GetSettings(int tag) const { return points_[static_cast<std::size_t>(tag)].settings; }
  const tag_counts_t& GetCounts(int tag) const { return points_[static_cast<std::size_t>(tag)].counts; }
  quality_t GetQuality(int tag) const { return points_[static_cast<std::size_t>(tag)].quality; }
  std::uint64_t GetReadings() const { return readings_; }
  /// Updates of all tags, removed ones included.
  std::uint64_t GetUpdates() const { return updates_; }

 private:
  struct register_t {
    std::string text;           // capacity stays, so that a new text rarely allocates
    std::uint32_t version = 0;  // counts readings, from 1 on
  };
  struct point_t {
    std::uint32_t registerNumber = 0;
    std::uint32_t seen = 0;  // the version that `raw` was made of
    quality_t quality = quality_t::unknown;
    quality_t rawQuality = quality_t::unknown;
    bool isScaled = false;
    bool hasReported = false;
    bool isWatched = false;
    std::size_t place = 0;  // in its group
    CVariant raw;
    CVariant lastReported;
    tag_counts_t counts;
    tag_settings_t settings;
  };
  /// The tags of one period.
  struct group_t {
    std::uint32_t periodMs;
    std::int64_t next;
    std::vector<std::uint32_t> points;
  };
  struct hash_t : std::hash<std::string_view> {
    using is_transparent = void;
  };

  std::uint32_t RegisterOf(std::string_view key);
  void Apply(const CReadingBatch& batch, const CReadingBatch::reading_t& reading);
  void Poll(std::uint32_t number, std::int64_t ms);
  bool ReadRaw(point_t& point);
  void SetQuality(std::uint32_t number, std::int64_t ms, quality_t quality);
  void Configure(std::uint32_t number, const tag_settings_t& settings);
  std::vector<group_t>::iterator GroupOf(std::uint32_t periodMs);
  void Join(std::uint32_t number);
  void Leave(std::uint32_t number);

  ILaneListener& listener_;
  std::int64_t now_;
  std::vector<point_t> points_;
  std::vector<std::uint32_t> free_;
  std::vector<group_t> groups_;  // a heap, the one that is due first in front
  std::vector<register_t> registers_;
  std::unordered_map<std::string, std::uint32_t, hash_t, std::equal_to<>> registerNumbers_;
  std::uint64_t readings_ = 0;
  std::uint64_t updates_ = 0;
};

}  // namespace gateway
