#include "examples/gateway/live_settings.h"

#include <gtest/gtest.h>

#include "platform/framework/temp_folder_testing.h"

namespace gateway {
namespace {

TEST(LiveSettings, FollowTheFileAndKeepWhatTheyHadWhenItIsNoGood) {
  const CTempFolder folder;
  folder.Put("s.ini", "[Gateway]\nLogIntervalMs=5\nSliceMs=500\nDefinitions=here\n");
  settings_t settings;
  CLiveSettings live(settings, {{}, false, "de", {}, {}}, folder.Native("s.ini").string());
  EXPECT_TRUE(settings.sliceMs == 500 && live.Look().empty());
  const struct {
    const char* text;  // null: no file
    const char* told;
    int logIntervalMs;
    std::uint32_t sliceMs;
  } steps[] = {{"[gateway]\nlogintervalms=70\nRealTime=1\nLanguage=en\nDefinitions=here\n", "again", 70, 2000},
               {"[Gateway]\nLogIntervalMs=7", "cut", 70, 2000},
               {"", "cut", 70, 2000},
               {"[Gateway\nLogIntervalMs=7\n", "s.ini:1:", 70, 2000},
               {"[Gateway]\nLogIntervalMs=8\nSliceMs=20ms\n", "s.ini:3: [Gateway] SliceMs: '20ms': expected", 70, 2000},
               {"[Gateway]\nSliceMs=9\nLogIntervalMs=-8\n", "SliceMs: '9': expected a number, 10 to 600000", 70, 2000},
               {"[Gateway]\nInterval=1\n", "Interval: '1': the gateway knows no such", 70, 2000},
               {"[Gateway]\nLanguage=klingon\n", "klingon", 70, 2000},
               {nullptr, "no such file", 70, 2000},
               {"[Other]\n\n[Gateway]\nSliceMs=600000\nLog=x\n", "for the next start", 60'000, 600'000}};
  for (const auto& step : steps) {
    SCOPED_TRACE(step.told);
    std::filesystem::remove(folder.Native("s.ini"));
    if (step.text != nullptr) folder.Put("s.ini", step.text);
    const std::vector<std::string> lines = live.Look();
    EXPECT_TRUE(!lines.empty() && lines[0].find(step.told) != std::string::npos) << testing::PrintToString(lines);
    EXPECT_EQ(std::pair(settings.logIntervalMs, settings.sliceMs), std::pair(step.logIntervalMs, step.sliceMs));
    EXPECT_TRUE(settings.definitions + settings.log == "here" && settings.languageId == 0x0407);
    EXPECT_TRUE(live.Look().empty());
  }
}

}  // namespace
}  // namespace gateway
