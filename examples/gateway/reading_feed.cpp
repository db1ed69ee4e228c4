#include "examples/gateway/reading_feed.h"

#include <algorithm>
#include <utility>

#include "examples/readings/reading.h"

namespace gateway {

using readings::Quoted;
using readings::Trimmed;

CReadingFeed::CReadingFeed(std::string name, open_t open, readings::CProblemLog& log)
    : name_(std::move(name)), open_(std::move(open)), log_(log) {}

bool CReadingFeed::Open() {
  source_ = open_();
  reader_ = std::make_unique<readings::CCsvReader>(*source_);
  if (!ReadHeader()) return false;
  if (!NextRow()) {
    log_.Add(name_ + ": no reading");
    return false;
  }
  if (pass_ == 0) firstMs_ = ms_;
  isAtEnd_ = false;
  return true;
}

bool CReadingFeed::ReadHeader() {
  constexpr std::string_view kNames[] = {"time", "station", "address", "value"};
  if (!reader_->Next()) {
    log_.Add(name_ + ": empty");
    return false;
  }
  if (const auto* problem = reader_->GetProblem(); problem != nullptr) {
    log_.Add(name_, problem->at, problem->text);
    return false;
  }
  const auto heads = reader_->GetFields();
  columns_ = heads.size();
  for (std::size_t i = 0; i < COLUMNS; ++i) {
    const auto found =
        std::find_if(heads.begin(), heads.end(), [&](std::string_view head) { return Trimmed(head) == kNames[i]; });
    if (found == heads.end()) {
      log_.Add(name_, {reader_->GetLine(), 1},
               "no column '" + std::string(kNames[i]) + "': expected a header line with time, station, address, value");
      return false;
    }
    fields_[i] = static_cast<std::size_t>(found - heads.begin());
  }
  return true;
}

// Goes on to the next good row. False at the end of the file.
bool CReadingFeed::NextRow() {
  while (reader_->Next()) {
    if (ParseRow()) {
      ++readings_;
      lastMs_ = std::max(lastMs_, ms_);
      return true;
    }
  }
  return false;
}

bool CReadingFeed::ParseRow() {
  const auto refuse = [this](readings::text_position_t at, const std::string& text) {
    if (pass_ == 0) log_.Add(name_, at, text);
    return false;
  };
  if (const auto* problem = reader_->GetProblem(); problem != nullptr) return refuse(problem->at, problem->text);
  const auto fields = reader_->GetFields();
  if (fields.size() != columns_) {
    return refuse(reader_->GetPosition(0), std::to_string(fields.size()) + " fields: expected " +
                                               std::to_string(columns_) + ", as in the header");
  }
  std::int64_t ms = 0;
  const std::string_view time = Trimmed(fields[fields_[TIME]]);
  if (!readings::ParseTime(time, ms)) {
    return refuse(reader_->GetPosition(fields_[TIME]),
                  "time " + Quoted(time) + ": expected such as 2026-03-12T05:00:00.000");
  }
  const std::string_view station = Trimmed(fields[fields_[STATION]]);
  const std::size_t slash = station.rfind('/');
  if (slash == std::string_view::npos) {
    return refuse(reader_->GetPosition(fields_[STATION]),
                  "station " + Quoted(station) + ": expected such as 10.1.1.20:502/3");
  }
  ms_ = ms + offsetMs_;
  channelAddress_ = station.substr(0, slash);
  station_ = station.substr(slash + 1);
  address_ = Trimmed(fields[fields_[ADDRESS]]);
  value_ = Trimmed(fields[fields_[VALUE]]);
  return true;
}

void CReadingFeed::SetRoutes(const std::vector<route_t>& routes) {
  routes_.clear();
  for (const route_t& route : routes) routes_[route.channelAddress].push_back(route.lane);
}

void CReadingFeed::Take(std::int64_t untilMs, std::span<CReadingBatch* const> lanes) {
  for (; !isAtEnd_ && ms_ < untilMs; Advance()) {
    const auto route = routes_.find(channelAddress_);
    if (route == routes_.end()) {
      ++unrouted_;
      continue;
    }
    for (const std::size_t lane : route->second) lanes[lane]->Add(ms_, station_, address_, value_);
  }
}

// To the next reading, of the next pass when this one is over.
void CReadingFeed::Advance() {
  if (NextRow()) return;
  isAtEnd_ = true;
  ms_ = lastMs_;
  ++pass_;
  if (passes_ != 0 && pass_ >= passes_) return;
  // One second is what lies between the last reading of a pass and the first of the next.
  offsetMs_ = lastMs_ + 1000 - firstMs_;
  Open();
}

}  // namespace gateway
