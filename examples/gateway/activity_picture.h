// The whole plant at a glance, as SVG: a row for each device, time from left to right, each cell as dark as many values
// were reported in it, red as far as the device's tags were faulty.
//
//   CActivityPicture picture("Boiler house");
//   picture.Add("Boiler 1.Drum", elapsedMs, 120, 0.0);
//   picture.Write(file, startMs);
//
// Memory is bounded by the rows: a run of any length has at most kMostCells cells a row, which double in width when
// there would be more. One thread at a time.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace gateway {

class CActivityPicture {
 public:
  static constexpr std::size_t kMostCells = 240;

  explicit CActivityPicture(std::string title) : title_(std::move(title)) {}

  /// A piece of time that begins `elapsedMs` after the start. `faulty` is the share of tags without a good value, 0
  /// to 1. Rows stand in the order in which they came.
  void Add(const std::string& row, std::int64_t elapsedMs, std::uint64_t reported, double faulty);
  /// `startMs`: since 1970, UTC. The stream's state tells whether that worked.
  void Write(std::ostream& out, std::int64_t startMs) const;

 private:
  struct cell_t {
    double reported = 0;
    double faulty = 0;
    double pieces = 0;
  };
  struct row_t {
    std::string name;
    std::vector<cell_t> cells;
  };

  std::string title_;
  std::int64_t cellMs_ = 1000;
  std::vector<row_t> rows_;
  std::unordered_map<std::string, std::size_t> numbers_;
};

}  // namespace gateway
