// Validation against the definitions of a program's own directory, which this file sets up for the whole test program.
#include "util/properties/validation.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/framework/string_array.h"
#include "platform/zorplatform/app_dir.h"
#include "platform/zorplatform/exception.h"
#include "util/i18n/language.h"
#include "util/i18n/message_exception.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_testing.h"
#include "util/properties/password.h"
#include "util/values/variant_helpers.h"

namespace zorutil::properties {
namespace {

using definition_testing::CTempFolder;
using definition_testing::Define;
using definition_testing::When;

constexpr auto kEqual = CVariantCompare::EQUAL;
constexpr auto kNotEqual = CVariantCompare::NOT_EQUAL;

// Ids whose low byte is zero but where it is told, as conditions look at that byte.
constexpr int Id(int number) { return MakePropertyId(900, number << 8); }
constexpr int kMode = Id(1), kOnlyInMode1 = Id(2), kOnlyIfAllowed = Id(3), kExempt = Id(4), kEnabledInMode2 = Id(5);
constexpr int kCircleA = Id(10), kCircleB = Id(11), kWatchesCircle = Id(12), kWatchesItself = Id(13);
constexpr int kInteger = Id(20), kHex = Id(21), kOctal = Id(22), kReal8 = Id(23), kHalfOpen = Id(24),
              kEqualLimits = Id(25), kSigned = Id(26), kTextLimits = Id(27), kReal4 = Id(28), kArray = Id(29);
constexpr int kText = Id(30), kPassword = Id(31), kTexts = Id(32), kAnyText = Id(33), kBlob = Id(34), kNone = Id(35),
              kYesNo = Id(36);
constexpr int kTime = Id(40), kDate = Id(41), kDateAndTime = Id(42), kLateDate = Id(43), kEnum = Id(50);
constexpr int kChain = 3000;  // Id(kChain + n) watches Id(kChain + n + 1)
constexpr int kChainLength = 5'000;
constexpr int kNet = 2000;  // Id(kNet + n) watches Id(kNet + n + 1) four times

CVariant U(unsigned value) { return CVariant::FromUInt(value); }

std::shared_ptr<property_def_t> Conditional(int id, condition_list_t conditions) {
  auto definition = Define(id, u"conditional", TYPE_INTEGER, U(0), U(9));
  definition->SetAllowConditions(std::move(conditions));
  return definition;
}

class CDefinitions : public testing::Environment {
 public:
  void SetUp() override {
    zorplatform::SetAppDir(folder_.GetPath());
    definition_file_t file{900, u"Tests", {}};
    const auto add = [&](const std::shared_ptr<property_def_t>& definition) { file.definitions.push_back(definition); };
    add(Define(kMode, u"mode", TYPE_INTEGER));
    add(Conditional(kOnlyInMode1, {When(kMode, kEqual, U(1))}));
    add(Conditional(kOnlyIfAllowed, {When(kOnlyInMode1, kNotEqual, U(5))}));
    auto exempt = Define(kExempt, u"exempt", TYPE_INTEGER, U(0), U(1));
    exempt->SetExempt(true);
    exempt->SetRequired(true);
    exempt->SetDefaultValue(U(1));
    add(exempt);
    auto enabled = Define(kEnabledInMode2, u"enabled", TYPE_NONE);
    enabled->SetEnableConditions({When(kMode, kEqual, U(2))});
    add(enabled);
    add(Conditional(kCircleA, {When(kCircleB, kEqual, U(1))}));
    add(Conditional(kCircleB, {When(kCircleA, kEqual, U(1))}));
    add(Conditional(kWatchesCircle, {When(kCircleA, kEqual, U(1))}));
    add(Conditional(kWatchesItself, {When(kWatchesItself, kEqual, U(1))}));
    add(Define(kInteger, u"integer", TYPE_INTEGER, U(10), U(4'000'000'000U)));
    add(Define(kHex, u"hex", TYPE_HEX, U(0xA), U(0xBEEF)));
    add(Define(kOctal, u"octal", TYPE_OCTAL, U(8), U(64)));
    add(Define(kReal8, u"real8", TYPE_REAL8, CVariant::FromDouble(-1.5), CVariant::FromDouble(2.5)));
    add(Define(kReal4, u"real4", TYPE_REAL4));
    add(Define(kHalfOpen, u"half open", TYPE_SIGNED_INTEGER, CVariant(), CVariant::FromInt(7)));
    add(Define(kEqualLimits, u"equal", TYPE_SIGNED_INTEGER, CVariant::FromInt(3), CVariant::FromDouble(3)));
    add(Define(kSigned, u"signed", TYPE_SIGNED_INTEGER));
    add(Define(kTextLimits, u"text limits", TYPE_INTEGER, CVariant(u"2"), CVariant(u"10")));
    add(Define(kArray, u"array", TYPE_PROP_ARRAY));
    add(Define(kText, u"text", TYPE_STRING, U(2), U(4)));
    add(Define(kPassword, u"password", TYPE_PASSWORD, U(2), U(8)));
    add(Define(kTexts, u"texts", TYPE_STRING_ARRAY, CVariant(), U(2)));
    add(Define(kAnyText, u"any text", TYPE_STRING));
    add(Define(kBlob, u"blob", TYPE_BLOB));
    add(Define(kNone, u"none", TYPE_NONE));
    add(Define(kYesNo, u"yes", TYPE_YES_NO));
    add(Define(kTime, u"time", TYPE_TIME_OF_DAY));
    add(Define(kDate, u"date", TYPE_DATE));
    add(Define(kDateAndTime, u"date and time", TYPE_DATE_AND_TIME, CVariant::FromInt(86'400), CVariant()));
    add(Define(kLateDate, u"late date", TYPE_DATE, CVariant::FromInt(45'000), CVariant::FromInt(45'001)));
    auto enumeration = Define(kEnum, u"enum", TYPE_ENUMERATION);
    enumeration->SetEnumValues(
        {std::make_shared<enumeration_def_t>(900, 1), std::make_shared<enumeration_def_t>(900, -4)});
    add(enumeration);
    for (int i = 0; i < kChainLength; ++i)
      add(Conditional(Id(kChain + i), {When(Id(kChain + i + 1), kNotEqual, U(9))}));
    for (int i = 0; i < 100; ++i)
      add(Conditional(Id(kNet + i), condition_list_t(4, When(Id(kNet + i + 1), kNotEqual, U(9)))));
    WriteDefinitionFile(GetPropertiesDir() + CString(u"tests.prop"), file);
    CreateIndexFile();
  }

 private:
  CTempFolder folder_{"validation_test"};
};
[[maybe_unused]] const auto* const kDefinitions = testing::AddGlobalTestEnvironment(new CDefinitions);

property_list_t List(std::initializer_list<std::pair<int, CVariant>> properties) {
  property_list_t list;
  for (const auto& [id, value] : properties) list.push_back(CProperty::Create(id, value));
  return list;
}

std::string Failures(const property_list_t& list, IValidationContext& context) {
  std::string text;
  for (const auto& failure : CollectValidationFailures(list, context)) {
    text += failure.name.ToUtf8() + " " + std::to_string(failure.message->GetMessageId()) + ";";
  }
  return text;
}

TEST(Validation, ChecksValuesByTypeAndLimits) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto texts = [](std::initializer_list<CString> list) {
    CVariant value;
    variant_helpers::Set(value, CStringArray(list));
    return value;
  };
  const auto i4 = CVariant::FromInt32;
  const auto r8 = CVariant::FromDouble;
  const struct {
    int id;
    CVariant value;
    unsigned message;
  } cases[] = {{kInteger, U(10), 0},
               {kInteger, U(4'000'000'000U), 0},
               {kInteger, U(9), 508},
               {kInteger, U(4'000'000'001U), 508},
               {kInteger, u"10", 0},
               {kInteger, u"9", 508},
               {kInteger, r8(10), 0},
               {kInteger, r8(10.5), 527},
               {kInteger, r8(nan), 527},
               {kInteger, i4(-1), 527},
               {kInteger, u"ten", 527},
               {kInteger, {}, 527},
               {kInteger, CVariant::Null(), 527},
               {kInteger, texts({u"10"}), 527},
               {kSigned, CVariant::FromInt64(std::int64_t{1} << 31), 527},
               {kSigned, i4(-5), 0},
               {kTextLimits, U(9), 0},
               {kTextLimits, U(11), 508},
               {kTextLimits, U(1), 508},
               {kReal8, r8(2.5), 0},
               {kReal8, r8(2.6), 508},
               {kReal8, r8(nan), 508},
               {kReal4, r8(0.5), 0},
               {kReal4, r8(0.1), 527},
               {kHalfOpen, i4(std::numeric_limits<int>::min()), 0},
               {kHalfOpen, i4(8), 508},
               {kEqualLimits, i4(99), 0},
               {kText, u"ab", 0},
               {kText, u"a", 539},
               {kText, u"abcd", 0},
               {kText, u"abcde", 540},
               {kText, U(12345), 540},
               {kText, {}, 527},
               {kAnyText, CString(u'x', 100'000), 0},
               {kAnyText, u"", 0},
               {kPassword, EncryptPassword(u"12345678"), 0},
               {kPassword, EncryptPassword(u"1"), 539},
               {kPassword, u"123456789", 540},
               {kTexts, texts({u"", u"ab"}), 0},
               {kTexts, texts({u"ab", u"abc"}), 540},
               {kTexts, u"ab", 527},
               {kBlob, CVariant(2, VT_UI1, "ab"), 0},
               {kBlob, u"ab", 527},
               {kNone, {}, 0},
               {kNone, U(0), 527},
               {kArray, u"anything", 0},
               {kYesNo, CVariant::FromBool(true), 0},
               {kYesNo, i4(1), 0},
               {kYesNo, i4(2), 527},
               {kTime, i4(86'399), 0},
               {kTime, i4(86'400), 536},
               {kTime, i4(-1), 536},
               {kDate, i4(-657'434), 0},
               {kDate, i4(-657'435), 537},
               {kDate, i4(2'958'465), 0},
               {kDate, i4(2'958'466), 537},
               {kDateAndTime, i4(86'400), 0},
               {kDateAndTime, i4(86'399), 508},
               {kDateAndTime, i4(-1), 538},
               {kLateDate, i4(45'002), 508},
               {kEnum, CVariant::FromInt(-4), 0},
               {kEnum, u"1", 0},
               {kEnum, CVariant::FromInt(2), 524},
               {kExempt, U(77), 0},
               {Id(99), u"nobody's", 0},
               {MakePropertyId(5, 1), {}, 0}};
  CValidationContext plain;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << (c.id >> 8 & 0xFF) << " = " << c.value);
    const auto failures = CollectValidationFailures(List({{c.id, c.value}}), plain);
    EXPECT_EQ(failures.empty() ? 0 : failures[0].message->GetMessageId(), c.message);
  }
}

TEST(Validation, TellsTheLimitsAsTheTypeShowsThem) {
  const struct {
    int id;
    CVariant value;
    const char* german;
  } cases[] = {
      {kHex, U(0xFFFF), "Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von a bis beef ein."},
      {kOctal, U(65), "Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von 10 bis 100 ein."},
      {kHalfOpen, U(8), "Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von -2147483648 bis 7 ein."},
      {kDateAndTime, U(0),
       "Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von 1970-01-02 00:00:00 bis 2038-01-19 03:14:07 "
       "ein."},
      {kLateDate, U(1),
       "Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von 2023-03-15 bis 2023-03-16 ein."},
      {kText, u"a", "Der Text ist zu kurz. Geben Sie mindestens 2 Zeichen ein."}};
  CValidationContext plain;
  for (const auto& c : cases) {
    try {
      ValidateProperties(List({{kMode, U(1)}, {c.id, c.value}, {kEnum, U(77)}}), plain);
      ADD_FAILURE() << c.german;
    } catch (const i18n::message_exception_t& error) {
      EXPECT_EQ(error.GetMessageText(i18n::kLanguageGerman), c.german);
      EXPECT_EQ(error.GetNumber(), c.id);
      EXPECT_EQ(error.GetText2(), CString(u"Tests.") + error.GetText1());
      EXPECT_EQ(error.GetErrorCode(), kValidationFailed);
    }
  }
}

struct context_t : IValidationContext {
  struct editor_t : IPropertyEditor {
    CVariant GetMinValue() const override { return U(1); }
    CVariant GetMaxValue() const override { return max; }
    CVariant IsRequired() const override { return CVariant::FromBool(false); }
    CVariant max;
  };
  std::shared_ptr<IPropertyEditor> GetPropertyEditor(int id) override { return id == editedId ? editor : nullptr; }
  void IterateEnumValues(int id, functor_t<const enum_entry_t&>& functor) override {
    for (int value = 100; id == kEnum && value < 103 && !functor({value, u""}); ++value) ++asked;
  }
  int editedId = 0;
  int asked = 0;
  std::shared_ptr<editor_t> editor = std::make_shared<editor_t>();
};

TEST(Validation, LetsTheContextOverrideADefinition) {
  context_t context;
  context.editedId = kInteger;
  EXPECT_EQ(Failures(List({{kInteger, U(1)}, {kHex, U(1)}}), context), "hex 508;");
  EXPECT_EQ(GetMaxValue(kInteger, context), U(4'000'000'000U));  // no answer of the editor
  EXPECT_EQ(GetMinValue(kInteger, context), U(1));
  context.editedId = kText;
  context.editor->max = U(1);  // equal limits
  EXPECT_EQ(Failures(List({{kText, u"abcdefgh"}}), context), "");
  EXPECT_EQ(GetMaxLength(kText, context), U(1));
  EXPECT_EQ(GetMaxLength(kAnyText, context), CVariant::FromInt(-1));
  EXPECT_EQ(GetMinLength(kPassword, context), CVariant::FromInt(2));
  EXPECT_TRUE(IsRequired(kExempt, context));
  EXPECT_EQ(GetDefValue(kExempt, context), U(1));
  context.editedId = kExempt;
  EXPECT_FALSE(IsRequired(kExempt, context));
  EXPECT_EQ(GetDefValue(Id(99), context), CVariant());

  EXPECT_EQ(Failures(List({{kEnum, U(101)}}), context), "");
  EXPECT_EQ(context.asked, 1);  // the search ended with the value
  EXPECT_EQ(Failures(List({{kEnum, U(103)}, {kInteger, U(0)}}), context), "enum 524;integer 508;");
}

TEST(Conditions, FollowTheShortCutRule) {
  // In the list kMode is 1: T holds with "==", t with "!="; F and f fail. What a row gives is that of the last
  // condition that is evaluated.
  const std::map<char, std::shared_ptr<property_condition_t>> conditions = {
      {'T', When(kMode, kEqual, U(1))},    {'t', When(kMode, kNotEqual, U(2))}, {'F', When(kMode, kEqual, U(2))},
      {'f', When(kMode, kNotEqual, U(1))}, {'0', When(0, kNotEqual, {})},       {'?', When(Id(77), kNotEqual, U(1))},
      {'e', When(Id(78), kNotEqual, U(1))}};
  const struct {
    const char* row;
    bool holds;
  } cases[] = {{"", true},    {"T", true},   {"t", true},   {"F", false},   {"f", false},  {"0", true},
               {"?", false},  {"e", false},  {"TF", true},  {"Tf", true},   {"tT", true},  {"tF", false},
               {"tt", true},  {"tf", false}, {"Ft", true},  {"FT", true},   {"FF", false}, {"Ff", false},
               {"fT", false}, {"ft", false}, {"tFt", true}, {"FtF", false}, {"0T", true},  {"?T", false}};
  const property_list_t list = List({{kMode, U(1)}, {Id(78), {}}, {kMode, U(2)}});
  for (const auto& c : cases) {
    condition_list_t row;
    for (const char* each = c.row; *each != '\0'; ++each) row.push_back(conditions.at(*each));
    EXPECT_EQ(EvaluateConditions(list.front(), row, list), c.holds) << c.row;
  }
  EXPECT_EQ(ConditionOperationToString(CVariantCompare::LESS), CString(u"!="));
  EXPECT_EQ(ConditionOperationFromString(u"=="), kEqual);
  for (const char16_t* text : {u"!=", u"=", u"== ", u"", static_cast<const char16_t*>(nullptr)})
    EXPECT_EQ(ConditionOperationFromString(text), kNotEqual);
}

TEST(Conditions, PreferTheWatchedPropertyOfTheSameLowByte) {
  const auto holds = [](int watchedId, unsigned char byte, const property_list_t& list) {
    return EvaluateCondition(*When(watchedId, kEqual, U(1)), byte, list);
  };
  EXPECT_TRUE(holds(kMode, 5, List({{kMode, U(2)}, {kMode | 5, U(1)}})));
  EXPECT_TRUE(holds(kMode, 5, List({{kMode, U(1)}, {kMode | 4, U(2)}})));
  EXPECT_FALSE(holds(kMode, 0, List({{kMode | 5, U(1)}})));
  EXPECT_TRUE(EvaluateConditions(CProperty::Create(kText | 5), {When(kMode, kEqual, u"1")},
                                 List({{kMode, U(2)}, {kMode | 5, U(1)}})));
  // Long lists are searched another way.
  property_list_t longList;
  for (int i = 100; i > 0; --i) longList.push_back(CProperty::Create(kMode | i, U(i == 5 ? 1 : 2)));
  longList.push_back(CProperty::Create(kMode | 5, U(2)));
  EXPECT_TRUE(holds(kMode, 5, longList));
  EXPECT_FALSE(holds(kMode, 101, longList));
}

TEST(Conditions, DecideWhatIsAllowedAndChecked) {
  CValidationContext plain;
  const struct {
    property_list_t list;
    const char* failures;
  } cases[] = {
      {List({{kMode, U(1)}, {kOnlyInMode1, U(10)}}), "conditional 508;"},
      {List({{kMode, U(2)}, {kOnlyInMode1, U(10)}}), ""},
      {List({{kOnlyInMode1, U(10)}}), ""},
      {List({{kOnlyIfAllowed, U(10)}, {kOnlyInMode1, U(6)}, {kMode, U(1)}}), "conditional 508;"},
      {List({{kOnlyIfAllowed, U(10)}, {kOnlyInMode1, U(6)}, {kMode, U(2)}}), ""}};  // the watched one is not allowed
  for (const auto& c : cases) EXPECT_EQ(Failures(c.list, plain), c.failures);
  const auto enabled = CProperty::Create(kEnabledInMode2);
  EXPECT_TRUE(IsEnabled(enabled, List({{kMode, U(2)}}), plain));
  EXPECT_FALSE(IsEnabled(enabled, List({{kMode, U(1)}}), plain));
  EXPECT_TRUE(IsAllowed(enabled, {}, plain));
  EXPECT_FALSE(IsAllowed(CProperty::Create(kOnlyInMode1), {}, plain));
}

TEST(Conditions, ThatWatchEachOtherInACircleEndWithAnError) {
  CValidationContext plain;
  const property_list_t circle =
      List({{kCircleA, U(1)}, {kCircleB, U(1)}, {kText, u""}, {kWatchesCircle, U(1)}, {kWatchesItself, U(1)}});
  EXPECT_EQ(Failures(circle, plain), "conditional 541;conditional 541;text 539;conditional 541;conditional 541;");
  try {
    ValidateProperties(circle, plain);
    ADD_FAILURE() << "passed";
  } catch (const zorplatform::CException& error) {
    EXPECT_EQ(error.GetCode(), -1);
    EXPECT_NE(
        std::string(error.what())
            .find(std::to_string(kCircleA) + " -> " + std::to_string(kCircleB) + " -> " + std::to_string(kCircleA)),
        std::string::npos)
        << error.what();
  }
  EXPECT_THROW(IsAllowed(circle.back(), circle, plain), zorplatform::CException);

  // A chain that ends is no circle, however long.
  property_list_t chain;
  for (int i = 0; i <= kChainLength; ++i) chain.push_back(CProperty::Create(Id(kChain + i), U(10)));
  EXPECT_EQ(CollectValidationFailures(chain, plain).size(), std::size_t{kChainLength});
  chain.back()->SetValue(U(9));  // forbids the one before, and so on in turn
  EXPECT_EQ(Failures(chain, plain), "");
  // What four conditions each ask of the next property is answered once.
  property_list_t net;
  for (int i = 0; i <= 100; ++i) net.push_back(CProperty::Create(Id(kNet + i), U(1)));
  EXPECT_EQ(Failures(net, plain), "");
}

TEST(Merging, ReplacesInPlaceAndAppendsTheRest) {
  const auto text = [](const property_list_t& list) {
    std::string result;
    for (const auto& each : list)
      result += std::to_string((each->GetId() >> 8) & 0xFF) + "=" + each->GetValue().ToString().ToUtf8() + ";";
    return result;
  };
  const property_list_t current = List({{kMode, U(1)}, {kInteger, U(20)}, {kMode, U(3)}});
  const property_list_t changes = List({{kSigned, U(5)}, {kMode, U(7)}, {kSigned, U(6)}});
  EXPECT_EQ(text(MergeProperties(current, changes)), "1=7;20=20;1=3;26=6;");
  EXPECT_EQ(text(current), "1=1;20=20;1=3;");

  CValidationContext plain;
  property_list_t merged = current;
  EXPECT_THROW(MergeAndValidateProperties(merged, List({{kMode, U(2)}, {kInteger, U(1)}}), merged, plain),
               i18n::message_exception_t);
  EXPECT_EQ(text(merged), text(current));

  struct object_t : IPropertyModel {
    void GetProperties(property_list_t& list) const override { list = own; }
    void SetProperties(const property_list_t&) override {}
    void ValidateProperties(const property_list_t& list, IValidationContext&) const override {
      if (list.size() > most) i18n::message_exception_t::Throw(nullptr, 1);
    }
    std::shared_ptr<IPropertyEditor> GetPropertyHelper(int, const property_list_t&) override { return nullptr; }
    property_list_t own;
    std::size_t most = 4;
  } object;
  object.own = current;
  MergeAndValidateProperties(&object, &object, changes, merged, plain);
  EXPECT_EQ(text(merged), "1=7;20=20;1=3;26=6;");
  object.most = 3;
  EXPECT_THROW(MergeAndValidateProperties(&object, &object, changes, merged, plain), i18n::message_exception_t);
  MergeAndValidateProperties(nullptr, nullptr, changes, merged, plain);
  EXPECT_EQ(text(merged), "26=6;1=7;");
}

TEST(Properties, AreEqualWhateverTheirValuesWhenExempt) {
  const auto equal = [](int id) {
    return std::shared_ptr<IProperty>(CProperty::Create(id, U(1))) ==
           std::shared_ptr<IProperty>(CProperty::Create(id, U(2)));
  };
  EXPECT_TRUE(equal(kExempt));
  EXPECT_FALSE(equal(kInteger));
}

}  // namespace
}  // namespace zorutil::properties
