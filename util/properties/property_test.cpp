#include "util/properties/property_list.h"

#include <gtest/gtest.h>

#include <locale>
#include <sstream>

#include "util/i18n/language.h"
#include "util/properties/property_types.h"
#include "util/serialization/stream_testing.h"
#include "util/values/value_testing.h"

using namespace zorutil::properties;
using value_testing::Value;

namespace {

std::shared_ptr<IProperty> Property(int id, const std::string& value) { return CProperty::Create(id, Value(value)); }

std::string Print(const property_list_t& list) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  for (const auto& property : list) out << property->GetId() << '=' << property->GetValue() << ' ';
  return out.str();
}

int ReadInto(zorutil::ISerializable& list, std::string_view hex) {
  return stream_testing::CodeOf(stream_testing::Bytes(hex), [&](zorutil::ISerializer& in) { list.Deserialize(in); });
}

TEST(Property, EqualsAnotherOfItsIdWithAnEqualValue) {
  for (const auto& row : value_testing::Rows("i4:5|s:5|yes; s:5|ui1:5|yes; i4:5|i4:6|no; i4:5|r8:5.5|no; s:a|s:A|no;"
                                             "r8:0|r8:-0.0|no; r8:nan|r8:nan|yes; [i4:1 2]|[i4:1 2]|yes;"
                                             "[i4:1]|i4:1|no; null|null|no; |i4:0|no")) {
    SCOPED_TRACE(row[0] + " and " + row[1]);
    const auto left = Property(7, row[0]), right = Property(7, row[1]), same = left;
    EXPECT_EQ(left == right, row[2] == "yes");
    EXPECT_TRUE(left == same);
    EXPECT_FALSE(left == Property(8, row[0]));
  }
  const std::shared_ptr<IProperty> none, another;
  EXPECT_TRUE(none == another);
  EXPECT_FALSE(none == Property(0, "") || Property(0, "") == none);
}

TEST(PropertyList, HasTheBytesOfFiles) {
  constexpr char kList[] = "02000000010A2000030005000000FEFFFFFF08000300008061C3A4";
  const object_list_t written{{Property(0x200A01, "i4:5"), nullptr, Property(-2, "s:a\xC3\xA4")}, {}};
  const std::string bytes = std::string("02000000") + kList + "00000000";
  zorutil::memory_serializer_t out;
  written.Serialize(out);
  EXPECT_EQ(stream_testing::Hex(out.GetContent()), bytes);
  object_list_t read;
  EXPECT_EQ(ReadInto(read, bytes), 0);
  EXPECT_EQ(Print(read.front()), "2099713=5 -2=a\xC3\xA4 ");
  stream_testing::ExpectRefusesDamage(bytes, [](zorutil::ISerializer& in) { object_list_t().Deserialize(in); });
}

TEST(PropertyList, ReadingAppendsAndKeepsWhatCameBeforeAnError) {
  for (const auto& row :
       value_testing::Rows("00000000|0|1=1 ; FDFFFFFF|0|1=1 ; 01000000 02000000 030005000000|0|1=1 2=5 ;"
                           "FFFFFF7F 02000000 030005000000|-3|1=1 2=5 0= ;"
                           "02000000 02000000 030005000000 03000000 030005|-3|1=1 2=5 3= ;"
                           "02000000 02000000 004005000000|-1|1=1 2= ")) {
    SCOPED_TRACE(row[0]);
    property_list_t list{Property(1, "i4:1")};
    EXPECT_EQ(std::to_string(ReadInto(list, row[0])), row[1]);
    EXPECT_EQ(Print(list), row[2]);
  }
}

TEST(PropertyList, LookupsTakeTheFirstAndDeepCopiesShareNothing) {
  property_list_t list{nullptr, Property(4, "i4:1"), Property(5, "i4:2"), Property(4, "i4:3")};
  property_list_t shared(list), deep{Property(9, "i4:9")};
  CopyPropertyList(list, deep);
  CopyPropertyList(deep, deep);
  FindProperty(4, list)->SetValue(CVariant(u"b"));
  EXPECT_EQ(Print(deep), "4=1 5=2 4=3 ");
  EXPECT_EQ(RemoveProperty(4, shared)->GetValue().ToString(), u"b");
  EXPECT_EQ(RemoveProperty(6, shared).get(), nullptr);
  shared.pop_front();
  EXPECT_EQ(Print(shared), "5=2 4=3 ");
}

// What definition files rely on: number, name, VARTYPE, and the letter of the class.
TEST(PropertyTypes, NumbersNamesValuesAndClassesAreThoseOfFiles) {
  const auto classes = {IsNoDataProperty,    IsBooleanProperty,     IsStringProperty,        IsIntegerProperty,
                        IsTimeOfDayProperty, IsEnumProperty,        IsFloatingPointProperty, IsPropertyArrayProperty,
                        IsGroupProperty,     IsDateAndTimeProperty, IsBlobProperty,          IsDateProperty};
  for (const auto& row : value_testing::Rows(
           "0|None|0|a; 1|AllowDeny|11|b; 2|EnableDisable|11|b; 3|YesNo|11|b; 4|String|8|c; 5|Password|8|c;"
           "6|LocalFileSpec|8|c; 7|UncFileSpec|8|c; 8|LocalPathSpec|8|c; 9|UncPathSpec|8|c; 10|Integer|23|d;"
           "11|Hex|23|d; 12|Octal|23|d; 13|SignedInteger|22|d; 14|Real8|5|g; 15|Enumeration|22|f; 16||23|;"
           "17|PropArray|23|h; 18|Group|23|i; 19|StringWithBrowser|8|c; 20|TimeOfDay|3|e; 21|Date|3|l;"
           "22|DateAndTime|3|j; 23|Real4|4|g; 24|Blob|8209|k; 25|StringArray|8200|c; 26||23|; -1||23|")) {
    SCOPED_TRACE(row[0]);
    const auto type = static_cast<property_type_t>(std::stoi(row[0]));
    EXPECT_EQ(CString(PropertyTypeToText(type)), row[1]);
    EXPECT_EQ(PropertyTypeFromText(CString(row[1]).MakeUpper()), row[1].empty() ? TYPE_UNKNOWN : type);
    EXPECT_EQ(std::to_string(ExpectedVartype(type)), row[2]);
    std::string letters;
    for (char letter = 'a'; auto* const isOf : classes) letters.append(isOf(type) ? 1 : 0, letter++);
    EXPECT_EQ(letters, row[3]);
    EXPECT_EQ(IsTimeBasedProperty(type), row[2] == "3");
  }
  for (const char16_t* text : {u"Bool", u"String2", u""}) EXPECT_EQ(PropertyTypeFromText(text), TYPE_UNKNOWN);
  EXPECT_EQ(PropertyTypeFromText(nullptr), TYPE_UNKNOWN);
}

TEST(PropertyTypes, WordsForTruthAreThoseOfTheProductLanguage) {
  i18n::SetProductLanguageId(i18n::kLanguageGerman);
  CString words, yes, no;
  for (const auto type : {TYPE_ALLOW_DENY, TYPE_ENABLE_DISABLE, TYPE_YES_NO, TYPE_STRING}) {
    GetBooleanStrings(type, yes, no);
    words += yes + u"/" + no + u" ";
  }
  i18n::SetProductLanguageId(0);
  EXPECT_EQ(words, "Zulassen/Verweigern Aktivieren/Deaktivieren Ja/Nein True/False ");
}

}  // namespace
