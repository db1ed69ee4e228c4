#include <algorithm>
#include <cmath>
#include <string>

#include "examples/readings/text_table.h"
#include "examples/replay/replay.h"

namespace replay {
namespace {

using readings::Grouped;
using readings::Percent;
using readings::Value;

std::vector<std::string> RowOf(const tag_statistics_t& tag) {
  const bool valued = tag.good != 0 && tag.tag->scaling.GetScaledDataType() != DT_STRING;
  return {tag.tag->name,
          tag.tag->unit,
          Grouped(tag.readings),
          Grouped(tag.reported),
          Percent(tag.good - tag.reported, tag.good),
          valued ? Value(tag.low) : "-",
          valued ? Value(tag.high) : "-",
          Grouped(tag.dropouts),
          Grouped(tag.failures),
          tag.firstFailureLine != 0 ? Grouped(tag.firstFailureLine) : "-"};
}

tag_statistics_t Total(const std::vector<tag_statistics_t>& tags) {
  tag_statistics_t total;
  for (const tag_statistics_t& tag : tags) {
    total.readings += tag.readings;
    total.reported += tag.reported;
    total.good += tag.good;
  }
  return total;
}

}  // namespace

void PrintSummary(std::ostream& out, const std::vector<tag_statistics_t>& tags, double seconds) {
  readings::CTextTable table({{"tag", true},
                              {"unit", true},
                              {"readings"},
                              {"reported"},
                              {"suppressed"},
                              {"lowest"},
                              {"highest"},
                              {"dropouts"},
                              {"failures"},
                              {"first in line"}});
  for (const tag_statistics_t& tag : tags) table.AddRow(RowOf(tag));
  table.Print(out);
  const tag_statistics_t total = Total(tags);
  const auto rate = static_cast<double>(total.readings) / std::max(seconds, 1e-9);
  out << Grouped(total.readings) << " readings, " << Grouped(total.reported) << " reported, "
      << Percent(total.good - total.reported, total.good) << " suppressed; " << Value(std::round(seconds * 1000) / 1000)
      << " s, " << Grouped(static_cast<std::uint64_t>(rate)) << " readings a second\n";
}

}  // namespace replay
