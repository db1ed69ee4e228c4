#include "examples/gateway/lane.h"

#include <gtest/gtest.h>

#include <string>

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
    Add(tag, ms, std::string(" ") + kNames[static_cast<int>(before)] + ">" + kNames[static_cast<int>(now)] + " '" +
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
  settings.scaling.SetScaledHigh(100);
  settings.deadband.SetDeadbandType(CDeadband::ABSOLUTE);
  settings.deadband.SetDeadband(1);
  const int tag = lane_.AddTag(settings);
  EXPECT_EQ(Run({}, 1100), "");
  EXPECT_EQ(Run({{1100, "100"}}, 1501), "1200 t0 unknown>good '100'; 1200 t0=10; 1500 t0=10"s.substr(0, 41));
}

}  // namespace
}  // namespace gateway
