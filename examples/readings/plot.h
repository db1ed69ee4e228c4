// Draws what happened to the tags as one SVG: a panel per tag with the scaled values, the reported ones marked, and
// below them the raw values on an axis of their own.
//
//   CPlot plot("Boiler house");
//   int panel = plot.AddPanel({"TT201", "°C", "Short"});
//   plot.AddValue(panel, ms, 214, 21.4);
//   plot.AddReported(panel, ms, 21.4);
//   plot.Write(file);
//
// Series of any length take the same memory (time_bins.h): about 300 KiB a panel. One thread at a time.
#pragma once

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "examples/readings/time_bins.h"

namespace readings {

struct plot_panel_t {
  std::string name;
  std::string unit;
  std::string rawType;
};

class CPlot {
 public:
  /// More panels would not be looked at, and take memory.
  static constexpr int kMostPanels = 24;

  explicit CPlot(std::string title) : title_(std::move(title)) {}

  /// The panel's number, or -1 when there are kMostPanels already. Everything below ignores panel -1.
  int AddPanel(plot_panel_t panel);

  /// Values that are not finite are left out.
  void AddValue(int panel, std::int64_t ms, double raw, double scaled);
  /// A value that AddValue was given for this time, and that was reported.
  void AddReported(int panel, std::int64_t ms, double scaled);
  /// A reading without a value: the lines are broken there.
  void AddDropout(int panel, std::int64_t ms);
  /// A raw value that could not be scaled.
  void AddFailure(int panel, std::int64_t ms, double raw);

  /// Writes the SVG. The stream's state tells whether that worked.
  void Write(std::ostream& out) const;

 private:
  struct series_t {
    plot_panel_t panel;
    CTimeBins bins;
  };

  time_bin_t& BinAt(int panel, std::int64_t ms);

  std::string title_;
  std::vector<series_t> series_;
  std::int64_t first_ = std::numeric_limits<std::int64_t>::max();
  std::int64_t last_ = std::numeric_limits<std::int64_t>::min();
};

}  // namespace readings
