// utilctl registry as its users run it.
#include "tests/program_testing.h"

namespace {

class UtilctlRegistry : public ProgramTest {
 protected:
  UtilctlRegistry() : ProgramTest("ZORUTIL_REGISTRY_FILE=r.db '" UTILCTL_PROGRAM "' registry") {}
};

TEST_F(UtilctlRegistry, SetsAndShowsValuesOfEveryType) {
  const struct {
    const char* type;
    const char* data;
    const char* shown;
  } cases[] = {{"REG_SZ", "'an \"ä\"'", "an \"ä\"\n"},  {"REG_SZ", "''", "\n"},
               {"REG_EXPAND_SZ", "%A%", "%A%\n"},       {"REG_DWORD", "0xffffffff", "4294967295\n"},
               {"REG_BINARY", "00ff 10", "00 ff 10\n"}, {"REG_BINARY", "", "\n"},
               {"REG_MULTI_SZ", "a 'b c'", "a\nb c\n"}, {"REG_MULTI_SZ", "", ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.type << ' ' << c.data);
    EXPECT_EQ(Run("set 'hkey_users\\a\\b' V " + std::string(c.data) + " --type " + c.type), 0) << messages_;
    EXPECT_EQ(Run("get 'HKEY_USERS\\A\\B' v"), 0) << messages_;
    EXPECT_EQ(out_, c.shown);
  }
  EXPECT_EQ(Run("set 'HKEY_USERS\\a' '' x"), 0);
  EXPECT_EQ(Run("get 'HKEY_USERS\\a'"), 0);
  EXPECT_EQ(out_, "x\n");
  EXPECT_EQ(Run("list 'HKEY_USERS\\a'"), 0);
  EXPECT_EQ(out_, "b\\\n\"\" = REG_SZ \"x\"\n");
  EXPECT_EQ(Run("list 'HKEY_USERS\\a' --json"), 0);
  std::erase_if(out_, [](char each) { return each == ' ' || each == '\n'; });
  EXPECT_EQ(out_, R"({"keys":["b"],"values":[{"name":"","type":"REG_SZ","value":"x"}],"problems":[]})");
  EXPECT_EQ(Run("delete 'HKEY_USERS\\a'"), 1);
  EXPECT_NE(messages_.find("r.db: HKEY_USERS\\a: it has subkeys"), std::string::npos) << messages_;
  EXPECT_EQ(Run("delete 'HKEY_USERS\\a\\b' V"), 0);
  EXPECT_EQ(Run("get 'HKEY_USERS\\a\\b' V"), 1);
  EXPECT_NE(messages_.find("r.db: HKEY_USERS\\a\\b: no value \"V\""), std::string::npos) << messages_;
  EXPECT_EQ(Run("delete 'HKEY_USERS\\a' --tree"), 0);
  EXPECT_EQ(Run("list HKEY_USERS"), 0);
  EXPECT_EQ(out_, "");
}

TEST_F(UtilctlRegistry, ExportsWhatImportReadsBackWholeOrNotAtAll) {
  const std::string text =
      "registry 1\n\n[HKEY_USERS\\a]\n\"list\" = REG_MULTI_SZ \"x\" \"y\"\n\"odd\" = REG_SZ bytes 41\n\n"
      "[HKEY_USERS\\a\\ü b]\n\"n\" = REG_DWORD 7\n";
  Write("in.txt", text);
  EXPECT_EQ(Run("import in.txt --check"), 0);
  EXPECT_EQ(Run("export 'HKEY_USERS\\a'"), 1) << "nothing is there yet";
  EXPECT_EQ(Run("import - < in.txt"), 0) << messages_;
  EXPECT_EQ(out_, "2 keys, 3 values\n");
  EXPECT_EQ(Run("export 'HKEY_USERS\\a' --out out.txt"), 0);
  EXPECT_EQ(temp_.Get("out.txt"), text);
  EXPECT_EQ(Run("get 'HKEY_USERS\\a' odd"), 1);
  EXPECT_EQ(out_ + messages_, "41\nodd: the data is not that of REG_SZ\n");
  Write("bad.txt", "registry 1\n[HKEY_USERS\\new]\n\"a\" = REG_DWORD x\n\n\"b\" = REG_SZ\n");
  EXPECT_EQ(Run("import bad.txt"), 1);
  EXPECT_EQ(messages_, "bad.txt:3: expected a number from 0 to 4294967295\nbad.txt:5: expected a text in quotes\n");
  EXPECT_EQ(Run("list 'HKEY_USERS\\new'"), 1);
}

TEST_F(UtilctlRegistry, TellsWrongCallsFromFilesThatCannotBeUsed) {
  for (const char* call : {"get HKEY_X", "get 'HKEY_USERS\\'", "get 'HKEY_USERS\\\\x'", "set HKEY_USERS n 1 2",
                           "set HKEY_USERS n x --type REG_DWORD", "set HKEY_USERS n 123 --type REG_BINARY",
                           "set HKEY_USERS n x --type REG_QWORD", "delete HKEY_USERS", "delete HKEY_USERS n --tree"}) {
    EXPECT_EQ(Run(call), 2) << call;
    EXPECT_NE(messages_, "");
  }
  Write("text", "no registry");
  EXPECT_EQ(Run("list HKEY_USERS --file text"), 3);
  EXPECT_EQ(messages_.find("utilctl: " + folder_.string() + "/text: "), 0U) << messages_;
  EXPECT_EQ(Run("import none.txt"), 3);
}

}  // namespace
