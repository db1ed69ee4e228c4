// utilctl options and product, as their users run them.
#include <algorithm>
#include <string>

#include "tests/program_testing.h"

namespace {

struct UtilctlOptions : ProgramTest {
  UtilctlOptions() : ProgramTest(UTILCTL_PROGRAM) {}
};

TEST_F(UtilctlOptions, ReadsChangesAndExplainsOneLineOfTheFile) {
  Write("a.ini", "; by hand\n[S]\nK=250\nEmpty=\nk=2\n[S]\nK=3\n");
  Write("b.ini", "[s]\nk=5\n");
  // What is called, its exit code, and what it writes.
  const std::string cases[][3] = {
      {"get s k --file a.ini", "0", "250\n"},
      {"get S None --file a.ini", "1", "a.ini: [S] None: there is no such value\n"},
      {"get S None --file a.ini --default x --level 3", "0", "x\n"},
      {"get S K --file none.ini", "3", "utilctl: none.ini: open: No such file or directory\n"},
      {"set S K --file a.ini --level 1 -- -5", "0", ""},
      {"get S K --file /dev/null", "3", "utilctl: /dev/null: not a regular file\n"},
      {"explain S K --file /dev/null", "3", "utilctl: /dev/null: not a regular file\n"},
      {"set S a=b 1 --file a.ini", "2", "utilctl: [S] a=b: no settings file can hold this name, or this very value\n"},
      {"explain S K --level 1 --file a.ini --level 7 --file b.ini --level 2 --file none.ini", "0",
       "a.ini:3: [S] K = -5\n  given again in line 5, which has no effect\n  given again in line 7, which has no "
       "effect\n"
       "  read as a number: 0\nlevel 0, of no effect at level 1: b.ini:2: 5\n"
       "level 2, of no effect at level 1: none.ini: not there\n"},
      {"explain S None --file a.ini", "0",
       "a.ini: [S] None is not there: at level 0 a program takes its own default\n"},
      {"explain S K --level 7 --file a.ini --level 0 --file b.ini", "2", "utilctl: --level: 0 was given twice\n"},
      {"unset S k --file b.ini", "0", ""},
      {"unset S k --file b.ini", "1", "b.ini: [S] k: there is no such value\n"},
      {"list --file b.ini", "0", "[s]\n"}};
  for (const auto& [arguments, code, out] : cases) {
    EXPECT_EQ(std::to_string(Run("options " + arguments)) + out_ + messages_, code + out) << arguments;
  }
  EXPECT_TRUE(FileText(folder_ / "a.ini").starts_with("; by hand\n[S]\nK=-5\nEmpty=\n"));
}

TEST_F(UtilctlOptions, ListsOfAHugeFileWhatSomebodyMightRead) {
  std::string text = "[S]\nLong" + std::string(1'000'000, 'x') + "=1\n";
  for (int i = 0; i < 20'000; ++i) text += "K" + std::to_string(i) + "=1\n";
  Write("huge.ini", text);
  Run("options list --file huge.ini");
  EXPECT_TRUE(out_.ends_with("and 10002 more lines, which --json has\n") && out_.size() < 200'000) << out_.size();
}

TEST_F(UtilctlOptions, LosesNoneOfTheValuesThatManySetAtOnce) {
  const std::string set = " " UTILCTL_PROGRAM " options set S K$i $i --file many.ini & ";
  EXPECT_EQ(Run("options get S K9 --file many.ini", "for i in 1 2 3 4 5 6 7 8 9; do" + set + "done; wait;"), 0);
  const std::string all = FileText(folder_ / "many.ini");
  EXPECT_EQ(std::count(all.begin(), all.end(), '='), 9) << all;
}

TEST_F(UtilctlOptions, ShowsWhereAProductKeepsItsFiles) {
  Write("product.ini", "[Product]\nName=A/B\nVersion=6\n[Paths]\nAppData=/srv/plant\n");
  EXPECT_EQ(Run("product show --app-dir .", "XDG_DATA_HOME=/data"), 0);
  for (const char* const line : {"product name: A/B\n    from product.ini, [Product] Name\n",
                                 "directory: /data//A_B/V6/\n    from XDG_DATA_HOME; no company was set yet\n",
                                 "file: /srv/plant/Velnora/A_B/V6/runtime.ini\n"}) {
    EXPECT_NE(out_.find(line), std::string::npos) << line << out_;
  }
  std::filesystem::remove(folder_ / "product.ini");
  std::filesystem::copy_file(UTILCTL_PROGRAM, folder_ / "Server.Tool.exe");
  const std::string show = "LD_LIBRARY_PATH='" LIBRARY_FOLDER "' ./Server.Tool.exe product show > out";
  EXPECT_EQ(std::system(("cd '" + folder_.string() + "' && " + show).c_str()), 0);
  EXPECT_TRUE(FileText(folder_ / "out").starts_with("product name: Server.Tool\n"));
  EXPECT_EQ(Run("registry set HKEY_USERS n 1", "ZORUTIL_REGISTRY_FILE= ZORUTIL_MACHINE_DATA_DIR=m"), 0) << messages_;
  EXPECT_TRUE(std::filesystem::exists(folder_ / "m/zorutil/registry.db"));
}

}  // namespace
