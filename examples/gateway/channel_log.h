// What a channel says while it runs: faults of its tags and that they are gone, limited so that a device that fails a
// thousand times does not fill the log.
//
//   CChannelLog log(60'000);
//   log.Add(CChannelLog::NO_ANSWER, ms, "Boiler 1.Drum.FT101", "no answer");
//   out << log.Take();      // "2026-03-12 05:21:00.500  Boiler 1.Drum.FT101: no answer (and 14 more before)"
//
// Each kind of entry is written at once, then at most once an interval of the time that is simulated; what was left out
// is counted and told with the next entry of its kind. One thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "util/os/throttle.h"

namespace gateway {

class CChannelLog {
 public:
  enum kind_t { NO_ANSWER, BAD_VALUE, NOT_SCALED, GOOD_AGAIN, KINDS };

  explicit CChannelLog(int intervalMs);
  CChannelLog(const CChannelLog&) = delete;
  CChannelLog& operator=(const CChannelLog&) = delete;

  /// `ms` is since 1970, UTC.
  void Add(kind_t kind, std::int64_t ms, std::string_view path, std::string_view text);
  /// The next entry of each kind is written at once, as the first one is.
  void SetInterval(int intervalMs);
  /// What was written since the last time.
  std::string Take();
  /// Of all entries, those included that were left out.
  std::uint64_t GetCount() const { return count_; }

 private:
  struct entry_t {
    zorutil::time_utils::CThrottle throttle;
    std::uint64_t leftOut = 0;
  };
  entry_t Make(int intervalMs);

  std::int64_t nowMs_ = 0;  // what the throttles' clock says
  entry_t entries_[KINDS];
  std::uint64_t count_ = 0;
  std::string text_;
};

}  // namespace gateway
