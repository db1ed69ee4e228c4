// The program replay as its users run it: files, standard input, exit codes.
#include "tests/program_testing.h"

namespace {

class ReplayProgram : public ProgramTest {
 protected:
  ReplayProgram() : ProgramTest("'" REPLAY_PROGRAM "'") {
    Write("tags.csv",
          "name,raw type,scaling type,raw low,raw high,scaled type,scaled low,scaled high,deadband\n"
          "P1,Short,Linear,0,100,Double,0,10,0.5\n");
    Write("good.csv",
          "time,tag,value\n2026-01-01T00:00:00.000,P1,10\n2026-01-01T00:00:01.000,P1,14\n"
          "2026-01-01T00:00:02.000,P1,15\n");
    Write("bad.csv", "time,tag,value\n2026-01-01T00:00:00.000,P2,10\n2026-01-01T00:00:01.000,P1,14\n");
  }

  const std::string changes_ = "time,tag,value\n2026-01-01T00:00:00.000,P1,1\n2026-01-01T00:00:02.000,P1,1.5\n";
};

TEST_F(ReplayProgram, WritesTheChangesOfAFileAndOfStandardInput) {
  EXPECT_EQ(Run("--tags tags.csv --input good.csv"), 0) << messages_;
  EXPECT_EQ(out_, changes_);
  EXPECT_NE(messages_.find("3 readings, 2 reported, 33.3 % suppressed"), std::string::npos) << messages_;
  EXPECT_EQ(Run("--tags tags.csv --input -", "cat good.csv |"), 0);
  EXPECT_EQ(out_, changes_);
  EXPECT_EQ(Run("--tags tags.csv < good.csv"), 0);
  EXPECT_EQ(out_, changes_);
}

TEST_F(ReplayProgram, PassesALiveStreamThroughAtOnce) {
  // The last reading is sent only once the changes before it have come out.
  const std::string waitForChanges =
      "for i in $(seq 100); do if [ \"$(cat out 2> /dev/null | wc -l)\" = 3 ]; then "
      "echo 2026-01-01T00:00:03.000,P1,90; break; fi; sleep 0.05; done";
  EXPECT_EQ(Run("--tags tags.csv", "rm -f out; (cat good.csv; " + waitForChanges + ") |"), 0);
  EXPECT_EQ(out_, changes_ + "2026-01-01T00:00:03.000,P1,9\n");
}

TEST_F(ReplayProgram, ExitsByWhatItFound) {
  EXPECT_EQ(Run("--tags tags.csv --input bad.csv"), 1);
  EXPECT_EQ(out_, "time,tag,value\n2026-01-01T00:00:01.000,P1,1.4\n");
  EXPECT_TRUE(messages_.starts_with("bad.csv:2:25: unknown tag 'P2'")) << messages_;
  EXPECT_EQ(Run("--tags tags.csv --input bad.csv --strict"), 1);
  EXPECT_EQ(out_, "time,tag,value\n");
  EXPECT_EQ(Run("--tags bad.csv --input good.csv"), 3);
  EXPECT_EQ(Run("--input good.csv"), 2);
  EXPECT_EQ(Run("--tags tags.csv --messages many"), 2);
  EXPECT_EQ(Run("--help"), 0);
  EXPECT_TRUE(out_.starts_with("Example: replay --tags")) << out_;
  EXPECT_EQ(Run("--version"), 0);
  EXPECT_TRUE(out_.starts_with("replay ")) << out_;
}

TEST_F(ReplayProgram, TakesADocumentOfTagsAndSpeaksTheUsersLanguage) {
  EXPECT_EQ(Run("--tags tags.csv --save-tags tags.xml"), 0) << messages_;
  EXPECT_EQ(Run("--tags tags.xml --input good.csv"), 0) << messages_;
  EXPECT_EQ(out_, changes_);
  std::string crossed = FileText(folder_ / "tags.xml");
  crossed.replace(crossed.find("<LowRange>0"), 11, "<LowRange>11");
  Write("crossed.xml", crossed);
  EXPECT_EQ(Run("--tags crossed.xml --input good.csv --language de-CH"), 3);
  EXPECT_TRUE(messages_.starts_with("crossed.xml:19:1: Deadband: Die Untergrenze darf nicht ")) << messages_;
  Write("crossed.xml", "<!DOCTYPE Tags []><Tags/>");
  EXPECT_EQ(Run("--tags crossed.xml --input good.csv --language de"), 3);
  EXPECT_TRUE(messages_.starts_with("crossed.xml, Zeile 1, ")) << messages_;
  Write("english.csv", "name,scaling type\nP1,Square Root\n");
  EXPECT_EQ(Run("--tags english.csv --save-tags german.xml --language de"), 0) << messages_;
  EXPECT_NE(FileText(folder_ / "german.xml").find("<Type>Quadratwurzel"), std::string::npos);
  EXPECT_EQ(Run("--tags tags.csv --language klingon"), 2);
  EXPECT_NE(messages_.find("such as de (Deutsch) en (English)"), std::string::npos) << messages_;
}

TEST_F(ReplayProgram, NamesTheFileThatCannotBeReadOrWritten) {
  EXPECT_EQ(Run("--tags none.csv"), 3);
  EXPECT_NE(messages_.find("none.csv"), std::string::npos) << messages_;
  EXPECT_EQ(Run("--tags tags.csv --input none.csv"), 3);
  EXPECT_NE(messages_.find("none.csv"), std::string::npos) << messages_;
  EXPECT_EQ(Run("--tags tags.csv --input good.csv --plot none/x.svg"), 3);
  EXPECT_NE(messages_.find("none/x.svg: cannot write: No such file"), std::string::npos) << messages_;
  EXPECT_EQ(Run("--tags tags.csv --input good.csv", "", "> /dev/full"), 3);
  EXPECT_NE(messages_.find("standard output: cannot write: No space left"), std::string::npos) << messages_;
}

TEST_F(ReplayProgram, SaysSoWhenNobodyReadsItsOutput) {
  Run("--tags tags.csv 2> closed; echo $? > code) | true", "(sleep 0.3; cat good.csv) | (");
  EXPECT_EQ(FileText(folder_ / "code"), "3\n");
  EXPECT_EQ(FileText(folder_ / "closed"), "replay: standard output: cannot write: Broken pipe\n");
}

TEST_F(ReplayProgram, DrawsTheSamplePlant) {
  const std::string data = ZORUTIL_SOURCE_DIR "/examples/data/";
  EXPECT_EQ(Run("--tags '" + data + "plant_tags.csv' --input '" + data + "plant_readings.csv' --plot plant.svg"), 0);
  EXPECT_NE(messages_.find("104,400 readings"), std::string::npos) << messages_;
  const std::string svg = FileText(folder_ / "plant.svg");
  EXPECT_TRUE(svg.starts_with("<svg ")) << svg.substr(0, 80);
  EXPECT_TRUE(svg.ends_with("</svg>\n"));
  for (const char* tag : {"FT101", "TT201", "LT301", "IT401", "FQ101", "ST400"}) {
    EXPECT_NE(svg.find(tag), std::string::npos) << tag;
  }
}

}  // namespace
