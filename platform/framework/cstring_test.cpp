#include "platform/framework/cstring.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/framework/allocation_testing.h"

namespace {

using allocation_testing::allocations, allocation_testing::allocationsLeft;

struct change_t {
  const char* name;
  std::function<void(CString&)> apply;
  std::u16string after;  // of u"abcabc"
};

std::u16string_view Part(const CString& text, std::size_t first, std::size_t count) {
  return text.View().substr(first, count);
}

// Arguments that lie in the string itself included.
std::vector<change_t> Changes() {
  return {
      {"append", [](CString& s) { s += u"de"; }, u"abcabcde"},
      {"append itself", [](CString& s) { s += s; }, u"abcabcabcabc"},
      {"append its end", [](CString& s) { s.Append(Part(s, 4, 2)); }, u"abcabcbc"},
      {"append UTF-8", [](CString& s) { s += "\xC3\xA9"; }, u"abcabc\u00e9"},
      {"append ASCII", [](CString& s) { s.AppendAscii("12"); }, u"abcabc12"},
      {"assign", [](CString& s) { s = u"0123456789"; }, u"0123456789"},
      {"assign its middle", [](CString& s) { s.Assign(Part(s, 1, 4)); }, u"bcab"},
      {"assign UTF-8", [](CString& s) { s = "\xC3\xA9z"; }, u"\u00e9z"},
      {"assign ASCII", [](CString& s) { s.AssignAscii("12345678"); }, u"12345678"},
      {"insert first", [](CString& s) { s.Insert(-1, u"<"); }, u"<abcabc"},
      {"insert itself", [](CString& s) { s.Insert(1, s); }, u"aabcabcbcabc"},
      {"insert past the end", [](CString& s) { s.Insert(99, Part(s, 0, 2)); }, u"abcabcab"},
      {"delete", [](CString& s) { s.Delete(1, 2); }, u"aabc"},
      {"delete too much", [](CString& s) { s.Delete(4, 99); }, u"abca"},
      {"delete all", [](CString& s) { s.Delete(0, 6); }, u""},
      {"set a unit", [](CString& s) { s.SetAt(5, u'x'); }, u"abcabx"},
      {"remove", [](CString& s) { s.Remove(u'b'); }, u"acac"},
      {"replace a unit", [](CString& s) { s.Replace(u'c', u'-'); }, u"ab-ab-"},
      {"replace longer", [](CString& s) { s.Replace(u"b", u"12"); }, u"a12ca12c"},
      {"replace shorter", [](CString& s) { s.Replace(u"ab", {}); }, u"cc"},
      {"replace by itself", [](CString& s) { s.Replace(Part(s, 1, 1), s); }, u"aabcabccaabcabcc"},
      {"upper", [](CString& s) { s.MakeUpper(); }, u"ABCABC"},
      {"reserve", [](CString& s) { s.Reserve(100); }, u"abcabc"},
      {"empty", [](CString& s) { s.Empty(); }, u""},
      {"buffer", [](CString& s) { s.GetBuffer(8)[6] = u'!', s.ReleaseBuffer(7); }, u"abcabc!"},
  };
}

TEST(CStringChange, ComesOutTheSameSharedOrNotAndWithOrWithoutRoom) {
  for (const auto& change : Changes()) {
    SCOPED_TRACE(change.name);
    CString tight = u"abcabc", roomy = u"abcabc";
    roomy.Reserve(200);
    const CString original = u"abcabc";
    CString copy = original;
    for (CString* text : {&tight, &roomy, &copy}) {
      change.apply(*text);
      EXPECT_EQ(*text, change.after);
      EXPECT_EQ(text->GetString()[text->GetLength()], u'\0');
    }
    EXPECT_EQ(original, u"abcabc");
  }
}

TEST(CStringChange, ThatFindsNoMemoryLeavesTheTextAsItWas) {
  for (const auto& change : Changes()) {
    SCOPED_TRACE(change.name);
    const CString original = u"abcabc";
    CString copy = original;
    allocationsLeft = 0;
    bool failed = false;
    try {
      change.apply(copy);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    allocationsLeft = -1;
    EXPECT_EQ(copy, failed ? std::u16string(u"abcabc") : change.after);
    EXPECT_EQ(original, u"abcabc");
  }
}

TEST(CStringChange, BeyondTheLongestLengthIsRefused) {
  CString text = u"a";
  const std::u16string_view endless(text.GetString(), std::size_t{CString::kMaxLength});
  EXPECT_THROW(text.Append(endless), std::length_error);
  EXPECT_THROW(text.Insert(0, endless), std::length_error);
  EXPECT_THROW(text.Replace(u"a", {text.GetString(), SIZE_MAX / 2}), std::length_error);
  EXPECT_THROW(text.AppendAscii({"", std::size_t{CString::kMaxLength}}), std::length_error);
  EXPECT_EQ(text, u"a");
}

TEST(CStringChange, ThatChangesNothingKeepsTheTextShared) {
  const CString original = u"abc";
  CString copy = original;
  copy.Replace(u'x', u'y');
  copy.Replace(u"x", u"y");
  copy.MakeLower().Trim().Append({});
  copy.Delete(3, 5);
  EXPECT_EQ(copy.Mid(0).GetString(), original.GetString());
  EXPECT_EQ(copy.GetString(), original.GetString());
}

TEST(CStringMemory, IsTakenOnceForATextAndItsCopiesAndNotAtAllForReuse) {
  CString text;
  text.Reserve(64);
  const int before = allocations;
  CString copy;
  for (int i = 0; i < 100; ++i) {
    text.AssignAscii("10.0.0.1:2101");
    text = "10.0.0.1";
    text = u"a host name";
  }
  copy = text;
  const CString moved = std::move(text);
  EXPECT_EQ(allocations, before);
  EXPECT_EQ(moved, u"a host name");
  EXPECT_EQ(copy.GetString(), moved.GetString());
  EXPECT_TRUE(text.IsEmpty());  // NOLINT(bugprone-use-after-move): what is promised
}

TEST(CStringMemory, GrowsByHalfWhenUnitsAreAppended) {
  CString text;
  const int before = allocations;
  for (int i = 0; i < 100'000; ++i) text += static_cast<char16_t>(u'0' + i % 10);
  EXPECT_LT(allocations - before, 30);
  EXPECT_EQ(text.GetLength(), 100'000);
  EXPECT_EQ(text.Right(3), u"789");
}

TEST(CStringMemory, OfOneTextIsFreedByTheLastOfManyThreads) {
  for (int round = 0; round < 200; ++round) {
    CString text(u'x', 40);
    std::thread other([copy = text]() mutable { copy += u"y"; });
    text += u"z";
    text.Empty();
    other.join();
  }
}

TEST(CStringText, IsMadeFromEveryKindOfCharacters) {
  std::string longUtf8;
  std::u16string longText;
  for (int i = 0; i < 100; ++i) longUtf8 += "\xE2\x82\xAC\xF0\x9F\x98\x80z", longText += u"\u20ac\U0001F600z";
  const std::pair<CString, std::u16string> cases[] = {
      {static_cast<const char16_t*>(nullptr), u""},
      {static_cast<const char*>(nullptr), u""},
      {L"a\U0001F600", u"a\U0001F600"},
      {"\xC3\xA9\xF0\x9F\x98\x80", u"\u00e9\U0001F600"},
      {"a\xFFz\xC3", u"a\uFFFDz\uFFFD"},
      {longUtf8, longText},
      {std::string_view("a\0b", 3), {u'a', u'\0', u'b'}},
      {CString(u'-', 3), u"---"},
      {CString(u'-', -3), u""},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(text, expected);
    EXPECT_LE(text.GetCapacity(), text.GetLength() + 64);
    EXPECT_EQ(CString(text.ToUtf8()), expected);
    EXPECT_TRUE(text == text.ToUtf8());
  }
  EXPECT_FALSE(CString(u"a\u00e9") == "a\xE9");
  EXPECT_FALSE(CString(u"\u0161") == "a");
}

TEST(CStringParts, AreCutToTheText) {
  const CString text = u"abcdef";
  const std::pair<CString, const char16_t*> cases[] = {
      {text.Left(2), u"ab"},       {text.Left(-1), u""},   {text.Left(99), u"abcdef"}, {text.Right(2), u"ef"},
      {text.Right(99), u"abcdef"}, {text.Right(-1), u""},  {text.Mid(2), u"cdef"},     {text.Mid(-3), u"abcdef"},
      {text.Mid(6), u""},          {text.Mid(99, 1), u""}, {text.Mid(1, 2), u"bc"},    {text.Mid(4, 99), u"ef"},
      {text.Mid(-5, 2), u"ab"},    {text.Mid(2, -1), u""}, {CString().Mid(1, 1), u""}, {CString().Left(1), u""},
  };
  for (const auto& [part, expected] : cases) EXPECT_EQ(part, expected);
}

TEST(CStringSearch, GivesThePositionOrMinusOne) {
  const CString text = u"a-b-c";
  const std::pair<int, int> cases[] = {
      {text.Find(u'-'), 1},      {text.Find(u'-', 2), 3},     {text.Find(u'-', 4), -1},     {text.Find(u'-', -9), 1},
      {text.Find(u'-', 99), -1}, {text.Find(u"-b"), 1},       {text.Find(u"-b", 2), -1},    {text.Find(u"", 5), 5},
      {text.Find(u"", 6), -1},   {text.ReverseFind(u'-'), 3}, {text.ReverseFind(u'x'), -1}, {text.FindOneOf(u"cb"), 2},
      {text.FindOneOf(u""), -1}, {CString().Find(u'a'), -1},
  };
  for (const auto& [found, expected] : cases) EXPECT_EQ(found, expected);
}

TEST(CStringEdit, TrimsMapsAndTokenizes) {
  CString text = u" \t\u2003\u00c4b c\r\n";
  EXPECT_EQ(CString(text).TrimLeft(), u"\u00c4b c\r\n");
  EXPECT_EQ(CString(text).TrimRight(), u" \t\u2003\u00c4b c");
  EXPECT_EQ(text.Trim(), u"\u00c4b c");
  EXPECT_EQ(CString(u" \t ").Trim(), u"");
  EXPECT_EQ(text.MakeLower(), u"\u00e4b c");
  EXPECT_EQ(text.CompareNoCase(u"\u00c4B C"), 0);

  const CString list = u";a;;bc;";
  std::vector<CString> tokens;
  int start = 0;
  for (CString token = list.Tokenize(u";", start); start >= 0; token = list.Tokenize(u";", start)) {
    tokens.push_back(token);
  }
  EXPECT_EQ(tokens, (std::vector<CString>{u"a", u"bc"}));
  EXPECT_EQ(list.Tokenize(u";", start), u"");
  EXPECT_EQ(start, -1);
}

TEST(CStringEdit, ReleaseBufferEndsTheTextAtTheFirstNulOrWhereItIsTold) {
  CString text = u"ab";
  char16_t* const units = text.GetBuffer(10);
  std::u16string(u"ab12345678").copy(units, 10);
  text.ReleaseBuffer(4);
  EXPECT_EQ(text, u"ab12");
  text.GetBuffer(10)[1] = u'\0';
  text.ReleaseBuffer();
  EXPECT_EQ(text, u"a");
  text.ReleaseBuffer(1 << 29);
  EXPECT_EQ(text.GetLength(), text.GetCapacity());
}

}  // namespace
