// Passes raw readings through the scaling and the deadband of their tags, and writes what is reported.
//
//   CReplay replay(tags, out, log, {.strict = true});
//   bool clean = replay.Run(reader, "plant_readings.csv");
//   PrintSummary(std::cerr, replay.GetStatistics());
//
// The readings are CSV with a header that names the columns time, tag and value, in any order; other columns are
// passed over. An empty value is a dropout. Written is "time,tag,value": the time as it stood there, the value as its
// type writes it. A tag's first good value is always reported, each later one when it passes the deadband against the
// last reported. Memory does not grow with the readings. One thread at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "examples/readings/csv_reader.h"
#include "examples/readings/output_buffer.h"
#include "examples/readings/plot.h"
#include "examples/readings/problem_log.h"
#include "examples/replay/tag_list.h"
#include "util/values/variant.h"

namespace replay {

using readings::COutputBuffer;
using readings::CPlot;

struct tag_statistics_t {
  const tag_t* tag = nullptr;
  std::uint64_t readings = 0;  ///< those whose value could not be read included
  std::uint64_t dropouts = 0;
  std::uint64_t failures = 0;          ///< raw values that do not fit the raw type, or could not be scaled
  std::uint64_t firstFailureLine = 0;  ///< 0 when there is none
  std::uint64_t good = 0;
  std::uint64_t reported = 0;
  double low = 0;  ///< of the good values, scaled; not set for text
  double high = 0;
};

struct replay_options_t {
  bool strict = false;                              ///< stop at the first bad line
  CPlot* plot = nullptr;                            ///< gets a panel per tag
  std::function<void(std::uint64_t)> onProgress{};  ///< called now and then with the readings done
};

class CReplay {
 public:
  /// All of these outlive the object.
  CReplay(const CTagList& tags, COutputBuffer& out, CProblemLog& log, replay_options_t options);

  /// Reads to the end, or in strict mode to the first bad line. False, with the reason reported, when there is no
  /// header with the three columns; then nothing is written. `fileName` stands in the messages.
  bool Run(CCsvReader& reader, std::string_view fileName);

  /// In the order of the tag list, without refused tags.
  std::vector<tag_statistics_t> GetStatistics() const;
  std::uint64_t GetReadings() const { return readings_; }

 private:
  struct state_t {
    tag_statistics_t statistics;
    CVariant lastReported;
    std::string csvName;  // as it is written
    int panel = -1;
  };

  bool ReadHeader();
  bool TakeRow();
  void TakeValue(state_t& state, std::string_view timeText, std::int64_t ms, CVariant& value);
  void Report(state_t& state, std::string_view timeText, std::int64_t ms, CVariant& value);
  void CountFailure(state_t& state, std::int64_t ms, double raw);
  template <class MakeText>
  bool Refuse(std::size_t field, MakeText makeText);

  const CTagList& tags_;
  COutputBuffer& out_;
  CProblemLog& log_;
  replay_options_t options_;
  std::vector<state_t> states_;
  std::uint64_t readings_ = 0;

  CCsvReader* reader_ = nullptr;
  std::string_view fileName_;
  std::size_t columns_ = 0;
  std::size_t timeField_ = 0, tagField_ = 0, valueField_ = 0;
  CString text_;  // reused, so that writing a number allocates once in a run
};

/// A line per tag, aligned, and one for all; `seconds` is how long it took.
void PrintSummary(std::ostream& out, const std::vector<tag_statistics_t>& tags, double seconds);

}  // namespace replay
