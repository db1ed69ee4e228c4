#include "examples/replay/replay.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "examples/readings/source_testing.h"

namespace replay {
namespace {

using readings::CTextSource;

constexpr const char* kTags =
    "name,unit,raw type,scaling type,raw low,raw high,scaled type,scaled low,scaled high,deadband\n"
    "flow,m3/h,Short,Square Root,0,100,Float,0,10,0.5\n"
    "level,mm,Short,Linear,0,100,Byte,0,200,\n"
    "count,,QWord,,,,,,,\n"
    "\"state, text\",,String,,,,,,,\n"
    "broken,,Int,,,,,,,\n";
constexpr const char* kHeader = "time,tag,value\n";

struct result_t {
  bool any = false;
  std::string changes;
  std::string messages;
  std::vector<tag_statistics_t> statistics;
};

// One tag list for all, kept so that the statistics can point at its tags.
const CTagList& Tags() {
  static const CTagList kList = [] {
    CTextSource source(kTags);
    CCsvReader reader(source);
    std::ostringstream messages;
    CProblemLog log(messages, 0);
    CTagList tags;
    EXPECT_TRUE(tags.Read(reader, "tags.csv", log));
    return tags;
  }();
  return kList;
}

result_t Replay(const std::string& readings, replay_options_t options = {}, std::uint64_t messageLimit = 100) {
  result_t result;
  CTextSource source(readings);
  CCsvReader reader(source);
  std::ostringstream messages;
  CProblemLog log(messages, messageLimit);
  COutputBuffer out([&](std::string_view text) { result.changes += text; });
  CReplay replay(Tags(), out, log, std::move(options));
  result.any = replay.Run(reader, "r.csv");
  out.Flush();
  log.Finish();
  result.messages = messages.str();
  result.statistics = replay.GetStatistics();
  return result;
}

// The readings of one tag, a second apart, and what is reported of them as "0=... 2=...".
std::string Reported(const std::string& tag, const std::vector<std::string>& values) {
  std::string text = kHeader;
  for (std::size_t i = 0; i < values.size(); ++i) {
    text += "2026-01-01T00:00:0" + std::to_string(i) + "," + tag + "," + values[i] + "\n";
  }
  const result_t result = Replay(text);
  EXPECT_EQ(result.messages, "");
  std::string reported;
  std::istringstream lines(result.changes.substr(std::string(kHeader).size()));
  for (std::string line; std::getline(lines, line);) {
    reported += line.substr(18, 1) + "=" + line.substr(line.rfind(tag) + tag.size() + 1) + " ";
  }
  return reported;
}

TEST(Replay, ReportsTheFirstGoodValueAndWhatPassesTheDeadband) {
  // Scaled: 5, 5.4, 5.5, 5.1, 5.
  EXPECT_EQ(Reported("flow", {"25", "29", "30", "26", "25"}), "0=5 ");
  EXPECT_EQ(Reported("flow", {"25", "36", "31", "25"}), "0=5 1=6 3=5 ");
  EXPECT_EQ(Reported("flow", {"", "-1", "25", "", "25", "36"}), "2=5 5=6 ");
  EXPECT_EQ(Reported("level", {"10", "10", "11", "10"}), "0=20 2=22 3=20 ");
  // Not scaled, so that no bit of it is lost.
  EXPECT_EQ(Reported("count", {"18446744073709551614", "18446744073709551615", "18446744073709551615"}),
            "0=18446744073709551614 1=18446744073709551615 ");
  EXPECT_EQ(Reported("\"state, text\"", {"on", "on", "\"a,\"\"b\"", " ", ""}), "0=on 2=\"a,\"\"b\" 3=\" \" ");
}

TEST(Replay, EchoesTimesAndTakesColumnsInAnyOrder) {
  const result_t result = Replay("value,quality, TAG ,Time\n7,good,level, 2026-01-01T02:00+01:00 \n");
  EXPECT_EQ(result.changes, "time,tag,value\n2026-01-01T02:00+01:00,level,14\n");
  EXPECT_EQ(result.messages, "");
}

TEST(Replay, CountsDropoutsAndFailures) {
  const result_t result = Replay(std::string(kHeader) +
                                 "2026-01-01T00:00:00,flow,\n"
                                 "2026-01-01T00:00:01,flow,-4\n"   // the root of a negative number
                                 "2026-01-01T00:00:02,level,-1\n"  // -2 is no Byte
                                 "2026-01-01T00:00:03,flow,64\n"
                                 "2026-01-01T00:00:04,flow,-9\n"
                                 "2026-01-01T00:00:05,flow,40000\n"  // no Short: a bad line as well
                                 "2026-01-01T00:00:06,flow,49\n");
  EXPECT_EQ(result.messages, "r.csv:7:26: value '40000': expected a whole number from -32768 to 32767\n");
  ASSERT_EQ(result.statistics.size(), 4u);  // the refused tag is not among them
  const tag_statistics_t& flow = result.statistics[0];
  EXPECT_EQ(flow.readings, 6u);
  EXPECT_EQ(flow.dropouts, 1u);
  EXPECT_EQ(flow.failures, 3u);
  EXPECT_EQ(flow.firstFailureLine, 3u);
  EXPECT_EQ(flow.good, 2u);
  EXPECT_EQ(flow.low, 7);
  EXPECT_EQ(flow.high, 8);
  EXPECT_EQ(result.statistics[1].firstFailureLine, 4u);
}

TEST(Replay, TellsWhatIsWrongWithALineAndGoesOn) {
  const std::string good = "2026-01-01T00:00:09,level,50\n";
  const struct {
    std::string row;
    const char* message;
  } cases[] = {
      {"2026-01-01T00:00:00,level", "2:1: 2 fields: expected 3, as in the header"},
      {"2026-01-01T00:00:00,level,1,2", "2:1: 4 fields: expected 3, as in the header"},
      {"2026-01-01T00:00:00,Level,1", "2:21: unknown tag 'Level': expected one of the tag list"},
      {"2026-01-01T00:00:00,broken,1", "2:21: tag 'broken' was refused in the tag list, line 6"},
      {"2026-01-32T00:00:00,level,1", "2:1: time '2026-01-32T00:00:00': expected such as 2026-03-12T05:00:00.000"},
      {"2026-01-01T00:00:00,level,12a", "2:27: value '12a': expected a whole number from -32768 to 32767"},
      {"2026-01-01T00:00:00,\"level,1", "2:21: a quote that is not closed: expected a closing quote"},
      {"2026-01-01T00:00:00,level,\xFF", "2:27: a byte that is not UTF-8: expected UTF-8 text"},
      {"x,level\x1B[2J,1", "2:3: unknown tag 'level?[2J'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.row);
    const result_t result = Replay(kHeader + c.row + "\n" + good);
    EXPECT_TRUE(result.messages.starts_with(std::string("r.csv:") + c.message)) << result.messages;
    EXPECT_EQ(result.changes, kHeader + std::string("2026-01-01T00:00:09,level,100\n"));
    const result_t strict = Replay(kHeader + c.row + "\n" + good, {.strict = true});
    EXPECT_EQ(strict.changes, kHeader);
  }
}

TEST(Replay, PrintsTheFirstProblemsAndCountsTheRest) {
  const result_t result = Replay(std::string(kHeader) + "a\nb\nc\nd\n", {}, 2);
  EXPECT_EQ(result.messages,
            "r.csv:2:1: 1 fields: expected 3, as in the header\nr.csv:3:1: 1 fields: expected 3, as in the header\n"
            "... and 2 more\n");
}

TEST(Replay, NeedsAHeaderWithItsThreeColumns) {
  for (const char* text : {"", "time,tag\n2026-01-01T00:00:00,level\n", "2026-01-01T00:00:00,level,1\n", "ti\"me\n"}) {
    const result_t result = Replay(text);
    EXPECT_FALSE(result.any) << text;
    EXPECT_EQ(result.changes, "");
    EXPECT_NE(result.messages, "");
  }
}

TEST(Replay, LetsAFailingSinkStopIt) {
  CTextSource source(kHeader);
  CCsvReader reader(source);
  std::ostringstream messages;
  CProblemLog log(messages, 1);
  COutputBuffer out([](std::string_view) { throw std::runtime_error("full"); });
  CReplay replay(Tags(), out, log, {});
  EXPECT_TRUE(replay.Run(reader, "r.csv"));
  EXPECT_THROW(out.Flush(), std::runtime_error);
}

TEST(OutputBuffer, KeepsTheOrderOfSmallAndLargePieces) {
  std::string written, expected;
  COutputBuffer out([&](std::string_view text) { written += text; });
  for (const std::size_t size : {1u, 65535u, 1u, 65536u, 200'000u, 0u, 3u}) {
    const std::string piece(size, static_cast<char>('a' + size % 26));
    out.Append(piece);
    expected += piece;
  }
  out.Flush();
  EXPECT_EQ(written, expected);
}

TEST(Summary, LinesItsColumnsUp) {
  tag_t flow;
  flow.name = "F\xC3\xBC";
  flow.unit = "m\xC2\xB3/h";
  std::ostringstream out;
  PrintSummary(out,
               {{.tag = &flow,
                 .readings = 12345,
                 .dropouts = 5,
                 .failures = 1,
                 .firstFailureLine = 7000,
                 .good = 12000,
                 .reported = 3000,
                 .low = -0.5,
                 .high = 12.25},
                {.tag = &Tags().GetTags()[3]}},
               0.5);
  EXPECT_EQ(out.str(),
            "tag          unit  readings  reported  suppressed  lowest  highest  dropouts  failures  first in line\n"
            "F\xC3\xBC           m\xC2\xB3/h    12,345     3,000      75.0 %    -0.5    12.25         5         1      "
            "    7,000\n"
            "state, text               0         0           -       -        -         0         0              -\n"
            "12,345 readings, 3,000 reported, 75.0 % suppressed; 0.5 s, 24,690 readings a second\n");
}

}  // namespace
}  // namespace replay
