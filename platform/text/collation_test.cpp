#include "platform/text/collation.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform/text/collation_internal.h"

namespace {

int Sign(int order) { return (order > 0) - (order < 0); }

// ICU itself, which is the definition of the order.
int IcuOrder(std::u16string_view a, std::u16string_view b) {
  static const auto collator = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UCollator, decltype(&ucol_close)> root(ucol_open("", &status), &ucol_close);
    ucol_setStrength(root.get(), UCOL_SECONDARY);
    return root;
  }();
  return ucol_strcoll(collator.get(), a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()));
}

void ExpectIcuOrder(const std::u16string& a, const std::u16string& b) {
  const int order = IcuOrder(a, b);
  ASSERT_EQ(Sign(collation::CompareNoCase(a, b)), order) << testing::PrintToString(std::pair(a, b));
  const auto isAscii = [](char16_t unit) { return unit < 0x80; };
  if (!std::all_of(a.begin(), a.end(), isAscii) || !std::all_of(b.begin(), b.end(), isAscii)) return;
  const auto beginnings = collation::BeginningOf(a) <=> collation::BeginningOf(b);
  ASSERT_TRUE(beginnings == 0 || beginnings == (order <=> 0)) << testing::PrintToString(std::pair(a, b));
}

std::u16string RandomText(std::mt19937& random, std::u16string_view alphabet, std::size_t maxLength) {
  std::u16string text(random() % (maxLength + 1), u'\0');
  for (auto& unit : text) unit = alphabet[random() % alphabet.size()];
  return text;
}

// A text that shares much with another: some units changed, one inserted or the end cut off.
std::u16string Variation(std::mt19937& random, std::u16string text, std::u16string_view alphabet) {
  for (auto changes = random() % 4; changes != 0 && !text.empty(); --changes) {
    const std::size_t at = random() % text.size();
    const char16_t unit = alphabet[random() % alphabet.size()];
    switch (random() % 4) {
      case 0: text[at] = unit; break;
      case 1: text.insert(at, 1, unit); break;
      case 2: text.erase(at + 1); break;
      default: text[at] = collation::ToUpper(text[at]); break;
    }
  }
  return text;
}

const std::u16string kAscii = [] {
  std::u16string all;
  for (char16_t unit = 0; unit < 0x80; ++unit) all += unit;
  return all;
}();

// Ignored controls, punctuation of several kinds, both cases of neighbours.
constexpr std::u16string_view kTelling{u"\0\x1F\x7F\t _-.0aAbZ", 13};

// What joins with ASCII or with itself: accents, the middle dot behind an l, a ligature, pairs that get torn.
const std::u16string kForeign =
    u"\x01"
    u"aAbBlLsS .\u0301\u0327\u00B7\u0387\u00E4\u00DF\uFB01\u00AD\u212A\U0001F600\uFFFE\uFFFF";

TEST(CollationCompare, OrdersAllShortTextsAsIcu) {
  for (const char16_t a : kAscii) {
    for (const char16_t b : kAscii) ExpectIcuOrder({a}, {b});
  }
  std::vector<std::u16string> texts{u""};
  for (std::size_t from = 0, length = 1; length <= 2; ++length) {
    const std::size_t to = texts.size();
    for (; from != to; ++from) {
      for (const char16_t unit : kTelling) texts.push_back(texts[from] + unit);
    }
  }
  for (const auto& a : texts) {
    for (const auto& b : texts) {
      ExpectIcuOrder(a, b);
      ExpectIcuOrder(u"Tag" + a + u"_1", u"tag" + b + u"_1");
    }
  }
}

TEST(CollationCompare, OrdersRandomTextsAsIcu) {
  std::mt19937 random(1);
  for (const std::u16string& alphabet : {kAscii, std::u16string(kTelling), kForeign}) {
    for (int i = 0; i < 100'000; ++i) {
      const std::u16string a = RandomText(random, alphabet, 20);
      ExpectIcuOrder(a, i % 4 == 0 ? RandomText(random, alphabet, 20) : Variation(random, a, alphabet));
    }
  }
}

TEST(CollationCompare, TakesNullViewsAndIgnoredTextsAsEmpty) {
  EXPECT_EQ(collation::CompareNoCase({}, {}), 0);
  EXPECT_EQ(collation::CompareNoCase({}, std::u16string_view(u"\0\x01\x7F", 3)), 0);
  EXPECT_LT(collation::CompareNoCase({}, u"\u00E4"), 0);
  EXPECT_GT(collation::CompareNoCase(u"\u00E4", {}), 0);
}

// Without a collator the order is another one, but it must be an order, and the same one for ASCII.
TEST(CollationCompare, WithoutCollatorIsOneOrderThatAgreesOnAscii) {
  using collation::internal::CompareWithoutCollator;
  std::mt19937 random(2);
  for (int i = 0; i < 20'000; ++i) {
    const std::u16string a = RandomText(random, kAscii, 6);
    const std::u16string b = Variation(random, a, kAscii);
    ASSERT_EQ(CompareWithoutCollator(a, b), Sign(collation::CompareNoCase(a, b)));
  }
  EXPECT_EQ(CompareWithoutCollator(u"\u00C4 1\u212A", u"\u00E4 1k"), 0);
  EXPECT_LT(CompareWithoutCollator(u"z", u"\u00E4"), 0);
}

TEST(CollationUnits, KnowsClassesAndCasesOfEveryUnit) {
  for (unsigned code = 0; code <= 0xFFFF; ++code) {
    const auto unit = static_cast<char16_t>(code);
    ASSERT_EQ(collation::IsAlphaNumeric(unit), u_isalnum(unit) != 0) << code;
    ASSERT_EQ(collation::IsSpace(unit), u_isUWhiteSpace(unit) != 0) << code;
    ASSERT_EQ(collation::ToUpper(unit), u_toupper(unit)) << code;
    ASSERT_EQ(collation::ToLower(unit), u_tolower(unit)) << code;
  }
}

}  // namespace
