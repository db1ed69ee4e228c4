#include "util/values/base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using zorutil::base64_decode;
using zorutil::base64_encode;

namespace {

using bytes_t = std::vector<std::uint8_t>;

// Bit by bit, as the alphabet is defined.
std::u16string PlainText(const bytes_t& bytes) {
  const char16_t alphabet[] = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::u16string text;
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += 6) {
    unsigned index = 0;
    for (std::size_t i = bit; i < bit + 6; ++i) {
      index = index * 2 + (i / 8 < bytes.size() ? (bytes[i / 8] >> (7 - i % 8)) & 1U : 0);
    }
    text += alphabet[index];
  }
  text.resize((bytes.size() + 2) / 3 * 4, u'=');
  return text;
}

bytes_t Decode(std::u16string_view text) {
  zorplatform::CGrowableBuffer out;
  out.Append("before", 6);
  EXPECT_TRUE(base64_decode(CString(text), out));
  return {out.GetBytes().begin(), out.GetBytes().end()};
}

// The lengths cover every way through the loops that take 24 bytes a step.
TEST(Base64, WritesAndReadsEveryLength) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length <= 200; ++length) {
    SCOPED_TRACE(length);
    bytes_t bytes(length);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    CString text = u"before";
    EXPECT_TRUE(base64_encode(bytes.data(), static_cast<unsigned>(length), text));
    EXPECT_TRUE(text.View() == PlainText(bytes));
    EXPECT_EQ(Decode(text), bytes);
    const std::u16string_view unpadded = text.View().substr(0, text.View().find(u'='));
    EXPECT_EQ(Decode(unpadded), bytes);
  }
}

// Every unit alone at every place of a text long enough for whole steps. What is no letter or digit ends the text; one
// of another script counts as 64 in place of 63, whose sums the rule cuts to bytes.
TEST(Base64, EndsAtTheFirstUnitOutsideTheAlphabet) {
  const bytes_t bytes(72, 0xFF);  // "/" throughout
  const std::u16string whole = PlainText(bytes);
  const bytes_t foreign[4] = {{0x03, 0xFF, 0xFF}, {0xFC, 0x0F, 0xFF}, {0xFF, 0xF0, 0x3F}, {0xFF, 0xFF, 0x00}};
  for (const char16_t unit :
       u"\0\t\n !*,-.:;<=>?@[\\]^_`{|}~\x7F\x80\u00A0\u00D7\u012B\u2028\u2F2F\uFF0B\xD800\xFFFF") {
    for (std::size_t place = 0; place < whole.size(); ++place) {
      std::u16string text = whole;
      text[place] = unit;
      bytes_t expected(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(place * 3 / 4));
      if (unit == u'\u012B') {
        expected = bytes;
        std::copy(foreign[place % 4].begin(), foreign[place % 4].end(),
                  expected.begin() + static_cast<std::ptrdiff_t>(place / 4 * 3));
      }
      EXPECT_EQ(Decode(text), expected) << "unit " << static_cast<unsigned>(unit) << " at " << place;
    }
  }
}

TEST(Base64, TakesWhatThereIsOfAMalformedText) {
  const struct {
    std::u16string_view text;
    const char* bytes;
  } cases[] = {{u"TWFu", "Man"},  {u"TQ==", "M"},        {u"TQ", "M"}, {u"TW Fu", "M"}, {u"T", ""},
               {u"TWFuT", "Man"}, {u"TWFu=TWFu", "Man"}, {u"=", ""},   {u"", ""}};
  for (const auto& c : cases) {
    const bytes_t bytes = Decode(c.text);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), c.bytes);
  }
}

TEST(Base64, OfNoBytesIsEmptyAndANullPointerIsRefused) {
  CString text = u"before";
  EXPECT_TRUE(base64_encode(nullptr, 0, text));
  EXPECT_EQ(text, u"");
  text = u"before";
  EXPECT_FALSE(base64_encode(nullptr, 1, text));
  EXPECT_EQ(text, u"");
}

}  // namespace
