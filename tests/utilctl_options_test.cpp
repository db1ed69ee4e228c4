// utilctl options and product, as their users run them.
#include "tests/program_testing.h"

namespace {

namespace fs = std::filesystem;

class UtilctlOptions : public ProgramTest {
 protected:
  UtilctlOptions() : ProgramTest(UTILCTL_PROGRAM) {}
};

TEST_F(UtilctlOptions, ReadsAndChangesOneLineOfTheFile) {
  Write("a.ini", "; by hand\n[Scan]\nRateMs = 250\nEmpty=\nLines=\"a\\nb\\t\"\n");
  const struct {
    const char* arguments;
    int code;
    const char* out;
    const char* messages;
  } cases[] = {
      {"get scan RATEMS --file a.ini", 0, "250\n", ""},
      {"get Scan Empty --file a.ini --level 3 --default x", 0, "\n", ""},
      {"get Scan None --file a.ini", 1, "", "a.ini: [Scan] None: there is no such value\n"},
      {"get Scan None --file a.ini --default x", 0, "x\n", ""},
      {"get Scan None --file none.ini", 3, "", "utilctl: none.ini: open: No such file or directory\n"},
      {"get Scan None --file a.ini --level one", 2, "", "utilctl: --level: expected a number, 0 to 3\n"},
      {"set Scan RateMs --file a.ini -- -5", 0, "", ""},
      {"set Scan None 1 --file no/a.ini", 3, "", "utilctl: no/a.ini: open: No such file or directory\n"},
      {"set Scan a=b 1 --file a.ini", 2, "",
       "utilctl: [Scan] a=b: no settings file can hold this name, or this very value\n"},
      {"unset Scan Empty --file a.ini", 0, "", ""},
      {"unset Scan Empty --file a.ini", 1, "", "a.ini: [Scan] Empty: there is no such value\n"},
      {"list --file a.ini", 0, "[Scan]\n  RateMs = -5\n  Lines = a\\nb\\u0009\n", ""},
      {"list scan --file a.ini --json", 0,
       "{\n  \"sections\": {\n    \"Scan\": {\n      \"RateMs\": \"-5\",\n      \"Lines\": \"a\\nb\\t\"\n    }\n  },\n "
       " \"problems\": []\n}\n",
       ""},
      {"list Other --file a.ini", 1, "", "a.ini: [Other]: there is no such section\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Run(std::string("options ") + c.arguments), c.code) << c.arguments;
    EXPECT_EQ(out_, c.out) << c.arguments;
    EXPECT_EQ(messages_, c.messages) << c.arguments;
  }
  EXPECT_EQ(FileText(folder_ / "a.ini"), "; by hand\n[Scan]\nRateMs = -5\nLines=\"a\\nb\\t\"\n");
  EXPECT_EQ(Run("options set New K v --file new.ini"), 0);
  EXPECT_EQ(FileText(folder_ / "new.ini"), "[New]\nK=v\n");
  EXPECT_EQ(Run("options unset New --file new.ini"), 0);
  EXPECT_EQ(FileText(folder_ / "new.ini"), "");
}

TEST_F(UtilctlOptions, ExplainsWhatAProgramMakesOfAValue) {
  Write("a.ini",
        "[S]\nK=1\nWord=abc\nEmpty=\nSent=@xxxyyyzzz!&*#$%\nLong=" + std::string(300, '1') + "\nk=2\n[S]\nK=3");
  Write("b.ini", "[s]\nk=5\n");
  EXPECT_EQ(Run("options explain S K --level 1 --file a.ini --level 7 --file b.ini --level 2 --file none.ini"), 0);
  EXPECT_EQ(
      out_,
      "a.ini:2: [S] K = 1\n  given again in line 7, which has no effect\n  given again in line 9, which has no "
      "effect\nlevel 0, of no effect at level 1: b.ini:2: 5\nlevel 2, of no effect at level 1: none.ini: not there\n");
  const struct {
    const char* key;
    const char* note;
  } cases[] = {{"Word", "  read as a number: 0\n"},
               {"Empty", "  empty: where a number is read, the program's default is taken\n"},
               {"Sent", "  this very text stands for a value that is not there\n"},
               {"Long", "  a text of 300 characters: cut to 255 whenever it is not read for the first time\n"},
               {"None", "a.ini: [S] None is not there: at level 0 a program takes its own default\n"}};
  for (const auto& c : cases) {
    EXPECT_EQ(Run(std::string("options explain S ") + c.key + " --file a.ini"), 0) << messages_;
    EXPECT_NE(out_.find(c.note), std::string::npos) << out_;
  }
  EXPECT_EQ(Run("options explain S K --file a.ini --file b.ini"), 2);
  EXPECT_EQ(Run("options explain S K --level 7 --file a.ini --level 0 --file b.ini"), 2);
}

TEST_F(UtilctlOptions, ShowsWhereAProductKeepsItsFilesAndMakesNone) {
  Write("product.ini", "[Product]\nName=A/B\nVersion=6\n[Paths]\nAppData=/srv/plant\n");
  EXPECT_EQ(Run("product show --app-dir .", "XDG_DATA_HOME=/data HOME=/home/u"), 0);
  for (const char* const line :
       {"product name: A/B\n    from product.ini, [Product] Name\n",
        "application profile directory: /data//A_B/V6/\n    from XDG_DATA_HOME; no company was set yet\n",
        "runtime settings file: /srv/plant/Velnora/A_B/V6/runtime.ini\n",
        "shared profile directory: /srv/plant/Velnora/common/\n    from product.ini, [Paths] AppData\n"}) {
    EXPECT_NE(out_.find(line), std::string::npos) << line << out_;
  }
  EXPECT_NE(out_.find("\nproduct file: " + fs::canonical(folder_).string() + "/product.ini\n"), std::string::npos);
  fs::copy_file(UTILCTL_PROGRAM, folder_ / "Server.Tool.exe");
  fs::remove(folder_ / "product.ini");
  EXPECT_EQ(std::system(("cd '" + folder_.string() + "' && ./Server.Tool.exe product show > out").c_str()), 0);
  EXPECT_TRUE(
      FileText(folder_ / "out").starts_with("product name: Server.Tool\n    from the name of the program's file\n"));
}

}  // namespace
