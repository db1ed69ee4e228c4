// utilctl registry as its users run it.
#include <tuple>

#include "tests/program_testing.h"

namespace {

struct UtilctlRegistry : ProgramTest {
  UtilctlRegistry() : ProgramTest("ZORUTIL_REGISTRY_FILE=r.db '" UTILCTL_PROGRAM "' registry") {}
};

TEST_F(UtilctlRegistry, ReadsAndChangesTheRegistry) {
  Write(
      "in",
      "registry 1\n\n[HKEY_USERS\\k]\n\"l\" = REG_MULTI_SZ \"x\" \"y\"\n\n[HKEY_USERS\\k\\ü b]\n\"n\" = REG_DWORD 7\n");
  Write("bad", "\xEF\xBB\xBFregistry 1\r\n[HKEY_USERS\\new]\r\n\"a\" = REG_DWORD x\n\n\"b\" = REG_SZ\n");
  Write("text", "no registry");
  // Arguments, exit code, standard output and the end of the messages.
  const std::tuple<const char*, int, const char*, const char*> calls[] = {
      {"set 'hkey_users\\a\\b' V 'an \"ä\"'", 0, "", ""},
      {"get 'HKEY_USERS\\A\\B' v", 0, "an \"ä\"\n", ""},
      {"set 'HKEY_USERS\\a\\b' V 00fF 10 --type REG_BINARY", 0, "", ""},
      {"get 'HKEY_USERS\\a\\b' V", 0, "00 ff 10\n", ""},
      {"set 'HKEY_USERS\\a\\b' V a 'b c' --type REG_MULTI_SZ", 0, "", ""},
      {"get 'HKEY_USERS\\a\\b' V", 0, "a\nb c\n", ""},
      {"set 'HKEY_USERS\\a' '' %A% --type REG_EXPAND_SZ", 0, "", ""},
      {"list 'HKEY_USERS\\a'", 0, "b\\\n\"\" = REG_EXPAND_SZ \"%A%\"\n", ""},
      {"delete 'HKEY_USERS\\a'", 1, "", "r.db: HKEY_USERS\\a: it has subkeys\n"},
      {"delete 'HKEY_USERS\\a\\b' V", 0, "", ""},
      {"get 'HKEY_USERS\\a\\b' V", 1, "", "r.db: HKEY_USERS\\a\\b: no value \"V\"\n"},
      {"delete 'HKEY_USERS\\a' --tree", 0, "", ""},
      {"import - < in", 0, "2 keys, 2 values\n", ""},
      {"export 'HKEY_USERS\\k' --out copy", 0, "", ""},
      {"import bad", 1, "", "bad:3: expected a number from 0 to 4294967295\nbad:5: expected a text in quotes\n"},
      {"list 'HKEY_USERS\\new'", 1, "", "r.db: HKEY_USERS\\new: no such key\n"},
      {"get HKEY_X", 2, "", "a key begins with HKEY_LOCAL_MACHINE or HKEY_USERS, and does not end in \\\n"},
      {"set HKEY_USERS n 123 --type REG_BINARY", 2, "", "expected bytes of two hexadecimal digits each\n"},
      {"list HKEY_USERS --file text", 3, "", "(file is not a database)\n"}};
  for (const auto& [arguments, code, out, message] : calls) {
    EXPECT_EQ(Run(arguments), code) << arguments;
    EXPECT_EQ(out_, out) << arguments;
    EXPECT_TRUE(messages_.ends_with(message)) << arguments << ": " << messages_;
  }
  EXPECT_EQ(temp_.Get("copy"), temp_.Get("in"));
}

}  // namespace
