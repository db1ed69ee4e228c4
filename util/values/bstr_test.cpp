#include "util/values/bstr.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>

#include "util/values/text_helpers.h"
#include "util/values/variant.h"

using namespace std::literals;

namespace {

// The comparisons of CBstr do not stand in the way of others.
static_assert(u"a"sv == u"a");

static_assert(sizeof(CBstr) == sizeof(void*));
static_assert(std::is_nothrow_move_constructible_v<CBstr> && std::is_nothrow_move_assignable_v<CBstr>);
static_assert(!std::is_constructible_v<CBstr, void*> && !std::is_constructible_v<CBstr, const int*>);
static_assert(!std::is_convertible_v<int, CBstr> && !std::is_convertible_v<CBstr, bool>);
static_assert(std::is_constructible_v<CBstr, std::string> && std::is_constructible_v<CBstr, std::u16string>);

TEST(BstrText, IsMadeOfEverySource) {
  const struct {
    CBstr text;
    const char16_t* expected;
  } cases[] = {{CBstr(), u""},
               {CBstr(nullptr), u""},
               {CBstr(u"abc"), u"abc"},
               {CBstr(L"a\u00e9"), u"a\u00e9"},
               {CBstr("a\xC3\xA9\xFF"), u"a\u00e9\uFFFD"},
               {CBstr(CVariant::FromFloat(0.1F)), u"0.1"},
               {CBstr(true), u"1"},
               {CBstr(false), u"0"},
               {CBstr(static_cast<char>(0xFF)), u"-1"},
               {CBstr('A'), u"65"},
               {CBstr(std::uint8_t{255}), u"255"},
               {CBstr(short{-32768}), u"-32768"},
               {CBstr(std::uint16_t{65535}), u"65535"},
               {CBstr(std::numeric_limits<int>::min()), u"-2147483648"},
               {CBstr(4294967295U), u"4294967295"},
               {CBstr(std::numeric_limits<std::int64_t>::min()), u"-9223372036854775808"},
               {CBstr(std::numeric_limits<long>::max()), u"9223372036854775807"},
               {CBstr(std::numeric_limits<std::uint64_t>::max()), u"18446744073709551615"},
               {CBstr(0.1F), u"0.1000000015"},
               {CBstr(1.0 / 3.0), u"0.3333333333"},
               {CBstr(1e20), u"1E+20"},
               {CBstr(-0.0), u"-0"}};
  for (const auto& c : cases) EXPECT_EQ(c.text, c.expected);
  EXPECT_TRUE(CBstr().IsNull() && CBstr(static_cast<const char*>(nullptr)).IsNull());
  EXPECT_TRUE(CBstr(static_cast<const wchar_t*>(nullptr)).IsNull());
  EXPECT_FALSE(CBstr(u"").IsNull());
}

TEST(BstrText, ReadsAsANumberSaturated) {
  const struct {
    const char16_t* text;
    bool truth;
    int asChar, asByte, asShort, asWord;
    std::int32_t asInt;
    std::uint32_t asUnsigned;
    std::int64_t asLong;
    std::uint64_t asUnsignedLong;
    double real;
  } cases[] = {
      {u"", false, 0, 0, 0, 0, 0, 0, 0, 0, 0},
      {u"True", true, 0, 0, 0, 0, 0, 0, 0, 0, 0},
      {u"TRUE", true, 0, 0, 0, 0, 0, 0, 0, 0, 0},
      {u"Truer", false, 0, 0, 0, 0, 0, 0, 0, 0, 0},
      {u"yes", false, 0, 0, 0, 0, 0, 0, 0, 0, 0},
      {u"0.5", false, 0, 0, 0, 0, 0, 0, 0, 0, 0.5},
      {u"3abc", true, 3, 3, 3, 3, 3, 3, 3, 3, 3},
      {u" \t-7", true, -7, 0, -7, 0, -7, 0, -7, 0, -7},
      {u"1.9e1", true, 1, 1, 1, 1, 1, 1, 1, 1, 19},
      {u"300", true, 127, 255, 300, 300, 300, 300, 300, 300, 300},
      {u"40000", true, 127, 255, 32767, 40000, 40000, 40000, 40000, 40000, 40000},
      {u"-70000", true, -128, 0, -32768, 0, -70000, 0, -70000, 0, -70000},
      {u"4294967296", true, 127, 255, 32767, 65535, INT32_MAX, UINT32_MAX, 4294967296, 4294967296, 4294967296.0},
      {u"18446744073709551615", true, 127, 255, 32767, 65535, INT32_MAX, UINT32_MAX, INT64_MAX, UINT64_MAX, 0x1p64},
      {u"-99999999999999999999", true, -128, 0, -32768, 0, INT32_MIN, 0, INT64_MIN, 0, -1e20},
  };
  for (const auto& c : cases) {
    const CBstr text(c.text);
    SCOPED_TRACE(testing::PrintToString(text));
    EXPECT_EQ(static_cast<bool>(text), c.truth);
    EXPECT_EQ(static_cast<char>(text), static_cast<char>(c.asChar));
    EXPECT_EQ(static_cast<std::uint8_t>(text), c.asByte);
    EXPECT_EQ(static_cast<short>(text), c.asShort);
    EXPECT_EQ(static_cast<std::uint16_t>(text), c.asWord);
    EXPECT_EQ(static_cast<int>(text), c.asInt);
    EXPECT_EQ(static_cast<unsigned>(text), c.asUnsigned);
    EXPECT_EQ(static_cast<std::int64_t>(text), c.asLong);
    EXPECT_EQ(static_cast<std::uint64_t>(text), c.asUnsignedLong);
    EXPECT_EQ(static_cast<double>(text), c.real);
    EXPECT_EQ(static_cast<float>(text), static_cast<float>(c.real));
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
}

// Refused by the length alone: no text of that length is there.
TEST(BstrOwnership, ATooLongTextLeavesTheOldOne) {
  CBstr text(u"kept");
  for (const std::size_t length : {std::size_t{1} << 30, std::size_t{1} << 31, (std::size_t{1} << 32) + 1}) {
    EXPECT_THROW(text = std::u16string_view(u"x", length), std::bad_alloc);
    EXPECT_EQ(text, u"kept");
  }
}

TEST(TextHelpers, TokenizingSkipsEmptyTokensAndTrimsTheOthers) {
  const struct {
    const char16_t* text;
    std::vector<CString> tokens;
  } cases[] = {{u" a, ,b ,", {u"a", u"", u"b"}}, {u"", {}}, {u",,,", {}}, {u"one", {u"one"}}, {u",\tx\n", {u"x"}}};
  for (const auto& c : cases) {
    std::vector<CString> tokens;
    EXPECT_TRUE(zorutil::TokenizeString(
        c.text, [&](CString& token) { return tokens.push_back(token), true; }, u','));
    EXPECT_EQ(tokens, c.tokens);
  }
  int calls = 0;
  EXPECT_FALSE(zorutil::TokenizeString(
      u"a;b;c", [&](CString&) { return ++calls < 2; }, u';'));
  EXPECT_EQ(calls, 2);
  EXPECT_TRUE(zorutil::TokenizeString(u",", {}, u','));
  EXPECT_THROW(zorutil::TokenizeString(u"a", {}, u','), std::bad_function_call);
}

TEST(TextHelpers, NamesOfBothWidthsOrderAlike) {
  using namespace zorutil::names_private;
  char ownEmpty[] = "";
  EXPECT_NE(ValidateRawString(ownEmpty), ownEmpty) << "an empty text is answered by one that stays";
  EXPECT_STREQ(ValidateRawString("x"), "x");
  EXPECT_EQ(*ValidateRawString(static_cast<const char16_t*>(nullptr)), u'\0');
  EXPECT_EQ(*ValidateRawString(static_cast<const wchar_t*>(nullptr)), L'\0');
  EXPECT_TRUE(IsEmpty(CString()) && IsEmpty(""s) && !IsEmpty(CString(u"a")));
  EXPECT_TRUE(CompareStrings(CString(u"B"), CString(u"a")) && CompareStrings(CString(u"a"), CString(u"ab")));
  EXPECT_TRUE(CompareStrings("z"s, "\xFF"s) && CompareStrings("a"s, "ab"s) && !CompareStrings("a"s, "a"s));
  EXPECT_STREQ((ConvertToRawString<std::string, const char*>("ab"s)), "ab");
}

}  // namespace
