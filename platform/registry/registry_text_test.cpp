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
"list" = REG_MULTI_SZ "a" "b c"
"list, empty" = REG_MULTI_SZ
"list, none" = REG_MULTI_SZ bytes
"number" = REG_DWORD 4294967295
"odd" = REG_EXPAND_SZ bytes 41 00 42

["HKEY_USERS\\a\nb\\\udc00"]
)";

TEST(RegistryText, PrintsEveryTypeInAFormThatReadsBackTheSame) {
  std::vector<text_problem_t> problems;
  std::vector<key_values_t> keys = ParseText(kText, problems);
  ASSERT_EQ(keys.size(), 3U);
  EXPECT_EQ(PrintText(keys), kText);
  EXPECT_EQ(keys[2].path, u"a\nb\\" + std::u16string(1, 0xDC00));
  std::vector<value_t> values;
  for (const named_value_t& each : keys[1].values) values.push_back(each.value);
  const CString list[] = {u"a", u"b c"};
  const std::u16string odd = u"\"ä\" \\ \r\n\t" + std::u16string{u'\0', 0xD800, 0x85} + u" 😀";
  EXPECT_EQ(values, (std::vector<value_t>{value_t::FromText(odd),
                                          values[1],
                                          *value_t::FromList(list),
                                          *value_t::FromList({}),
                                          {REG_MULTI_SZ, {}},
                                          value_t::FromDword(0xFFFFFFFF),
                                          {REG_EXPAND_SZ, {0x41, 0, 0x42}}}));
  EXPECT_TRUE(values[1].type == REG_BINARY && values[1].data.size() == 33 && values[1].data[32] == 32);

  // The same through a registry.
  const CTempFolder folder;
  SetRegistryFile(folder.PathOf("r.db"));
  std::vector<key_values_t> read;
  EXPECT_TRUE(WriteKeys(keys) && ReadTree(HKEY_LOCAL_MACHINE, u"", read));
  EXPECT_TRUE(read.size() == 3 && read.back() == keys[1]);
  keys[1].values[0].value.type = static_cast<type_t>(9);
  keys[0].path = u"new";
  EXPECT_EQ(WriteKeys(keys).code, code_t::invalidParameter);
  EXPECT_EQ(ReadTree(HKEY_LOCAL_MACHINE, u"new", read).code, code_t::fileNotFound) << "all or none";
}

TEST(RegistryText, NamesTheLineOfEveryFault) {
  const std::pair<const char*, const char*> cases[] = {{"[HKEY_USERS\\a", "the closing ]"},
                                                       {"[HKEY_USER\\a]", "a path begins with HKEY_LOCAL_MACHINE or"},
                                                       {"\"\\u12g4\"", "behind \\ stands one of"},
                                                       {"\"v\" = REG_SZ \"a\" \"b\"", "something stands behind the v"},
                                                       {"\"v\" = REG_DWORD 4294967296", "expected a number from 0 to"},
                                                       {"\"v\" = REG_BINARY 000", "expected bytes of two"},
                                                       {" 00", "only bytes go on in a line"},
                                                       {"\"v\" = REG_SZ \"\xC3\"", "the line is not UTF-8"}};
  std::string text = "registry 1\n[HKEY_USERS\\k]";
  for (const auto& [line, cause] : cases) (text += "\n\"g\" = REG_SZ \"\"\n") += line;
  std::vector<text_problem_t> problems;
  EXPECT_TRUE(ParseText(text, problems).empty());
  ASSERT_EQ(problems.size(), std::size(cases));
  for (std::size_t i = 0; i < problems.size(); ++i) {
    EXPECT_EQ(problems[i].line, 4 + 2 * static_cast<int>(i));
    EXPECT_TRUE(problems[i].cause.starts_with(cases[i].second)) << cases[i].first << ": " << problems[i].cause;
  }
}

}  // namespace
