#include "platform/text/utf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

namespace {

// ---- the plain way: one unit after the other, against the table of well-formed byte sequences ----

struct row_t {
  int leadFrom, leadTo, secondFrom, secondTo, length;
};
constexpr row_t kWellFormed[] = {{0x00, 0x7F, 0, 0, 1},       {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
                                 {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
                                 {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4}};

std::u32string PlainDecode(const std::string& utf8) {
  std::u32string codes;
  for (std::size_t at = 0; at < utf8.size();) {
    const int lead = static_cast<unsigned char>(utf8[at++]);
    const row_t* row = nullptr;
    for (const auto& each : kWellFormed) {
      if (lead >= each.leadFrom && lead <= each.leadTo) row = &each;
    }
    int taken = 1;
    int code = row == nullptr || row->length == 1 ? lead : lead & (0x7F >> row->length);
    for (; row != nullptr && taken < row->length && at < utf8.size(); ++taken, ++at) {
      const int next = static_cast<unsigned char>(utf8[at]);
      if (next < (taken == 1 ? row->secondFrom : 0x80) || next > (taken == 1 ? row->secondTo : 0xBF)) break;
      code = code * 64 + (next & 0x3F);
    }
    codes += row != nullptr && taken == row->length ? static_cast<char32_t>(code) : U'\uFFFD';
  }
  return codes;
}

std::u32string PlainDecode(const std::u16string& utf16) {
  std::u32string codes;
  for (std::size_t at = 0; at < utf16.size(); ++at) {
    const unsigned unit = utf16[at];
    const unsigned next = at + 1 < utf16.size() ? utf16[at + 1] : 0;
    if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
      codes += static_cast<char32_t>(0x10000 + (unit - 0xD800) * 0x400 + (next - 0xDC00));
      ++at;
    } else {
      codes += unit >= 0xD800 && unit < 0xE000 ? U'\uFFFD' : static_cast<char32_t>(unit);
    }
  }
  return codes;
}

std::u16string PlainUtf16(const std::u32string& codes) {
  std::u16string utf16;
  for (const char32_t code : codes) {
    if (code > 0xFFFF) utf16 += static_cast<char16_t>(0xD800 + (code - 0x10000) / 0x400);
    utf16 += static_cast<char16_t>(code > 0xFFFF ? 0xDC00 + code % 0x400 : code);
  }
  return utf16;
}

std::string PlainUtf8(const std::u32string& codes) {
  std::string utf8;
  for (const char32_t code : codes) {
    const int rest = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr unsigned kMarks[] = {0, 0xC0, 0xE0, 0xF0};
    utf8 += static_cast<char>(kMarks[rest] | code >> 6 * rest);
    for (int i = rest; i-- > 0;) utf8 += static_cast<char>(0x80 | (code >> 6 * i & 0x3F));
  }
  return utf8;
}

// ---- the fast way, between exact buffers: a step outside is a sanitizer's finding or a damaged sentinel ----

void ExpectPlain(const std::string& utf8) {
  const std::u16string expected = PlainUtf16(PlainDecode(utf8));
  const auto in = std::make_unique<char[]>(utf8.size());
  std::copy(utf8.begin(), utf8.end(), in.get());
  const std::string_view view(in.get(), utf8.size());
  const std::size_t room = utf::MaxUtf16Units(utf8.size());
  const auto out = std::make_unique<char16_t[]>(room);
  const std::size_t length = utf::Utf8ToUtf16(view, out.get());
  ASSERT_LE(length, room);
  ASSERT_EQ(std::u16string(out.get(), length), expected) << ::testing::PrintToString(utf8);
  ASSERT_EQ(utf::Utf16Length(view), length);
  ASSERT_EQ(utf::ToUtf16(view), expected);
  ASSERT_EQ(utf::IsAscii(view), std::none_of(utf8.begin(), utf8.end(), [](char c) { return (c & 0x80) != 0; }));
}

void ExpectPlain(const std::u16string& utf16) {
  const std::string expected = PlainUtf8(PlainDecode(utf16));
  const auto in = std::make_unique<char16_t[]>(utf16.size());
  std::copy(utf16.begin(), utf16.end(), in.get());
  const std::u16string_view view(in.get(), utf16.size());
  const std::size_t room = utf::Utf8Length(view);
  ASSERT_EQ(room, expected.size()) << ::testing::PrintToString(utf16);
  std::string out(room + 16, '\x5A');
  ASSERT_EQ(utf::Utf16ToUtf8(view, out.data()), room);
  ASSERT_EQ(out, expected + std::string(16, '\x5A')) << ::testing::PrintToString(utf16);
  ASSERT_EQ(utf::ToUtf8(view), expected);
  ASSERT_EQ(utf::IsAscii(view), std::none_of(utf16.begin(), utf16.end(), [](char16_t c) { return c >= 0x80; }));
}

// Runs of one kind of character, as texts have them.
std::u32string RandomText(std::mt19937& random, std::size_t length) {
  constexpr struct {
    char32_t from, to;
  } kScripts[] = {{0x20, 0x7E},     {0x00, 0x7F},     {0xA0, 0x17F},      {0x7FE, 0x801},
                  {0x3040, 0x9FFF}, {0xE000, 0xFFFF}, {0x10000, 0x10FFFF}};
  std::u32string codes;
  while (codes.size() < length) {
    const auto& script = kScripts[random() % std::size(kScripts)];
    for (auto run = 1 + random() % 40; run != 0 && codes.size() < length; --run) {
      codes += script.from + static_cast<char32_t>(random() % (script.to - script.from + 1));
    }
  }
  return codes;
}

TEST(Utf, ReplacesEachMaximalIllFormedSubpartOnce) {
  const std::pair<std::string, const char16_t*> cases[] = {
      {"\x80\xBF", u"\uFFFD\uFFFD"}, {"a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80z", u"a\u00E4\u20AC\U0001F600z"},
      {"\xC0\xAF", u"\uFFFD\uFFFD"}, {"\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD"},
      {"\xC3", u"\uFFFD"},           {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
      {"\xC3(", u"\uFFFD("},         {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xE2\x82", u"\uFFFD"},       {"\xF1\x80\x80\xE1\x80\xC2z", u"\uFFFD\uFFFD\uFFFDz"},
      {"\xE2\x82z", u"\uFFFDz"},     {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
      {"\xF0\x9F\x98", u"\uFFFD"},   {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xF5\xFF", u"\uFFFD\uFFFD"}};
  for (const auto& [utf8, utf16] : cases) {
    EXPECT_EQ(utf::ToUtf16(utf8), utf16);
    ExpectPlain(utf8);
  }
}

TEST(Utf, ReplacesUnpairedSurrogates) {
  const std::pair<std::u16string, const char*> cases[] = {{u"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
                                                          {u"\xD83D", "\xEF\xBF\xBD"},
                                                          {u"\xD83Dz", "\xEF\xBF\xBDz"},
                                                          {u"\xDE00\xD83D", "\xEF\xBF\xBD\xEF\xBF\xBD"},
                                                          {u"\xD83D\xD83D\xDE00", "\xEF\xBF\xBD\xF0\x9F\x98\x80"}};
  for (const auto& [utf16, utf8] : cases) {
    EXPECT_EQ(utf::ToUtf8(utf16), utf8);
    ExpectPlain(utf16);
  }
}

TEST(Utf, ConvertsTextsOfEveryLengthAndScriptAsThePlainWay) {
  std::mt19937 random(1);
  for (int i = 0; i < 3'000; ++i) {
    const std::u32string codes = RandomText(random, i % 4 == 0 ? random() % 2'000 : random() % 50);
    ExpectPlain(PlainUtf8(codes));
    ExpectPlain(PlainUtf16(codes));
    ASSERT_EQ(utf::ToUtf16(utf::ToUtf8(PlainUtf16(codes))), PlainUtf16(codes));
  }
  ExpectPlain(std::u16string(300'000, u'\u00E4'));  // longer than one round of counting
  for (int i = 0; i < 100; ++i) ExpectPlain(std::string(3'000 + random() % 100, static_cast<char>(0x80 + i)));
}

TEST(Utf, ConvertsDamagedTextsAsThePlainWay) {
  constexpr std::string_view kBytes = "\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xE1\xED\xEF\xF0\xF1\xF4\xF5";
  constexpr char16_t kUnits[] = {0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000};
  std::mt19937 random(2);
  for (int i = 0; i < 10'000; ++i) {
    const std::u32string codes = RandomText(random, i % 50 == 0 ? random() % 3'000 : random() % 60);
    std::string utf8 = PlainUtf8(codes);
    std::u16string utf16 = PlainUtf16(codes);
    for (auto damages = random() % 20; damages != 0 && !codes.empty(); --damages) {
      utf8[random() % utf8.size()] = kBytes[random() % kBytes.size()];
      utf16[random() % utf16.size()] = kUnits[random() % std::size(kUnits)];
    }
    ExpectPlain(utf8);
    ExpectPlain(utf16);
  }
}

TEST(Utf, WidensEveryByteAndWideText) {
  std::string bytes(100, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(200 + i);
  for (std::size_t length = 0; length <= bytes.size(); ++length) {
    std::u16string out(length + 1, u'\x5A5A');
    utf::WidenAscii({bytes.data(), length}, out.data());
    for (std::size_t i = 0; i < length; ++i) ASSERT_EQ(out[i], static_cast<unsigned char>(bytes[i]));
    ASSERT_EQ(out[length], u'\x5A5A');
  }
  const std::wstring wide = {L'a', wchar_t{0x1F600}, wchar_t{0xD800}, wchar_t{0x110000}, static_cast<wchar_t>(-1),
                             L'z'};
  EXPECT_EQ(utf::ToUtf16(wide), u"a\U0001F600\uFFFD\uFFFD\uFFFDz");
}

}  // namespace
