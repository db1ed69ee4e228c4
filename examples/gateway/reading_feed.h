// Recorded readings, given out to the lanes that they are for, one stretch of time after the other.
//
//   CReadingFeed feed("readings.csv", [] { return std::make_unique<readings::CFileSource>("readings.csv"); }, log);
//   if (!feed.Open()) return;                                 // no header, or no reading
//   feed.SetRoutes({{"10.1.1.20:502", 0}, {"serial 1", 1}});
//   while (!feed.IsAtEnd()) feed.Take(untilMs, batches);      // fills batches[0] and batches[1]
//
// CSV with a header that names the columns time, station, address and value, in any order; other columns are passed
// over. A station is the channel's address and the device's number: "10.1.1.20:502/3". An empty value is a device that
// does not answer. The readings stand in the order of time; one out of order is taken when it is met. A bad line is
// reported with its place, in the first pass, and skipped.
//
// Passes: at its end the file is read again, later by the time that it covers. Memory does not grow with the readings.
// One thread at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "examples/gateway/lane.h"
#include "examples/readings/csv_reader.h"
#include "examples/readings/problem_log.h"

namespace gateway {

class CReadingFeed {
 public:
  using open_t = std::function<std::unique_ptr<readings::CByteSource>()>;
  struct route_t {
    std::string channelAddress;  ///< several lanes may have one
    std::size_t lane;
  };

  /// `name` stands in messages; `open` makes the source anew for each pass. The log outlives the feed.
  CReadingFeed(std::string name, open_t open, readings::CProblemLog& log);

  /// Goes to the first reading. False, with the reason reported, when there is none.
  bool Open();
  void SetRoutes(const std::vector<route_t>& routes);
  /// How often the file is read, 1 until this is called; 0 without end.
  void SetPasses(std::uint64_t passes) { passes_ = passes; }

  /// Adds the readings before `untilMs` to the batches of their lanes.
  void Take(std::int64_t untilMs, std::span<CReadingBatch* const> lanes);

  /// The time of the next reading; behind the end that of the last one.
  std::int64_t GetTime() const { return ms_; }
  bool IsAtEnd() const { return isAtEnd_; }
  std::uint64_t GetReadings() const { return readings_; }
  /// Readings for an address that no channel has.
  std::uint64_t GetUnrouted() const { return unrouted_; }

 private:
  struct hash_t : std::hash<std::string_view> {
    using is_transparent = void;
  };
  enum column_t { TIME, STATION, ADDRESS, VALUE, COLUMNS };

  bool ReadHeader();
  bool NextRow();
  bool ParseRow();
  void Advance();

  std::string name_;
  open_t open_;
  readings::CProblemLog& log_;
  std::unique_ptr<readings::CByteSource> source_;
  std::unique_ptr<readings::CCsvReader> reader_;
  std::unordered_map<std::string, std::vector<std::size_t>, hash_t, std::equal_to<>> routes_;

  std::size_t fields_[COLUMNS] = {};
  std::size_t columns_ = 0;
  std::uint64_t passes_ = 1;
  std::uint64_t pass_ = 0;
  std::int64_t firstMs_ = 0, lastMs_ = 0, offsetMs_ = 0;  // of the file, and what is added to it in this pass
  bool isAtEnd_ = true;
  std::uint64_t readings_ = 0;
  std::uint64_t unrouted_ = 0;

  // The next reading.
  std::int64_t ms_ = 0;
  std::string_view channelAddress_, station_, address_, value_;
};

}  // namespace gateway
