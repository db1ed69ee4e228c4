#include "util/os/throttle.h"

#include <cstdint>
#include <utility>

namespace zorutil::time_utils {

using zorplatform::CTimeStamp;

CThrottle::CThrottle(int intervalMs, clock_t clock) : intervalMs_(intervalMs), clock_(std::move(clock)), last_(Now()) {
  last_.IncMS(-std::int64_t{intervalMs});  // the smallest int has no negative of its own width
}

std::unique_ptr<CThrottle> CThrottle::MakeUnique(int intervalMs) { return std::make_unique<CThrottle>(intervalMs); }

bool CThrottle::Try() {
  const CTimeStamp now = Now();
  if (now.DiffMS(last_) < intervalMs_) return false;
  last_ = now;
  return true;
}

}  // namespace zorutil::time_utils
