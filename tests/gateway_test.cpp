// The program gateway as its users run it: a small project in all three forms, changes while it runs, and errors.
#include "tests/program_testing.h"

namespace {

namespace fs = std::filesystem;

class GatewayProgram : public ProgramTest {
 protected:
  GatewayProgram() : ProgramTest("'" GATEWAY_PROGRAM "'") {
    Write("plant.json", kProject);
    // Ten seconds of three registers: a ramp, a device that falls silent from 4 s to 6 s, a value that does not fit.
    std::string readings = "time,station,address,value\n";
    for (int s = 0; s < 10; ++s) {
      const std::string time = "2026-01-01T00:00:0" + std::to_string(s) + ",";
      readings += time + "10.0.0.1:502/1,40001," + std::to_string(s * 1000) + "\n";
      readings += time + "10.0.0.1:502/1,40002," + (s == 4 ? "" : std::to_string(s)) + "\n";
      readings += time + "serial 2/1,1," + (s == 8 ? "broken" : "7") + "\n";
    }
    Write("readings.csv", readings);
  }

  int RunPlant(const std::string& arguments) { return Run(arguments + " --definitions '" GATEWAY_DEFINITIONS "'"); }
  static bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

  static constexpr const char* kProject = R"({"Plant": {"Type": "Project", "Description": "three tags", "Channels": {
  "Main": {"Type": "Channel", "Address": "10.0.0.1", "Devices": {"PLC": {"Type": "Device", "Tags": {
    "Ramp": {"Type": "Tag", "Address": "40001", "DataType": 4, "ScanRate": 500, "Scaling": 1, "RawHigh": 10000,
             "ScaledHigh": 100, "DeadbandType": 2, "Deadband": 15},
    "Count": {"Type": "Tag", "Address": "40002", "DataType": 6, "ScanRate": 1000}}}}},
  "Side": {"Type": "Channel", "Medium": 1, "SerialPort": 2, "Devices": {"Meter": {"Type": "Device", "TagGroups": {
    "Grüße": {"Type": "TagGroup", "Tags": {"Flow": {"Type": "Tag", "Address": "1", "DataType": 9}}}}}}}}}})";
};

TEST_F(GatewayProgram, RunsAProjectInEachOfItsForms) {
  EXPECT_EQ(RunPlant("plant.json --save saved"), 0) << out_ << messages_;
  std::string reported;
  for (const char* form : {"saved.json", "saved.xml", "saved.bin"}) {
    SCOPED_TRACE(form);
    EXPECT_EQ(RunPlant(std::string(form) + " --readings readings.csv --reported out.csv --save again"), 0) << messages_;
    for (const char* part :
         {"yes\nagain.xml", "yes\nagain.json", "Main           1     2", "0:00:10 of the plant in"}) {
      EXPECT_TRUE(Holds(out_, part)) << part << "\n" << out_;
    }
    EXPECT_FALSE(Holds(out_, "NO"));
    const std::string now = FileText(folder_ / "out.csv");
    if (reported.empty()) reported = now;
    EXPECT_EQ(now, reported);
  }
  // 15 % of 100 are two steps of the ramp.
  for (const char* row :
       {"00:00:02.000,Main.PLC.Ramp,20\n", "00:00:05.000,Main.PLC.Count,5\n", "Side.Meter.Grüße.Flow,7\n"}) {
    EXPECT_TRUE(Holds(reported, row)) << row << "\n" << reported;
  }
  EXPECT_FALSE(Holds(reported, "00:00:01.000,Main.PLC.Ramp")) << reported;
  EXPECT_TRUE(Holds(messages_, "Main.PLC.Count: no answer\n")) << messages_;
  EXPECT_TRUE(Holds(messages_, "Side.Meter.Grüße.Flow: register 1/1 holds 'broken', expected a number")) << messages_;
}

TEST_F(GatewayProgram, TakesChangesWhileItRunsAndKeepsThem) {
  Write("changes.json", R"([
    {"at": 3, "rename": "Main.PLC.Ramp", "to": "Hill"},
    {"at": 3, "delete": "Side.Meter"},
    {"at": 5, "add": {"New": {"Type": "Tag", "Address": "40002", "DataType": 6, "ScanRate": 1000}}, "to": "Main.PLC"},
    {"at": 5, "add": {"Third": {"Type": "Channel", "Address": "10.0.0.9"}}, "to": ""},
    {"at": 5, "save": ")" + (folder_ / "between.xml").string() +
                            R"("}, {"at": 5, "save": "/no folder/x.bin"},
    {"at": 6, "set": {"ScanRate": 5}, "of": "Main.PLC.Count"},
    {"at": 7, "delete": "Main.Nobody"}])");
  EXPECT_EQ(RunPlant("plant.json --readings readings.csv --changes changes.json --reported out.csv --save saved "
                     "--language de --log log.txt --plot p.svg --overview o.svg "
                     "--watch Main.PLC.Count Main.PLC.No Main.PLC.New"),
            1)
      << messages_;
  const std::string log = FileText(folder_ / "log.txt");
  for (const char* part :
       {"rename Main.PLC.Ramp to Hill\n", "Main.PLC.No: there is no such tag to watch, or not yet\n",
        "set ScanRate of Main.PLC.Count: not done: ScanRate: Der Wert liegt außerhalb",
        "delete Main.Nobody: not done: there is no such object\n", "save as /no folder/x.bin: not done: "}) {
    EXPECT_TRUE(Holds(log, part)) << part << "\n" << log;
  }
  EXPECT_TRUE(Holds(out_, "5 changes made while it ran, 3 not done")) << out_;
  const std::string reported = FileText(folder_ / "out.csv");
  EXPECT_TRUE(Holds(reported, "Main.PLC.Hill,80\n")) << reported;
  EXPECT_TRUE(Holds(reported, "Main.PLC.New,9\n")) << reported;
  EXPECT_TRUE(Holds(FileText(folder_ / "between.xml"), "<Name>Third</Name>"));
  const std::string saved = FileText(folder_ / "saved.json");
  for (const char* part : {"\"Hill\"", "\"New\"", "\"Third\""})
    EXPECT_TRUE(Holds(saved, part)) << part << "\n" << saved;
  EXPECT_FALSE(Holds(saved, "\"Ramp\"") || Holds(saved, "\"Meter\"")) << saved;
  const std::string plot = FileText(folder_ / "p.svg");
  EXPECT_TRUE(Holds(plot, "Main.PLC.Count") && Holds(plot, "Main.PLC.New") && !Holds(plot, "Main.PLC.No")) << plot;
  EXPECT_TRUE(Holds(FileText(folder_ / "o.svg"), "Main.PLC"));
}

TEST_F(GatewayProgram, TellsWhatIsWrongWithAProjectInTheUsersLanguage) {
  std::string text = kProject;
  text.replace(text.find("\"ScanRate\": 500"), 15, "\"ScanRate\": 1");
  text.replace(text.find("\"RawHigh\": 10000"), 16, "\"RawHigh\": 0");
  Write("limits.json", text);
  EXPECT_EQ(RunPlant("limits.json --language de"), 1);
  for (const char* part : {"Plant.Main.PLC.Ramp: ScanRate: Der Wert liegt außerhalb des Bereichs.",
                           "Plant.Main.PLC.Ramp: Scaling: Der Rohbereich muss steigen"}) {
    EXPECT_TRUE(Holds(messages_, part)) << part << "\n" << messages_;
  }
  text = kProject;
  text.replace(text.find("\"Tag\""), 5, "\"Tug\"");
  Write("types.json", text);
  EXPECT_EQ(RunPlant("types.json --language de"), 3);
  EXPECT_TRUE(Holds(messages_, "types.json, Zeile 3")) << messages_;
  EXPECT_TRUE(Holds(messages_, "Tug")) << messages_;
}

TEST_F(GatewayProgram, GoesByItsSettingsFileUnlessTheCommandLineSaysOtherwise) {
  const std::string product = "Velnora/Gateway/V" + std::to_string(std::atoi(GATEWAY_VERSION));
  const std::string call = "plant.json --readings readings.csv";
  const std::string machine = "ZORUTIL_MACHINE_DATA_DIR='" + folder_.string() + "'";
  EXPECT_EQ(Run(call, machine), 0) << messages_;
  EXPECT_FALSE(fs::exists(folder_ / "Velnora"));
  fs::create_directories(folder_ / product);
  Write(product + "/settings.ini", "[Gateway]\nLog=a.log\nLogIntervalMs=7000\nDefinitions=" GATEWAY_DEFINITIONS "\n");
  EXPECT_EQ(Run(call + " --log b.log", machine), 0) << messages_;
  EXPECT_TRUE(Holds(out_, "of a kind in 7 s")) << out_;
  EXPECT_TRUE(fs::exists(folder_ / "b.log") && !fs::exists(folder_ / "a.log"));
}

TEST_F(GatewayProgram, ExitsByWhatItFound) {
  Write("bad.csv",
        "time,station,address,value\nnever,x/1,1,1\n2026-01-01T00:00:00,10.0.0.1:502/1,40001,5\n"
        "9999-12-31T23:59:59,10.0.0.1:502/1,40001,6\n");
  Write("empty.csv", "time,station,address,value\n");
  Write("wrong.ini", "[Gateway]\nSliceMs=1\n");
  Write("script.json", R"([{"at": 1, "destroy": "all"}])");
  Write("cut.bin", "\x89ZPJ");
  const struct {
    const char* arguments;
    int code;
    const char* message;
  } cases[] = {{"plant.json --readings bad.csv", 1, "bad.csv:2:1: time 'never'"},
               {"plant.json --readings empty.csv", 3, "empty.csv: no reading"},
               {"plant.json --readings none.csv", 3, "none.csv"},
               {"plant.json --readings readings.csv --changes script.json", 3, "script.json, line 1: expected one of"},
               {"plant.json --readings readings.csv --plot none/x.svg", 3, "none/x.svg: cannot write: No such file"},
               {"plant.json --save none/x", 3, "none"},
               {"plant.json --settings wrong.ini", 3, "wrong.ini:2: [Gateway] SliceMs: '1'"},
               {"plant.json --readings readings.csv --changes .", 3, ".: open: Is a directory"},
               {"/none.json", 3, "/none.json: open: No such file"},
               {"cut.bin", 3, "cut.bin"},
               {"readings.csv", 3, "readings.csv"},
               {"plant.json --updates 0", 2, "--updates"},
               {"plant.json --language klingon", 2, "klingon"},
               {"", 2, "project"}};
  for (const auto& c : cases) {
    EXPECT_EQ(RunPlant(c.arguments), c.code) << c.arguments << "\n" << messages_;
    EXPECT_TRUE(Holds(messages_, c.message)) << c.arguments << "\n" << messages_;
  }
  EXPECT_EQ(ProgramTest::Run("--help", "", "> /dev/full"), 3);
  EXPECT_EQ(RunPlant("plant.json --readings readings.csv --updates 5000 --log /dev/null"), 0) << messages_;
  EXPECT_TRUE(Holds(out_, " in memory after 5,0")) << out_;
}

TEST_F(GatewayProgram, RunsTheSamplePlant) {
  const std::string data = GATEWAY_DATA "/boiler_house";
  EXPECT_EQ(RunPlant("'" + data + ".json' --readings '" + data + ".csv' --log log.txt"), 0) << messages_;
  EXPECT_TRUE(Holds(out_, "  44   948  ")) << out_;
  EXPECT_TRUE(Holds(FileText(folder_ / "log.txt"), "Boiler 4.Furnace.QT20R: register 3/40003 holds 'CAL'"));
}

}  // namespace
