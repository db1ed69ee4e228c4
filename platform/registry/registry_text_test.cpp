#include "platform/registry/registry_text.h"

#include <gtest/gtest.h>

#include "platform/framework/temp_folder_testing.h"

namespace {

using namespace registry;

// The form is kept by people and programs: it does not change.
constexpr const char* kText = R"(registry 1

[HKEY_LOCAL_MACHINE]

[HKEY_LOCAL_MACHINE\Software\Acme "x" ] y]
"" = REG_SZ "\"ä\" \\ \r\n\t\u0000\ud800\u0085 😀"
"bytes" = REG_BINARY 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f
    20
"expand" = REG_EXPAND_SZ "%DATA%\\x"
"list" = REG_MULTI_SZ "a" "b c"
"list, empty" = REG_MULTI_SZ
"list, none" = REG_MULTI_SZ bytes
"nothing" = REG_BINARY
"number" = REG_DWORD 4294967295
"odd" = REG_SZ bytes 41 00 42
"short" = REG_DWORD bytes 01

["HKEY_USERS\\a\nb\\\udc00"]
)";

TEST(RegistryText, PrintsEveryTypeInAFormThatReadsBackTheSame) {
  std::vector<std::uint8_t> bytes(33);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i);
  const CString texts[] = {u"a", u"b c"};
  const std::u16string odd = u"\"ä\" \\ \r\n\t" + std::u16string{u'\0', 0xD800, 0x85} + u" 😀";
  const std::vector<key_values_t> keys{{HKEY_LOCAL_MACHINE, u"", {}},
                                       {HKEY_LOCAL_MACHINE,
                                        u"Software\\Acme \"x\" ] y",
                                        {{u"", value_t::FromText(odd)},
                                         {u"bytes", value_t::FromBinary(bytes)},
                                         {u"expand", value_t::FromText(u"%DATA%\\x", REG_EXPAND_SZ)},
                                         {u"list", *value_t::FromList(texts)},
                                         {u"list, empty", *value_t::FromList({})},
                                         {u"list, none", {REG_MULTI_SZ, {}}},
                                         {u"nothing", {REG_BINARY, {}}},
                                         {u"number", value_t::FromDword(0xFFFFFFFF)},
                                         {u"odd", {REG_SZ, {0x41, 0, 0x42}}},
                                         {u"short", {REG_DWORD, {1}}}}},
                                       {HKEY_USERS, CString(u"a\nb\\" + std::u16string(1, 0xDC00)), {}}};
  EXPECT_EQ(PrintText(keys), kText);
  std::vector<text_problem_t> problems;
  EXPECT_TRUE(ParseText(kText, problems) == keys);
  std::string other = "\xEF\xBB\xBF";
  for (const char c : std::string_view(kText)) other += c == '\n' ? "  \r\n" : std::string(1, c);
  other.replace(other.find("  \r\n"), 2, "");
  EXPECT_TRUE(ParseText(other, problems) == keys);
  for (const text_problem_t& problem : problems) ADD_FAILURE() << problem.line << ": " << problem.cause;

  // The same through a registry.
  const CTempFolder folder;
  SetRegistryFile(folder.PathOf("r.db"));
  EXPECT_TRUE(WriteKeys(keys));
  std::vector<key_values_t> read;
  EXPECT_TRUE(ReadTree(HKEY_LOCAL_MACHINE, u"", read));
  EXPECT_EQ(read.size(), 3U);
  EXPECT_TRUE(read.back() == keys[1]);
  std::vector<key_values_t> bad{{HKEY_USERS, u"new", {}}, {HKEY_USERS, u"b", {{u"v", {static_cast<type_t>(9), {}}}}}};
  EXPECT_EQ(WriteKeys(bad).code, code_t::invalidParameter);
  EXPECT_EQ(ReadTree(HKEY_USERS, u"new", read).code, code_t::fileNotFound) << "all or none";
  SetRegistryFile({});
}

TEST(RegistryText, NamesTheLineOfEveryFault) {
  const struct {
    const char* line;
    const char* cause;
  } cases[] = {{"[HKEY_USERS\\a", "the closing ] is missing"},
               {"[", "the closing ] is missing"},
               {"[HKEY_USER\\a]", "a path begins with HKEY_LOCAL_MACHINE or HKEY_USERS, and does not end in \\"},
               {"[HKEY_USERS\\]", "a path begins with HKEY_LOCAL_MACHINE or HKEY_USERS, and does not end in \\"},
               {"[hkey_users\\a\\\\b]", "HKEY_USERS\\a\\\\b: each name in a path has 1 to 255 characters, none NUL"},
               {"[\"HKEY_USERS\" x]", "something stands behind the path"},
               {"v = REG_SZ \"\"", "expected the name of a value in quotes"},
               {"\"v REG_SZ", "the closing quote is missing"},
               {"\"v\" REG_SZ", "expected = behind the name"},
               {"\"v\\", "behind \\ stands one of \\ \" n r t, or u and four hexadecimal digits"},
               {"\"\\u12g4\"", "behind \\ stands one of \\ \" n r t, or u and four hexadecimal digits"},
               {"\"\\u0000\" = REG_SZ \"\"", "the name of a value has at most 16383 characters, none of them NUL"},
               {"\"v\" = REG_QWORD 1", "expected a type, such as REG_SZ, instead of \"REG_QWORD\""},
               {"\"v\" = REG_SZ", "expected a text in quotes"},
               {"\"v\" = REG_SZ \"a\" \"b\"", "something stands behind the value"},
               {"\"v\" = REG_DWORD 4294967296", "expected a number from 0 to 4294967295"},
               {"\"v\" = REG_DWORD -1", "expected a number from 0 to 4294967295"},
               {"\"v\" = REG_DWORD 0x", "expected a number from 0 to 4294967295"},
               {"\"v\" = REG_BINARY 0", "expected bytes of two hexadecimal digits each"},
               {"\"v\" = REG_BINARY 000", "expected bytes of two hexadecimal digits each"},
               {"\"v\" = REG_BINARY -1", "expected bytes of two hexadecimal digits each"},
               {"\"v\" = REG_MULTI_SZ \"a\" \"\"", "a text of a list cannot be empty or hold a NUL"},
               {" 00", "only bytes go on in a line that begins with a blank"},
               {"\"v\" = REG_SZ \"\xC3\"", "the line is not UTF-8"}};
  for (const auto& c : cases) {
    std::vector<text_problem_t> problems;
    const std::string text = "registry 1\n[HKEY_USERS\\k]\n\"g\" = REG_SZ \"\"\n" + std::string(c.line) + "\n# end";
    EXPECT_TRUE(ParseText(text, problems).empty());
    ASSERT_EQ(problems.size(), 1U) << c.line;
    EXPECT_EQ(problems[0].line, 4);
    EXPECT_EQ(problems[0].cause, c.cause);
  }
  std::vector<text_problem_t> problems;
  EXPECT_TRUE(ParseText("registry 1\n\"v\" = REG_SZ \"\"\n[x]\n\"w\" = REG_SZ\n", problems).empty());
  EXPECT_EQ(problems.size(), 3U);
  EXPECT_TRUE(ParseText("[a]\n[b]\n", problems).empty());
  EXPECT_EQ(problems.size(), 1U) << "another kind of file";
}

}  // namespace
