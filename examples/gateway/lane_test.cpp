#include "examples/gateway/lane.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>

namespace gateway {
namespace {

// What a lane told, as "1000 t0=5; 1500 t0 good>noAnswer 'x'".
class CHeard : public ILaneListener {
 public:
  void OnReported(int tag, std::int64_t ms, const CVariant& value) override {
    Add(tag, ms, "=" + value.ToString().ToUtf8());
  }
  void OnQuality(int tag, std::int64_t ms, quality_t before, quality_t now, std::string_view text) override {
    constexpr const char* kNames[] = {"unknown", "good", "noAnswer", "badValue", "notScaled"};
    Add(tag, ms,
        std::string(" ") + kNames[static_cast<int>(before)] + ">" + kNames[static_cast<int>(now)] + " '" +
            std::string(text) + "'");
  }
  void OnWatched(int, std::int64_t, quality_t, double, double) override {}
  std::string Take() { return std::exchange(text_, {}); }

 private:
  void Add(int tag, std::int64_t ms, const std::string& what) {
    text_ += (text_.empty() ? "" : "; ") + std::to_string(ms) + " t" + std::to_string(tag) + what;
  }
  std::string text_;
};

tag_settings_t Settings(const std::string& address, DATATYPE type, std::uint32_t periodMs = 500) {
  tag_settings_t settings;
  settings.path = "P.C.D." + address;
  settings.station = "1";
  settings.address = address;
  settings.dataType = type;
  settings.scaling.SetScaledDataType(type);
  settings.periodMs = periodMs;
  return settings;
}

class Lane : public testing::Test {
 protected:
  // Readings "ms value" of register 1/a, then runs.
  std::string Run(std::initializer_list<std::pair<std::int64_t, const char*>> readings, std::int64_t untilMs) {
    CReadingBatch batch;
    for (const auto& [ms, value] : readings) batch.Add(ms, "1", "a", value);
    lane_.Run(batch, untilMs);
    return heard_.Take();
  }

  CHeard heard_;
  CLane lane_{heard_, 1000};
};

TEST_F(Lane, PollsAtMultiplesOfThePeriodAndReportsWhatPassesTheDeadband) {
  tag_settings_t settings = Settings("a", DT_SHORT, 300);
  settings.scaling.SetScalingType(CScaling::LINEAR);
  settings.scaling.SetScaledDataType(DT_DOUBLE);
  settings.scaling.SetScaledHigh(100);  // of raw 1000
  settings.deadband.SetDeadbandType(CDeadband::ABSOLUTE);
  settings.deadband.SetDeadband(1);
  const int tag = lane_.AddTag(settings);
  EXPECT_EQ(Run({}, 1200), "") << "a register without a reading";
  EXPECT_EQ(Run({{1200, "100"}, {1201, "105"}, {1499, "109"}}, 1500), "1200 t0 unknown>good '100'; 1200 t0=10")
      << "a poll sees the readings of its own moment, and none that come later";
  EXPECT_EQ(Run({{1700, "110"}}, 2100), "1800 t0=11") << "10.9 is within the deadband; 2100 is not yet due";
  EXPECT_EQ(Run({{1800, "120"}}, 2101), "2100 t0=12");
  lane_.SkipTo(1'000'000'000);  // no poll for the time between
  EXPECT_EQ(Run({{1'000'000'000, "140"}}, 1'000'000'300), "1000000200 t0=14");
  const tag_counts_t& counts = lane_.GetCounts(tag);
  EXPECT_EQ(counts.updates, 5u);  // 1200, 1500, 1800, 2100 and the one behind the gap
  EXPECT_EQ(counts.reported, 4u);
  EXPECT_EQ(counts.low, 10);
  EXPECT_EQ(counts.high, 14);
}

TEST_F(Lane, TellsBadReadingsAndReportsTheFirstGoodOneAfterThem) {
  tag_settings_t settings = Settings("a", DT_SHORT, 100);
  settings.scaling.SetScalingType(CScaling::SQUARE_ROOT);
  settings.scaling.SetScaledDataType(DT_DOUBLE);
  lane_.AddTag(settings);
  const struct {
    const char* value;
    const char* heard;
  } rows[] = {{"1000", "t0 unknown>good '1000'; @ t0=1000"},
              {"", "t0 good>noAnswer ''"},
              {"1000", "t0 noAnswer>good '1000'; @ t0=1000"},  // the same value, yet reported
              {"CAL", "t0 good>badValue 'CAL'"},
              {"40000", ""},  // beyond a short: the same fault
              {"-1", "t0 badValue>notScaled '-1'"},
              {"", "t0 notScaled>noAnswer ''"},
              {"1000", "t0 noAnswer>good '1000'; @ t0=1000"},
              {"1000", ""}};
  std::int64_t ms = 1000;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.value);
    std::string expected = row.heard;
    const std::string at = std::to_string(ms);
    if (!expected.empty()) expected = at + " " + expected;
    if (const auto place = expected.find('@'); place != std::string::npos) expected.replace(place, 1, at);
    EXPECT_EQ(Run({{ms, row.value}}, ms + 100), expected);
    ms += 100;
  }
  EXPECT_EQ(lane_.GetCounts(0).failures, 3u);
  EXPECT_EQ(lane_.GetCounts(0).dropouts, 2u);
  EXPECT_EQ(lane_.GetUpdates(), 9u);
}

TEST_F(Lane, ChangesAndRemovesTagsWhileItRuns) {
  const int first = lane_.AddTag(Settings("a", DT_LONG, 100));
  const int second = lane_.AddTag(Settings("a", DT_LONG, 100));
  const int third = lane_.AddTag(Settings("b", DT_LONG, 70));
  Run({{1000, "5"}}, 1100);

  tag_settings_t renamed = lane_.GetSettings(first);
  renamed.path = "P.C.D.other";
  lane_.ChangeTag(first, renamed);
  EXPECT_EQ(Run({}, 1200), "") << "a new name is no reason to report again";
  EXPECT_EQ(lane_.GetSettings(first).path, "P.C.D.other");

  EXPECT_EQ(lane_.RemoveTag(second).updates, 2u);
  EXPECT_EQ(Run({{1200, "6"}}, 1300), "1200 t0=6") << "the removed tag is silent";

  tag_settings_t text = Settings("a", DT_STRING, 50);
  lane_.ChangeTag(first, text);
  EXPECT_EQ(Run({{1310, "six"}}, 1400), "1300 t0=6; 1350 t0=six");
  text.isCollected = false;
  lane_.ChangeTag(first, text);
  EXPECT_EQ(Run({{1400, "seven"}}, 1500), "");

  EXPECT_EQ(lane_.AddTag(Settings("a", DT_LONG, 100)), second) << "its number is free";
  EXPECT_EQ(lane_.GetCounts(second).updates, 0u);
  lane_.RemoveTag(first);
  lane_.RemoveTag(third);
  EXPECT_EQ(Run({{1500, "8"}}, 1600), "1500 t1 unknown>good '8'; 1500 t1=8");
  EXPECT_EQ(lane_.GetReadings(), 5u);
}

}  // namespace
}  // namespace gateway
