#include "util/docs/structured_doc.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdint>
#include <limits>

#include "platform/framework/allocation_testing.h"
#include "util/docs/xml_document.h"
#include "util/i18n/localized_message.h"

namespace {

using allocation_testing::allocations;

template <class T>
T ReadAs(const char16_t* text, bool asAttribute, T preset) {
  CXmlDocument document;
  void* const top = document.WriteElement(nullptr, nullptr, u"Top", false, u"");
  document.WriteElement(top, nullptr, u"Value", true, text);
  document.WriteAttribute(top, u"value", text);
  T out = preset;
  if (asAttribute) {
    EXPECT_EQ(document.ReadAttribute(top, u"value", out), 1);
  } else {
    EXPECT_NE(document.ReadElement(top, nullptr, u"Value", true, out), nullptr);
  }
  return out;
}

template <class T>
void ExpectRead(const char16_t* text, T element, T attribute) {
  SCOPED_TRACE(testing::PrintToString(CString(text)) + " of " + std::to_string(sizeof(T)) + " bytes");
  EXPECT_EQ(ReadAs<T>(text, false, T{7}), element);
  EXPECT_EQ(ReadAs<T>(text, true, T{7}), attribute);
}

template <class T>
void ExpectWritten(T value, const char* text) {
  CXmlDocument document;
  ASSERT_NE(document.WriteElement(nullptr, nullptr, u"v", true, value), nullptr) << text;
  EXPECT_EQ(document.WriteAttribute(document.GetElementByName(nullptr, u"", u"", false), u"a", value), 1);
  std::string expected = std::string("<v a=\"") + text + "\"";
  expected += *text == '\0' ? "/>" : std::string(">") + text + "</v>";
  EXPECT_EQ(document.GetXml().ToUtf8(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + expected + "\n");
}

TEST(StructuredDoc, WritesEachTypeInItsOneForm) {
  ExpectWritten(true, "true");
  ExpectWritten(false, "false");
  ExpectWritten('A', "A");
  ExpectWritten('\0', "");
  ExpectWritten('\xE4', "\xC3\xA4");
  ExpectWritten<signed char>(-128, "-128");
  ExpectWritten<unsigned char>(255, "255");
  ExpectWritten<short>(-32768, "-32768");
  ExpectWritten<unsigned short>(65535, "65535");
  ExpectWritten(INT32_MIN, "-2147483648");
  ExpectWritten(UINT32_MAX, "4294967295");
  ExpectWritten<long>(-1, "-1");
  ExpectWritten<unsigned long>(4294967295U, "4294967295");
  ExpectWritten<long long>(INT64_MIN, "-9223372036854775808");
  ExpectWritten<unsigned long long>(UINT64_MAX, "18446744073709551615");
  ExpectWritten(0.1F, "0.1");
  ExpectWritten(-2.5, "-2.5");
  ExpectWritten(1e300, "1E+300");
  ExpectWritten(u"a < b", "a &lt; b");
}

TEST(StructuredDoc, ReadsTruthValuesDifferentlyInElementsAndAttributes) {
  const struct {
    const char16_t* text;
    bool element, attribute;
  } rows[] = {{u"true", true, true},   {u"false", false, false}, {u" true ", false, false},
              {u"True", false, false}, {u"2", true, false},      {u" -1x", true, false},
              {u"0", false, false},    {u"", false, false},      {u"99999999999999999999", true, false}};
  for (const auto& row : rows) {
    EXPECT_EQ(ReadAs(row.text, false, !row.element), row.element) << CString(row.text);
    EXPECT_EQ(ReadAs(row.text, true, !row.attribute), row.attribute) << CString(row.text);
  }
}

TEST(StructuredDoc, ReadsNumbersAsFarAsTheyGo) {
  ExpectRead<int>(u"", 7, 0);
  ExpectRead<int>(u" \u00A0\n", 7, 0);
  ExpectRead<int>(u"\u2003-12 bar", -12, 0);
  ExpectRead<int>(u" 99999999999", INT32_MAX, INT32_MAX);
  ExpectRead<int>(u"-99999999999", INT32_MIN, INT32_MIN);
  ExpectRead<unsigned char>(u"257", 1, 1);
  ExpectRead<signed char>(u"200", -56, -56);
  ExpectRead<short>(u"65537", 1, 1);
  ExpectRead<unsigned short>(u"-1", 65535, 65535);
  ExpectRead<unsigned>(u"99999999999", UINT32_MAX, UINT32_MAX);
  ExpectRead<unsigned>(u"-1", 0, 0);
  ExpectRead<long long>(u"9223372036854775808", INT64_MAX, INT64_MAX);
  ExpectRead<unsigned long>(u"4000000000", 4000000000U, 4000000000U);
  ExpectRead<unsigned long long>(u"18446744073709551615", UINT64_MAX, UINT64_MAX);
  ExpectRead<double>(u"abc", 0, 0);
  ExpectRead<double>(u" 2.5e3 l/min", 2500, 2500);
  ExpectRead<float>(u"1e300", std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity());
  ExpectRead<char>(u" AB", 'A', ' ');
  ExpectRead<char>(u"", 7, '\0');
  ExpectRead<char>(u"\u00E4", '\xE4', '\xE4');
  ExpectRead<char>(u"\u20AC", 7, 7);
}

TEST(StructuredDoc, LeavesTheOutputAloneWithoutElementOrAttribute) {
  CXmlDocument document;
  void* const top = document.WriteElement(nullptr, nullptr, u"Top", false, u"");
  int number = 7;
  bool truth = true;
  CString text = u"preset";
  EXPECT_EQ(document.ReadElement(top, nullptr, u"None", true, number), nullptr);
  EXPECT_EQ(document.ReadElement(top, u"urn:x", u"Top", true, truth), nullptr);
  EXPECT_EQ(document.ReadElement(top, nullptr, u"None", true, text), nullptr);
  EXPECT_EQ(document.ReadAttribute(top, u"none", number), 0);
  EXPECT_EQ(document.ReadAttribute(top, u"none", truth), 0);
  EXPECT_EQ(number, 7);
  EXPECT_TRUE(truth);
  EXPECT_EQ(text, u"preset");
}

TEST(StructuredDoc, ReadsNumbersWithoutAllocating) {
  CXmlDocument document;
  ASSERT_EQ(document.SetXml(u"<t a='-12345' b='2.5'><i>1234567</i><d>0.123456789012345</d><b>true</b></t>"), 1);
  void* const top = document.GetElementByName(nullptr, u"", u"", false);
  int i = 0, a = 0;
  double d = 0, b = 0;
  bool truth = false;
  const int before = allocations;
  document.ReadElement(top, nullptr, u"i", true, i);
  document.ReadElement(top, nullptr, u"d", true, d);
  document.ReadElement(top, nullptr, u"b", true, truth);
  document.ReadAttribute(top, u"a", a);
  document.ReadAttribute(top, u"b", b);
  EXPECT_EQ(allocations, before);
  EXPECT_TRUE(i == 1234567 && d == 0.123456789012345 && truth && a == -12345 && b == 2.5);
}

TEST(StructuredDoc, KeepsTheLastErrorUntilItIsTaken) {
  CXmlDocument document;
  EXPECT_EQ(document.GetLastErrorText(), u"");
  document.SetLastError(i18n::MakeNonLocalizedMessage(u"first"));
  document.SetLastError(i18n::MakeNonLocalizedMessage(u"second"));
  EXPECT_EQ(document.GetLastErrorText(), u"second");
  EXPECT_NE(document.RemoveLastError(), nullptr);
  EXPECT_EQ(document.RemoveLastError(), nullptr);

  EXPECT_EQ(document.WriteElement(nullptr, nullptr, u"Top", true, CString(u"cut\0off", 7)), nullptr);
  EXPECT_EQ(document.GetLastErrorText(), u"\"Top\" cannot hold the character U+0000.");
}

}  // namespace
