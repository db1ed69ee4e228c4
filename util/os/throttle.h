// How often something may happen: asked before each time, it answers yes once per interval.
//
//   auto log = zorutil::time_utils::CThrottle::MakeUnique(60'000);
//   if (!device.Poll() && log->Try()) Log("no answer");            // at once, then once a minute at most
//
// A value: a copy starts with the moment of the original and goes its own way; copying copies the clock function, and
// what that refers to must outlive both. One thread at a time.
#pragma once

#include <functional>
#include <memory>

#include "platform/export.h"
#include "platform/zorplatform/time_stamp.h"

namespace zorutil::time_utils {

class ZORUTIL_API CThrottle {
 public:
  /// Where the time comes from; called by Try and Reset on their thread.
  using clock_t = std::function<zorplatform::CTimeStamp()>;

  /// An empty clock is the system's UTC time, which may be set back or forward; give a clock of your own where that
  /// matters. The first Try succeeds. An interval of 0, or below, lets every Try succeed.
  explicit CThrottle(int intervalMs, clock_t clock = {});
  /// The same on the heap, with the system's clock.
  static std::unique_ptr<CThrottle> MakeUnique(int intervalMs);

  /// True when at least the interval has passed since the last time it was true, or since Reset. Otherwise false, and
  /// nothing is changed; so too while a clock that was set back has not caught up.
  bool Try();
  /// The next success comes one whole interval from now.
  void Reset() { last_ = Now(); }

 private:
  zorplatform::CTimeStamp Now() const { return clock_ ? clock_() : zorplatform::CTimeStamp(true); }

  int intervalMs_;
  clock_t clock_;
  zorplatform::CTimeStamp last_;
};

}  // namespace zorutil::time_utils
