#include "util/properties/property_types.h"

#include <gtest/gtest.h>

#include <string>

#include "util/i18n/language.h"
#include "util/values/value_testing.h"

using namespace zorutil::properties;

namespace {

struct class_t {
  const char* name;
  bool (*holds)(property_type_t) noexcept;
};
constexpr class_t kClasses[] = {
    {"none", IsNoDataProperty},         {"bool", IsBooleanProperty},         {"text", IsStringProperty},
    {"int", IsIntegerProperty},         {"real", IsFloatingPointProperty},   {"enum", IsEnumProperty},
    {"array", IsPropertyArrayProperty}, {"group", IsGroupProperty},          {"timeofday", IsTimeOfDayProperty},
    {"date", IsDateProperty},           {"datetime", IsDateAndTimeProperty}, {"blob", IsBlobProperty}};

// What definition files rely on: number, name, VARTYPE, class.
TEST(PropertyTypes, NumbersNamesValuesAndClassesAreThoseOfFiles) {
  for (const auto& row : value_testing::Rows(
           "0|None|0|none; 1|AllowDeny|11|bool; 2|EnableDisable|11|bool; 3|YesNo|11|bool; 4|String|8|text;"
           "5|Password|8|text; 6|LocalFileSpec|8|text; 7|UncFileSpec|8|text; 8|LocalPathSpec|8|text;"
           "9|UncPathSpec|8|text; 10|Integer|23|int; 11|Hex|23|int; 12|Octal|23|int; 13|SignedInteger|22|int;"
           "14|Real8|5|real; 15|Enumeration|22|enum; 16||23|; 17|PropArray|23|array; 18|Group|23|group;"
           "19|StringWithBrowser|8|text; 20|TimeOfDay|3|timeofday; 21|Date|3|date; 22|DateAndTime|3|datetime;"
           "23|Real4|4|real; 24|Blob|8209|blob; 25|StringArray|8200|text; 26||23|; -1||23|; 1000||23|")) {
    SCOPED_TRACE(row[0]);
    const auto type = static_cast<property_type_t>(std::stoi(row[0]));
    const CString name(row[1]);
    EXPECT_EQ(CString(PropertyTypeToText(type)), name);
    EXPECT_EQ(PropertyTypeFromText(name), name.IsEmpty() ? TYPE_UNKNOWN : type);
    EXPECT_EQ(PropertyTypeFromText(CString(name).MakeUpper()), name.IsEmpty() ? TYPE_UNKNOWN : type);
    EXPECT_EQ(std::to_string(ExpectedVartype(type)), row[2]);
    std::string classes;
    for (const class_t& c : kClasses) classes += c.holds(type) ? c.name : "";
    EXPECT_EQ(classes, row[3]);
    EXPECT_EQ(IsTimeBasedProperty(type), row[2] == "3");
  }
  for (const char16_t* const text : {u"Bool", u"String ", u"", static_cast<const char16_t*>(nullptr)}) {
    EXPECT_EQ(PropertyTypeFromText(text), TYPE_UNKNOWN);
  }
}

TEST(PropertyTypes, WordsForTruthAreThoseOfTheProductLanguage) {
  const auto words = [](property_type_t type) {
    CString yes, no;
    GetBooleanStrings(type, yes, no);
    return (yes + u" " + no).ToUtf8();
  };
  EXPECT_EQ(words(TYPE_ALLOW_DENY) + words(TYPE_ENABLE_DISABLE), "Allow DenyEnable Disable");
  i18n::SetProductLanguageId(i18n::kLanguageGerman);
  EXPECT_EQ(words(TYPE_YES_NO) + words(TYPE_STRING), "Ja NeinTrue False");
  i18n::SetProductLanguageId(0);
}

}  // namespace
