// utilctl project, with the plug-in and the projects of docs/plugin.md. What that guide shows is tested by its replay.
#include "tests/program_testing.h"

namespace {

namespace fs = std::filesystem;

class Projects : public ProgramTest {
 protected:
  Projects() : ProgramTest("'" UTILCTL_PROGRAM "'") {
    for (const char* name : {"north.json", "bad.json"}) fs::copy(fs::path(GUIDE_FOLDER) / name, folder_);
    EXPECT_EQ(ProgramTest::Run("defs compile '" GUIDE_FOLDER "/pump_settings.json' --out defs"), 0) << messages_;
  }
  int Run(const std::string& arguments, const std::string& after = "> out") {
    return ProgramTest::Run("project " + arguments + " --types '" PLUGIN_GUIDE "'", "", after);
  }
  static bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
};

TEST_F(Projects, GoFromFormToFormAndBackUnchanged) {
  EXPECT_EQ(Run("convert north.json --to bin --out one.bin"), 0) << messages_;
  EXPECT_EQ(Run("convert one.bin --to XML", "> two.xml"), 0) << messages_;
  EXPECT_EQ(Run("convert - --to json --out three.json", "< two.xml > out"), 0) << messages_;
  EXPECT_EQ(Run("convert three.json --to bin", "> four.bin"), 0) << messages_;
  EXPECT_EQ(FileText(folder_ / "one.bin"), FileText(folder_ / "four.bin"));
  EXPECT_EQ(FileText(folder_ / "one.bin").substr(0, 4), "\x89ZPJ");
  Write("kept.xml", "old");
  EXPECT_EQ(Run("convert bad.json --to xml --out kept.xml"), 1) << "a part of a project is none";
  EXPECT_EQ(Run("convert north.json --to xml --out none/north.xml"), 3);
  EXPECT_EQ(Run("convert north.json --to north.xml"), 2);
  EXPECT_EQ(Run("convert north.json --to bin --json"), 2);
  EXPECT_EQ(FileText(folder_ / "kept.xml"), "old");
}

TEST_F(Projects, AreCheckedInEveryForm) {
  EXPECT_EQ(Run("convert north.json --to xml", "| sed 's/>2900</>9000</; s/P-1002/P-2003-2004-2005/' > fast.xml"), 0);
  EXPECT_EQ(Run("convert fast.xml --to bin --out fast.bin"), 0) << messages_;
  EXPECT_EQ(Run("check fast.xml fast.bin bad.json north.json --definitions defs"), 1);
  EXPECT_EQ(out_, "north.json: 3 objects are fine\n");
  for (const char* part : {"fast.xml:11: North.P1, Speed: The value is out of range. Enter a value from 100 to 6000.\n",
                           "fast.xml:11: North.P1, Speed: A speed of 9000 is more",
                           "fast.xml:17: North.P2, Serial: ", "fast.bin: North.P1, Speed: The value",
                           "bad.json:6: North.p1: ", "bad.json:7: North.P2, Speed: A speed"}) {
    EXPECT_TRUE(Holds(messages_, part)) << part << '\n' << messages_;
  }
  Write("torn.xml", "<PumpStation>\n  <Name>N</Nam>");
  Write("long.json", R"({"N": {"Type": "PumpStation", "Pumps": {")" + std::string(1'000'000, 'x') +
                         R"(": {"Type": "Pump", "Speed": "x"}}}})");
  EXPECT_EQ(Run("check torn.xml long.json"), 1);
  EXPECT_TRUE(Holds(messages_, "torn.xml:2:16: The element \"Name\"")) << messages_;
  EXPECT_LT(messages_.size(), 10'000U) << "a name of a million characters";
  Write("cut.bin", FileText(folder_ / "fast.bin").substr(0, 60));
  Write("text.txt", "North\n");
  std::string newer = FileText(folder_ / "fast.bin");
  newer[12] = 99;
  Write("newer.bin", newer);
  EXPECT_EQ(Run("check cut.bin text.txt newer.bin"), 1);
  EXPECT_TRUE(Holds(messages_, "newer.bin: The project file is damaged: byte 14: object record format 99"))
      << messages_;
  EXPECT_TRUE(Holds(messages_, "cut.bin: North: ") && Holds(messages_, "text.txt: this is no project")) << messages_;
  EXPECT_EQ(Run("check north.json"), 0);
  EXPECT_TRUE(Holds(out_, "no definition: 6 settings; --definitions names a folder\n")) << out_;
  EXPECT_EQ(Run("check north.json --json"), 0) << messages_;
  EXPECT_TRUE(Holds(out_, "\"objects\": 3") && Holds(out_, "\"Pump.Drive\"")) << out_;
  EXPECT_EQ(Run("check north.json --definitions none"), 3);
  EXPECT_EQ(Run("check north.json --definitions ."), 3) << "no definitions in it";
  EXPECT_EQ(Run("check none.json"), 3);
  EXPECT_EQ(Run("check north.json --types north.json"), 3) << "no plug-in";
  EXPECT_EQ(Run("check north.json --types '" PLUGIN_GUIDE "'"), 3) << "its types are there already";
}

TEST_F(Projects, ShowWhatIsInThem) {
  EXPECT_EQ(Run("show north.json --depth 0 --brief"), 0) << messages_;
  EXPECT_EQ(out_, "North PumpStation\n└─ Pumps (2)\n");
  EXPECT_EQ(Run("show north.json North.P9"), 1);
  EXPECT_EQ(Run("show north.json --depth few"), 2);
  EXPECT_EQ(Run("show bad.json --json --depth 0"), 1) << "what could be read is shown";
  EXPECT_TRUE(Holds(out_, "\"North\": {\n      \"Type\": \"PumpStation\",\n      \"Operator\": \"\"\n    }")) << out_;
  Write("odd.json", R"({"N\u001b[31m\n": {"Type": "PumpStation", "Operator": "a\u0007b"}})");
  EXPECT_EQ(Run("show odd.json"), 0) << messages_;
  EXPECT_EQ(out_, "N?[31m? PumpStation\n   Operator  \"a?b\"\n") << "a name must not steer the terminal";
  const std::pair<const char*, const char*> rows[] = {{"p2", "North.P2  Pump\n"},
                                                      {"'north.*'", "North.P1  Pump\nNorth.P2  Pump\n"},
                                                      {"'*' --type pumpstation", "North  PumpStation\n"},
                                                      {"'P1*?'", ""}};
  for (const auto& [what, found] : rows) {
    EXPECT_EQ(Run(std::string("find north.json ") + what), *found == '\0' ? 1 : 0) << what;
    EXPECT_EQ(out_, found) << what;
  }
}

TEST_F(Projects, AreComparedAndPatchedWholeOrNotAtAll) {
  Write("one.json", R"([{"op": "replace", "path": "/Pumps/P1/Speed", "value": 3000},
                        {"op": "add", "path": "/Pumps/P3", "value": {"Type": "Pump", "Serial": "P-7"}}])");
  Write("two.json",
        R"([{"op": "remove", "path": "/Pumps/P1"}, {"op": "replace", "path": "/Pumps/P9/Speed", "value": 1}])");
  Write("three.json", R"([{"op": "replace", "path": "/Pumps/P2/Speed", "value": 3001}])");
  EXPECT_EQ(Run("convert north.json --to bin --out north.bin"), 0) << messages_;
  EXPECT_EQ(Run("diff north.json north.bin"), 0) << messages_;
  EXPECT_EQ(out_, "");
  EXPECT_EQ(Run("patch north.bin one.json --out north.bin --definitions defs"), 0) << messages_;
  EXPECT_EQ(Run("diff north.json north.bin"), 1);
  EXPECT_EQ(out_, "~ North.P1\n    Speed: 2900 -> 3000\n+ North.P3 (Pump)\n");
  // What diff tells, patch does.
  EXPECT_EQ(Run("diff north.bin north.json --patch", "> back.json"), 1);
  EXPECT_EQ(Run("patch north.bin back.json --to json", "> again.json"), 0) << messages_;
  EXPECT_EQ(Run("diff again.json north.json"), 0) << out_;
  const std::string before = FileText(folder_ / "north.bin");
  const std::pair<const char*, const char*> rows[] = {
      {"two.json", "two.json: operation 2, /Pumps/P9"},
      {"three.json", "three.json: operation 1, /Pumps/P2/Speed: A speed of 3001 is more"},
      {"north.json", "north.json: "}};
  for (const auto& [patch, part] : rows) {
    EXPECT_EQ(Run(std::string("patch north.bin ") + patch + " --out north.bin"), 1) << patch;
    EXPECT_TRUE(messages_.starts_with(part)) << messages_;
  }
  EXPECT_EQ(FileText(folder_ / "north.bin"), before);
  EXPECT_EQ(Run("diff north.json bad.json"), 3) << "differences are not what was found";
}

}  // namespace
