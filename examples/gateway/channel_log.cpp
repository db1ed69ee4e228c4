#include "examples/gateway/channel_log.h"

#include <utility>

#include "examples/readings/reading.h"

namespace gateway {

CChannelLog::entry_t CChannelLog::Make(int intervalMs) {
  return {
      zorutil::time_utils::CThrottle(intervalMs, [this] { return zorplatform::CTimeStamp::FromMilliseconds(nowMs_); }),
      0};
}

CChannelLog::CChannelLog(int intervalMs)
    : entries_{Make(intervalMs), Make(intervalMs), Make(intervalMs), Make(intervalMs)} {}

void CChannelLog::Add(kind_t kind, std::int64_t ms, std::string_view path, std::string_view text) {
  nowMs_ = ms;
  ++count_;
  entry_t& entry = entries_[kind];
  if (!entry.throttle.Try()) {
    ++entry.leftOut;
    return;
  }
  text_.append(readings::TimeText(ms)).append("  ").append(path).append(": ").append(text);
  if (entry.leftOut != 0) text_.append(" (and ").append(std::to_string(entry.leftOut)).append(" more before)");
  text_ += '\n';
  entry.leftOut = 0;
}

void CChannelLog::SetInterval(int intervalMs) {
  for (entry_t& entry : entries_) entry.throttle = Make(intervalMs).throttle;
}

std::string CChannelLog::Take() { return std::exchange(text_, {}); }

}  // namespace gateway
