#include "platform/zorplatform/utf8_string.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/zorplatform/text_parse.h"

namespace {

using zorplatform::CUtf8String;

TEST(Utf8String, ConvertsOnBothSidesOfItsOwnRoomWhateverTheCallerClaims) {
  for (const std::size_t units : {0U, 1U, 84U, 85U, 86U, 254U, 255U, 256U, 5000U}) {
    SCOPED_TRACE(units);
    for (const auto& [unit, bytes] : {std::pair{u'x', "x"}, std::pair{u'\u20ac', "\xE2\x82\xAC"}}) {
      const std::u16string text(units, unit);
      std::string expected;
      for (std::size_t i = 0; i < units; ++i) expected += bytes;
      const CUtf8String narrow(text, 1);
      EXPECT_EQ(narrow.View(), expected);
      EXPECT_EQ(narrow.GetString()[narrow.GetLength()], '\0');
      EXPECT_EQ(zorplatform::CStringFromUtf8String(narrow.View()), text);
    }
  }
  EXPECT_EQ(CUtf8String(u"a\xDC00").View(), "a\xEF\xBF\xBD");
  EXPECT_EQ(zorplatform::CStringFromUtf8String(nullptr, 0), u"");
}

TEST(TextParse, ReadsNullAsEmptyAndSaturatesAtItsWidth) {
  const CString text = u" 12.5abc";
  EXPECT_EQ(zorplatform::_ttoll(text), 12);
  EXPECT_EQ(zorplatform::_ttoull(text.View()), 12U);
  EXPECT_EQ(zorplatform::wtof(text), 12.5);
  EXPECT_EQ(zorplatform::_ttoui(u"4294967296"), UINT32_MAX);
  EXPECT_EQ(zorplatform::_ttoui(u"-1"), 0U);
  const char16_t* const none = nullptr;
  EXPECT_EQ(zorplatform::_ttoll(none), 0);
  EXPECT_EQ(zorplatform::wtof(none), 0.0);
}

}  // namespace
