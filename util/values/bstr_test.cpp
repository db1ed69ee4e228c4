#include "util/values/bstr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/text/classic_locale_testing.h"
#include "util/values/text_helpers.h"
#include "util/values/value_testing.h"

using namespace std::literals;
using value_testing::Rows;

namespace {

// The comparisons of CBstr do not stand in the way of others.
static_assert(u"a"sv == u"a");

static_assert(sizeof(CBstr) == sizeof(void*));
static_assert(std::is_nothrow_move_constructible_v<CBstr> && std::is_nothrow_move_assignable_v<CBstr>);
static_assert(!std::is_constructible_v<CBstr, void*> && !std::is_constructible_v<CBstr, const int*>);
static_assert(!std::is_convertible_v<int, CBstr> && !std::is_convertible_v<CBstr, bool>);
static_assert(std::is_constructible_v<CBstr, std::string> && std::is_constructible_v<CBstr, std::u16string>);

TEST(BstrText, IsMadeOfEverySource) {
  const std::pair<CBstr, const char16_t*> cases[] = {{CBstr(), u""},
                                                     {CBstr(L"a\u00e9"), u"a\u00e9"},
                                                     {CBstr("a\xC3\xA9\xFF"), u"a\u00e9\uFFFD"},
                                                     {CBstr(true), u"1"},
                                                     {CBstr('A'), u"65"},
                                                     {CBstr(CVariant::FromFloat(0.1F)), u"0.1"},
                                                     {CBstr(static_cast<char>(0xFF)), u"-1"},
                                                     {CBstr(std::uint8_t{255}), u"255"},
                                                     {CBstr(INT16_MIN), u"-32768"},
                                                     {CBstr(UINT32_MAX), u"4294967295"},
                                                     {CBstr(INT64_MIN), u"-9223372036854775808"},
                                                     {CBstr(UINT64_MAX), u"18446744073709551615"},
                                                     {CBstr(0.1F), u"0.1000000015"},
                                                     {CBstr(1.0 / 3.0), u"0.3333333333"},
                                                     {CBstr(1e20), u"1E+20"},
                                                     {CBstr(-0.0), u"-0"}};
  for (const auto& c : cases) EXPECT_EQ(c.first, c.second);
  EXPECT_TRUE(CBstr().IsNull() && CBstr(static_cast<const char*>(nullptr)).IsNull());
  EXPECT_TRUE(CBstr(static_cast<const wchar_t*>(nullptr)).IsNull() && !CBstr(u"").IsNull());
}

template <class T>
void ExpectReads(const CBstr& text, const std::string& expected) {
  EXPECT_EQ(static_cast<T>(text),
            std::is_signed_v<T> ? static_cast<T>(std::stoll(expected)) : static_cast<T>(std::stoull(expected)));
}

TEST(BstrText, ReadsAsANumberSaturated) {
  // The text; its truth; as signed and unsigned integers of 1, 2, 4 and 8 bytes; as a real.
  for (const auto& c : Rows(R"(
      |0|0|0|0|0|0|0|0|0|0; True|1|0|0|0|0|0|0|0|0|0; tRUE|1|0|0|0|0|0|0|0|0|0; Truer|0|0|0|0|0|0|0|0|0|0;
      0.5|0|0|0|0|0|0|0|0|0|0.5; 3abc|1|3|3|3|3|3|3|3|3|3; +7|1|7|7|7|7|7|7|7|7|7; -7|1|-7|0|-7|0|-7|0|-7|0|-7;
      1.9e1|1|1|1|1|1|1|1|1|1|19; 300|1|127|255|300|300|300|300|300|300|300;
      40000|1|127|255|32767|40000|40000|40000|40000|40000|40000; -70000|1|-128|0|-32768|0|-70000|0|-70000|0|-70000;
      4294967296|1|127|255|32767|65535|2147483647|4294967295|4294967296|4294967296|4294967296;
      18446744073709551615|1|127|255|32767|65535|2147483647|4294967295|9223372036854775807|18446744073709551615|0x1p64;
      -99999999999999999999|1|-128|0|-32768|0|-2147483648|0|-9223372036854775808|0|-1e20)")) {
    const CBstr text(" \t" + c[0]);
    SCOPED_TRACE(c[0]);
    EXPECT_EQ(static_cast<bool>(CBstr(c[0])), c[1] == "1");
    ExpectReads<signed char>(text, c[2]);
    ExpectReads<char>(text, c[2]);
    ExpectReads<unsigned char>(text, c[3]);
    ExpectReads<short>(text, c[4]);
    ExpectReads<unsigned short>(text, c[5]);
    ExpectReads<int>(text, c[6]);
    ExpectReads<unsigned>(text, c[7]);
    ExpectReads<std::int64_t>(text, c[8]);
    ExpectReads<std::uint64_t>(text, c[9]);
    EXPECT_EQ(static_cast<double>(text), classic_testing::Double(c[10]));
    EXPECT_EQ(static_cast<float>(text), classic_testing::Float(c[10]));
  }
}

TEST(BstrText, ComparesBinaryAndByName) {
  EXPECT_TRUE(CBstr() == CBstr(u""));
  EXPECT_FALSE(CBstr(u"abc") == CBstr(u"ABC"));
  EXPECT_FALSE(CBstr(u"a\0b"sv) == CBstr(u"a"));
  EXPECT_EQ(CompareNoCase(u"abc", u"ABC"), 0);
  EXPECT_EQ(CompareNoCase(CBstr(), u""), 0);
  EXPECT_LT(CompareNoCase(u"abc", u"ABD"), 0);
  EXPECT_GT(CompareNoCase(u"b", u"Abc"), 0);
}

TEST(BstrOwnership, MovesCopiesAndGivesAway) {
  CBstr text(u"pump 12");
  text = static_cast<const CBstr&>(text);
  EXPECT_EQ(text, u"pump 12");
  text = text.View().substr(5);  // inside itself
  EXPECT_EQ(text, u"12");
  CBstr copy(text);
  text = 7;
  EXPECT_EQ(copy, u"12");
  CBstr moved(std::move(copy));
  EXPECT_TRUE(copy.IsNull());  // NOLINT: the state after a move is promised
  const BSTR raw = moved.Detach();
  EXPECT_TRUE(moved.IsNull());
  moved.Attach(raw);
  moved.Attach(raw);
  EXPECT_EQ(moved, u"12");
  EXPECT_EQ(moved.GetLength(), 2u);
  moved = nullptr;
  EXPECT_TRUE(moved.IsNull());
  EXPECT_EQ(*moved.GetString(), u'\0');
  CBstr odd, assigned(u"old");
  odd.Attach(SysAllocStringByteLen("abc", 3));
  assigned = odd;
  EXPECT_TRUE(CBstr(odd) == odd && assigned == odd && !(odd == CBstr(u"\u6261"))) << "to the byte";
}

// Refused by the length alone: no text of that length is there.
TEST(BstrOwnership, ATooLongTextLeavesTheOldOne) {
  CBstr text(u"kept");
  for (const std::size_t length : {std::size_t{1} << 30, std::size_t{1} << 31,
                                   static_cast<std::size_t>(std::min<std::uint64_t>((1ULL << 32) + 1, SIZE_MAX))}) {
    EXPECT_THROW(text = std::u16string_view(u"x", length), std::bad_alloc);
    EXPECT_EQ(text, u"kept");
  }
}

TEST(TextHelpers, TokenizingSkipsEmptyTokensAndTrimsTheOthers) {
  const std::pair<const char16_t*, std::vector<CString>> cases[] = {
      {u" a, ,b ,", {u"a", u"", u"b"}}, {u"", {}}, {u",,,", {}}, {u"one", {u"one"}}, {u",\tx\n", {u"x"}}};
  for (const auto& c : cases) {
    std::vector<CString> tokens;
    EXPECT_TRUE(zorutil::TokenizeString(
        c.first, [&](CString& token) { return tokens.push_back(token), true; }, u','));
    EXPECT_EQ(tokens, c.second);
  }
  int calls = 0;
  EXPECT_FALSE(zorutil::TokenizeString(
      u"a;b;c", [&](CString&) { return ++calls < 2; }, u';'));
  EXPECT_EQ(calls, 2);
  EXPECT_TRUE(zorutil::TokenizeString(u",", {}, u','));
  EXPECT_THROW(zorutil::TokenizeString(u"a", {}, u','), std::bad_function_call);
  char ownEmpty[] = "";
  EXPECT_NE(zorutil::names_private::ValidateRawString(ownEmpty), ownEmpty) << "answered by one that stays";
  EXPECT_TRUE(zorutil::names_private::CompareStrings("z"s, "\xFF"s)) << "bytes as unsigned values";
}

}  // namespace
