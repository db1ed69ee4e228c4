#include "examples/gateway/channel_runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <thread>

#include "examples/gateway/change_script.h"
#include "platform/framework/allocation_testing.h"
#include "util/objects/tree_invariants_testing.h"
#include "util/project/project_file.h"
#include "util/properties/definition_loader.h"

namespace gateway {
namespace {

constexpr std::string_view kProjectText =
    R"({"P": {"Type": "Project", "Channels": {"C": {"Type": "Channel", "Devices": {
  "D": {"Type": "Device", "StationId": 1, "Tags": {
    "A": {"Type": "Tag", "Address": "a", "DataType": 6, "ScanRate": 100},
    "B": {"Type": "Tag", "Address": "b", "DataType": 6, "ScanRate": 100}}},
  "E": {"Type": "Device", "StationId": 2, "TagGroups": {"G": {"Type": "TagGroup", "Tags": {
    "F": {"Type": "Tag", "Address": "f", "DataType": 6, "ScanRate": 100}}}}}}}}}})";

class ChannelRunner : public testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterTypes(); }
  static void TearDownTestSuite() { UnregisterTypes(); }

  void SetUp() override {
    zorutil::project::load_report_t report;
    project_ = zorutil::project::LoadProject(std::as_bytes(std::span(kProjectText)), report);
    ASSERT_NE(project_, nullptr) << report.ToString().ToUtf8();
    runner_ = std::make_unique<CChannelRunner>(Find("C"), runner_options_t{true, 60'000, {}}, 0);
  }

  zorutil::ref_counted_obj_ptr Find(const char* path) { return project_->FindObject(CString(path), -1, -1); }

  // Gives every register the value and runs for 100 ms; what was reported, in the order of paths: "C.D.A,5 C.D.B,5 ".
  std::string Step(const char* value) {
    for (const auto& [station, address] : {std::pair("1", "a"), {"1", "b"}, {"2", "f"}, {"7", "a"}}) {
      runner_->GetNextBatch().Add(ms_, station, address, value);
    }
    ms_ += 100;
    runner_->Go(ms_ - 100, ms_);
    runner_->Wait();
    std::multiset<std::string_view> sorted;
    std::string_view lines = runner_->GetReported();
    for (; !lines.empty(); lines.remove_prefix(lines.find('\n') + 1)) {
      sorted.insert(lines.substr(0, lines.find('\n')).substr(lines.find(',') + 1));
    }
    std::string reported;
    for (const std::string_view line : sorted) reported.append(line).append(" ");
    runner_->ClearReported();
    return reported;
  }

  // Makes one change; empty when it was made.
  std::string Change(const std::string& text) {
    std::ostringstream messages;
    readings::CProblemLog log(messages, 9);
    CChangeScript script;
    if (!script.Read("[{\"at\": 0, " + text + "}]", "s", log)) return messages.str();
    const std::string line =
        script.ApplyDue(*project_, 1, i18n::kLanguageEnglish, zorutil::properties::GetDefinitionStore()).at(0).text;
    return script.GetFailed() == 0 ? "" : line.substr(line.find("not done"));
  }

  zorutil::owned_obj_ptr project_;
  std::unique_ptr<CChannelRunner> runner_;
  std::int64_t ms_ = 0;
};

TEST_F(ChannelRunner, FollowsEveryChangeOfItsTagsFromTheNextSliceOn) {
  EXPECT_EQ(Step("1"), "C.D.A,1 C.D.B,1 C.E.G.F,1 ");
  const struct {
    const char* change;
    const char* value;
    const char* reported;
  } rows[] = {
      {R"("rename": "C.D.A", "to": "Z")", "2", "C.D.B,2 C.D.Z,2 C.E.G.F,2 "},
      {R"("rename": "C.D", "to": "D2")", "3", "C.D2.B,3 C.D2.Z,3 C.E.G.F,3 "},
      {R"("set": {"ScanRate": 1000}, "of": "C.D2.Z")", "4", "C.D2.B,4 C.E.G.F,4 "},
      {R"("set": {"ScanRate": 100, "Address": "b"}, "of": "C.D2.Z")", "5", "C.D2.B,5 C.D2.Z,5 C.E.G.F,5 "},
      {R"("set": {"Collects": false}, "of": "C.E.G")", "6", "C.D2.B,6 C.D2.Z,6 "},
      {R"("set": {"Collects": true}, "of": "C.E.G")", "7", "C.D2.B,7 C.D2.Z,7 C.E.G.F,7 "},
      {R"("delete": "C.D2.Z")", "8", "C.D2.B,8 C.E.G.F,8 "},
      {R"("copy": "C.D2.B", "to": "N")", "9", "C.D2.B,9 C.D2.N,9 C.E.G.F,9 "},
      {R"("add": {"Y": {"Type": "Tag", "Address": "f", "DataType": 6, "ScanRate": 100}}, "to": "C.E")", "10",
       "C.D2.B,10 C.D2.N,10 C.E.G.F,10 C.E.Y,10 "},
      {R"("set": {"StationId": 7}, "of": "C.D2")", "11", "C.E.G.F,11 C.E.Y,11 "},  // nothing there at b
      {R"("patch": [{"op": "move", "from": "/Channels/C/Devices/D2/Tags/B", "path": "/Channels/C/Devices/E/Tags/M"},
                    {"op": "replace", "path": "/Channels/C/Devices/E/StationId", "value": 1}])",
       "11", "C.E.M,11 "},
      {R"("delete": "C.E")", "12", ""},
      {R"("delete": "C.D2")", "13", ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.change);
    EXPECT_EQ(Change(row.change), "");
    EXPECT_EQ(Step(row.value), row.reported);
  }
  const channel_summary_t summary = runner_->GetSummary();
  EXPECT_EQ(summary.tags, 0u);
  EXPECT_EQ(summary.total.reported, 31u) << "what was deleted has counted";
  EXPECT_EQ(Find("C")->GetRefCount(), 3) << "the runner's two, and this one";
}

TEST_F(ChannelRunner, RefusesChangesThatCannotBeMadeAndLeavesTheObjectAsItWas) {
  const struct {
    const char* change;
    const char* why;
  } rows[] = {{R"("rename": "C.D.A", "to": "b")", "the name is taken"},
              {R"("rename": "C.D.A", "to": "a.b")", "the name is not valid"},
              {R"("rename": "C.X", "to": "Y")", "there is no such object"},
              {R"("copy": "C.D.A", "to": "B")", "the name is taken"},
              {R"("add": {"Q": {"Type": "Channel"}}, "to": "C.D")", "the object does not belong there"},
              {R"("add": {"Q": {"Type": "Tag", "DataType": "x"}}, "to": "C.D")", "DataType"},
              {R"("set": {"Adress": "x"}, "of": "C.D.A")", "there is no setting 'Adress'"},
              {R"("set": {"Address": "q", "DataType": 99}, "of": "C.D.A")", "DataType"},
              {R"("set": {"Scaling": 1, "RawLow": 5, "RawHigh": 5}, "of": "C.D.A")", "The raw range must rise"},
              {R"("patch": {})", "expected \"patch\": operations"},
              {R"("patch": [{"op": "replace", "path": "/Channels/C/Devices/D/Tags/A/Address", "value": "x"},
                            {"op": "remove", "path": "/Channels/Nobody"}])",
               "Operation 2, /Channels/Nobody"}};
  const std::string before = Step("1");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.change);
    const std::string answer = Change(row.change);
    EXPECT_NE(answer.find(row.why), std::string::npos) << answer;
    EXPECT_FALSE(answer.starts_with("not done") && answer.ends_with('\n')) << "an entry of a log is a line";
    EXPECT_EQ(static_cast<const CTag&>(*Find("C.D.A")).GetAddress(), u"a");
  }
  EXPECT_EQ(Step("1"), "");
  EXPECT_EQ(runner_->GetSummary().tags, 3u);
  EXPECT_EQ(runner_->GetTags().at(0).path, "C.D.A");
}

TEST_F(ChannelRunner, TakesNoObjectSoDeepThatTheProjectCouldNotBeSaved) {
  std::string path = "C.E.G";
  const auto add = [&] { return Change(R"("add": {"g": {"Type": "TagGroup"}}, "to": ")" + path + "\""); };
  for (unsigned depth = 4; depth < CTableObj::kMaxDepth; ++depth, path += ".g") ASSERT_EQ(add(), "") << depth;
  EXPECT_NE(add().find("too deep"), std::string::npos);
  EXPECT_NO_THROW(zorutil::project::WriteProject(*project_, zorutil::project::form_t::BINARY));
}

TEST_F(ChannelRunner, LimitsItsLogAndTellsWhatItLeftOut) {
  Step("1");
  Step("");
  EXPECT_EQ(runner_->TakeLog(), "1970-01-01 00:00:00.100  C.D.A: no answer\n");
  Step("1");
  EXPECT_EQ(runner_->TakeLog(), "1970-01-01 00:00:00.200  C.D.A: good again\n");
  Step("x");
  EXPECT_EQ(runner_->TakeLog(),
            "1970-01-01 00:00:00.300  C.D.A: register 1/a holds 'x', expected a whole number from -2147483648 to "
            "2147483647\n");
  ms_ = 60'300;
  Step("1");
  Step("");
  EXPECT_EQ(runner_->TakeLog(),
            "1970-01-01 00:01:00.300  C.D.A: good again (and 2 more before)\n"
            "1970-01-01 00:01:00.400  C.D.A: no answer (and 2 more before)\n");
  runner_->SetLogInterval(0);
  Step("1");
  Step("");
  const std::string log = runner_->TakeLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 6) << log;  // of three tags
}

// A runner reads while others rename, delete and add: nothing is lost, and every reference comes back.
TEST_F(ChannelRunner, RunsWhileOthersChangeTheTree) {
  std::atomic<bool> isDone{false};
  std::thread others([&] {
    for (int i = 0; i < 300; ++i) {
      EXPECT_EQ(Change(R"("rename": "C.D.A", "to": "A)" + std::to_string(i) + "\""), "");
      EXPECT_EQ(Change(R"("copy": "C.D", "to": "K")"), "");
      EXPECT_EQ(Change(R"("delete": "C.K.B")"), "");
      EXPECT_EQ(Change(R"("rename": "C.D.A)" + std::to_string(i) + R"(", "to": "A")"), "");
      EXPECT_EQ(Change(R"("delete": "C.K")"), "");
    }
    isDone = true;
  });
  for (int i = 0; !isDone; ++i) Step(i % 7 == 0 ? "" : std::to_string(i).c_str());
  others.join();
  Step("-1");
  EXPECT_EQ(Step("-2"), "C.D.A,-2 C.D.B,-2 C.E.G.F,-2 ");
  EXPECT_EQ(runner_->GetSummary().tags, 3u);
  runner_.reset();
  EXPECT_EQ(tree_testing::FindBroken(*project_), "");
  EXPECT_EQ(project_->GetRefCount(), 0);
}

class CSilent : public ILaneListener {
 public:
  void OnReported(int, std::int64_t, const CVariant&) override { ++reported_; }
  void OnQuality(int, std::int64_t, quality_t, quality_t, std::string_view) override {}
  void OnWatched(int, std::int64_t, quality_t, double, double) override {}
  int reported_ = 0;
};

TEST(LaneMemory, AnUpdateAllocatesNothing) {
  CSilent listener;
  CLane lane(listener, 0);
  tag_settings_t settings;
  settings.station = "1";
  settings.address = "40001";
  settings.dataType = DT_SHORT;
  settings.scaling.SetScalingType(CScaling::LINEAR);
  lane.AddTag(settings);
  CReadingBatch batch;
  const auto run = [&](std::int64_t from) {
    batch.Clear();
    for (std::int64_t ms = from; ms < from + 10'000; ms += 100) {
      batch.Add(ms, "1", "40001", ms / 100 % 3 == 0 ? "32767" : "-1");
    }
    lane.Run(batch, from + 10'000);
  };
  run(0);
  const int before = allocation_testing::allocations;
  run(10'000);
  EXPECT_EQ(allocation_testing::allocations, before);
  EXPECT_GT(listener.reported_, 100);
}

}  // namespace
}  // namespace gateway
