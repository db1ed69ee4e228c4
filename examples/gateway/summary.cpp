#include "examples/gateway/summary.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "examples/readings/text_table.h"

namespace gateway {
namespace {

using readings::Grouped;
using readings::Percent;

std::string Fixed(double value, int decimals) {
  char text[64];
  const auto end = std::to_chars(text, std::end(text), value, std::chars_format::fixed, decimals);
  return {text, end.ptr};
}

std::string PerSecond(std::uint64_t count, double seconds) {
  return seconds <= 0 ? "-" : Grouped(static_cast<std::uint64_t>(static_cast<double>(count) / seconds));
}

std::string MiB(std::uint64_t bytes) { return Fixed(static_cast<double>(bytes) / (1 << 20), 1) + " MiB"; }

std::string Duration(std::int64_t ms) {
  const auto padded = [](std::int64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  return std::to_string(ms / 3'600'000) + ":" + padded(ms / 60'000 % 60) + ":" + padded(ms / 1000 % 60);
}

void PrintChannels(std::ostream& out, const result_t& result) {
  readings::CTextTable table({{"channel", true},
                              {"devices"},
                              {"tags"},
                              {"readings"},
                              {"updates"},
                              {"changes"},
                              {"suppressed"},
                              {"no answer"},
                              {"failures"},
                              {"updates/s"}});
  channel_summary_t all;
  const auto add = [&table](const channel_summary_t& channel) {
    const tag_counts_t& total = channel.total;
    const std::uint64_t good = total.updates - total.dropouts - total.failures;
    table.AddRow({channel.name, Grouped(channel.devices), Grouped(channel.tags), Grouped(channel.readings),
                  Grouped(total.updates), Grouped(total.reported), Percent(good - total.reported, good),
                  Grouped(total.dropouts), Grouped(total.failures), PerSecond(total.updates, channel.busySeconds)});
  };
  for (const channel_summary_t& channel : result.channels) {
    add(channel);
    all += channel;
  }
  all.name = "all";
  add(all);
  table.Print(out);
}

// The tags with the most updates that gave no good value.
void PrintWorst(std::ostream& out, std::vector<tag_summary_t> tags) {
  constexpr std::size_t kMost = 8;
  const auto bad = [](const tag_summary_t& tag) { return tag.counts.failures + tag.counts.dropouts; };
  std::erase_if(tags, [&](const tag_summary_t& tag) { return bad(tag) == 0; });
  if (tags.empty()) return;
  std::stable_sort(tags.begin(), tags.end(), [&](const auto& a, const auto& b) { return bad(a) > bad(b); });
  readings::CTextTable table(
      {{tags.size() == 1 ? "1 tag had faults" : std::to_string(tags.size()) + " tags had faults; the worst", true},
       {"updates"},
       {"no answer"},
       {"failures"},
       {"at the end", true}});
  constexpr const char* kEnds[] = {"-", "good", "no answer", "bad value", "not scaled"};
  if (tags.size() > kMost) tags.resize(kMost);
  for (const tag_summary_t& tag : tags) {
    table.AddRow({tag.path, Grouped(tag.counts.updates), Grouped(tag.counts.dropouts), Grouped(tag.counts.failures),
                  kEnds[static_cast<int>(tag.quality)]});
  }
  out << '\n';
  table.Print(out);
}

}  // namespace

void PrintSummary(std::ostream& out, const result_t& result) {
  PrintChannels(out, result);
  PrintWorst(out, result.tags);
  const auto silent = std::count_if(result.tags.begin(), result.tags.end(),
                                    [](const tag_summary_t& tag) { return tag.counts.updates == 0; });
  if (silent != 0) out << silent << " tags have no readings\n";
  if (result.unrouted != 0) out << Grouped(result.unrouted) << " readings are for channels that are not there\n";
  out << '\n'
      << Duration(result.simulatedMs) << " of the plant in " << Fixed(result.seconds, 2)
      << " s: " << Grouped(result.updates) << " updates, " << PerSecond(result.updates, result.seconds) << " a second, "
      << PerSecond(result.updates, result.cpuSeconds) << " for each second of one core\n";
  for (const memory_mark_t& mark : result.memory) {
    out << MiB(mark.bytes) << " in memory after " << Grouped(mark.updates) << " updates\n";
  }
}

void PrintRoundTrips(std::ostream& out, const std::vector<round_trip_t>& trips) {
  readings::CTextTable table({{"saved as", true}, {"bytes"}, {"saved in"}, {"loaded in"}, {"the same project", true}});
  std::string faults;
  for (const round_trip_t& trip : trips) {
    const std::string form = CString(zorutil::project::FormName(trip.form)).ToUtf8();
    table.AddRow({trip.file.empty() ? form : trip.file, Grouped(trip.bytes), Fixed(trip.saveMs, 1) + " ms",
                  Fixed(trip.loadMs, 1) + " ms", trip.isEqual ? "yes" : "NO"});
    if (!trip.fault.empty()) faults += trip.fault + '\n';
  }
  table.Print(out);
  out << faults;
}

}  // namespace gateway
