// Validation against the definitions of a program's own directory, which this file sets up for the whole test program.
#include "util/properties/validation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/framework/string_array.h"
#include "platform/zorplatform/app_dir.h"
#include "platform/zorplatform/exception.h"
#include "util/i18n/language.h"
#include "util/i18n/message_exception.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/definition_testing.h"
#include "util/properties/password.h"
#include "util/values/variant_helpers.h"

namespace zorutil::properties {
namespace {

using definition_testing::Define;
using definition_testing::When;

constexpr auto kEqual = CVariantCompare::EQUAL;
constexpr auto kNotEqual = CVariantCompare::NOT_EQUAL;

// Ids whose low byte is zero, as conditions look at that byte.
constexpr int Id(int number) { return MakePropertyId(900, number << 8); }
constexpr int kMode = Id(1), kOnlyInMode1 = Id(2), kOnlyIfAllowed = Id(3), kExempt = Id(4), kEnabledInMode2 = Id(5),
              kInMode1Or2 = Id(6);
constexpr int kCircleA = Id(10), kCircleB = Id(11), kBeside = Id(12), kOwn = Id(13);
constexpr int kText = Id(20), kEnum = Id(21);
constexpr int kNet = 2000, kChain = 3000, kChainLength = 5'000;

CVariant U(unsigned value) { return CVariant::FromUInt(value); }
const auto I4 = CVariant::FromInt32;
const auto R8 = CVariant::FromDouble;

CVariant Texts(std::initializer_list<CString> list) {
  CVariant value;
  variant_helpers::Set(value, CStringArray(list));
  return value;
}

std::shared_ptr<property_def_t> Conditional(int id, int watchedId, CVariantCompare::comparison_t operation = kEqual,
                                            CVariant value = U(1), std::size_t count = 1) {
  auto definition = Define(id, u"conditional", TYPE_INTEGER, U(0), U(9));
  definition->SetAllowConditions(condition_list_t(count, When(watchedId, operation, value)));
  return definition;
}

class CDefinitions : public testing::Environment {
 public:
  void SetUp() override {
    zorplatform::SetAppDir(folder_.GetPath());
    auto exempt = Define(kExempt, u"exempt", TYPE_INTEGER, U(0), U(1));
    exempt->SetExempt(true);
    exempt->SetRequired(true);
    exempt->SetDefaultValue(U(1));
    auto enabled = Define(kEnabledInMode2, u"enabled", TYPE_NONE);
    enabled->SetEnableConditions({When(kMode, kEqual, U(2))});
    auto enumeration = Define(kEnum, u"enum", TYPE_ENUMERATION);
    enumeration->SetEnumValues({std::make_shared<enumeration_def_t>(900, 1)});
    std::vector<std::shared_ptr<IPropertyDefinition>> all = {exempt, enabled, enumeration};
    all.push_back(Define(kMode, u"mode", TYPE_INTEGER));
    all.push_back(Define(kText, u"text", TYPE_STRING, U(2), U(4)));
    all.push_back(Conditional(kOnlyIfAllowed, kOnlyInMode1, kNotEqual, U(5)));
    auto either = Define(kInMode1Or2, u"either", TYPE_INTEGER, U(0), U(9));
    either->SetAllowConditions({When(kMode, kEqual, U(1)), When(kMode, kEqual, U(2))});
    all.push_back(either);
    const int watches[][2] = {
        {kOnlyInMode1, kMode}, {kCircleA, kCircleB}, {kCircleB, kCircleA}, {kBeside, kCircleA}, {kOwn, kOwn}};
    for (const auto& [id, watchedId] : watches) all.push_back(Conditional(id, watchedId));
    for (int i = kChain; i < kChain + kChainLength; ++i) all.push_back(Conditional(Id(i), Id(i + 1), kNotEqual, U(9)));
    for (int i = kNet; i < kNet + 100; ++i) all.push_back(Conditional(Id(i), Id(i + 1), kNotEqual, U(9), 4));
    WriteDefinitionFile(GetPropertiesDir() + CString(u"tests.prop"), {900, u"Tests", all});
    ASSERT_EQ(GetDefinition(kMode), nullptr);  // without an index
    CreateIndexFile();
  }

 private:
  CTempFolder folder_;
};
[[maybe_unused]] const auto* const kDefinitions = testing::AddGlobalTestEnvironment(new CDefinitions);

property_list_t List(std::initializer_list<std::pair<int, CVariant>> properties) {
  property_list_t list;
  for (const auto& [id, value] : properties) list.push_back(CProperty::Create(id, value));
  return list;
}

std::string Failures(const property_list_t& list, IValidationContext& context) {
  std::string text;
  for (const auto& each : CollectValidationFailures(list, context))
    text += each.name.ToUtf8() + " " + std::to_string(each.message->GetMessageId()) + ";";
  return text;
}

unsigned IdOf(const std::shared_ptr<property_def_t>& definition, const CVariant& value) {
  CValidationContext plain;
  const auto message = CheckValue(*definition, *CProperty::Create(1, value), plain);
  return message == nullptr ? 0 : message->GetMessageId();
}

TEST(Validation, ChecksValuesByTypeAndLimits) {
  const CVariant none, nan = R8(std::numeric_limits<double>::quiet_NaN()), least = I4(std::numeric_limits<int>::min());
  const CVariant most = U(4'000'000'000U), over = U(4'000'000'001U), notOne = Texts({u"1"}),
                 notShort = Texts({u"a", u"abc"});
  using values_t = std::vector<CVariant>;
  const std::tuple<property_type_t, CVariant, CVariant, values_t, values_t, unsigned> cases[] = {
      {TYPE_INTEGER, U(10), most, {U(10), most, u"10", R8(10)}, {U(9), over, u"9"}, 508},
      {TYPE_INTEGER, none, none, {}, {R8(1.5), nan, I4(-1), u"x", none, CVariant::Null(), notOne}, 527},
      {TYPE_INTEGER, u"2", u"10", {U(9), u"9"}, {U(11), U(1), u"100"}, 508},
      {TYPE_SIGNED_INTEGER, none, I4(7), {least, u"-5"}, {I4(8)}, 508},
      {TYPE_SIGNED_INTEGER, I4(3), R8(3), {I4(99)}, {CVariant::FromInt64(std::int64_t{1} << 31)}, 527},
      {TYPE_REAL8, R8(-1.5), R8(2.5), {R8(2.5), U(2)}, {R8(2.6), nan}, 508},
      {TYPE_REAL4, none, none, {R8(0.5)}, {R8(0.1)}, 527},
      {TYPE_STRING, U(2), U(4), {u"ab", u"abcd", U(1234)}, {u"abcde", U(12345)}, 540},
      {TYPE_STRING, U(2), U(4), {}, {u"", u"a"}, 539},
      {TYPE_STRING, none, none, {u"", CString(u'x', 100'000)}, {none}, 527},
      {TYPE_PASSWORD, U(2), U(8), {EncryptPassword(u"12345678"), u"12"}, {u"123456789"}, 540},
      {TYPE_PASSWORD, U(2), none, {EncryptPassword(u"12")}, {EncryptPassword(u"1")}, 539},
      {TYPE_STRING_ARRAY, none, U(2), {Texts({}), Texts({u"", u"ab"})}, {notShort}, 540},
      {TYPE_BLOB, none, none, {CVariant(2, VT_UI1, "ab")}, {u"ab"}, 527},
      {TYPE_NONE, none, none, {none}, {U(0)}, 527},
      {TYPE_PROP_ARRAY, none, none, {u"anything"}, {}, 0},
      {TYPE_YES_NO, none, none, {CVariant::FromBool(true), I4(1)}, {I4(2)}, 527},
      {TYPE_TIME_OF_DAY, none, none, {I4(0), I4(86'399)}, {I4(86'400), I4(-1)}, 536},
      {TYPE_DATE, none, none, {I4(-657'434), I4(2'958'465)}, {I4(-657'435), I4(2'958'466)}, 537},
      {TYPE_DATE, I4(45'000), I4(45'001), {I4(45'001)}, {I4(45'002)}, 508},
      {TYPE_DATE_AND_TIME, I4(86'400), none, {I4(86'400)}, {I4(86'399)}, 508},
      {TYPE_DATE_AND_TIME, none, none, {I4(0)}, {I4(-1)}, 538}};
  for (const auto& [type, min, max, right, wrong, id] : cases) {
    const auto definition = Define(1, u"", type, min, max);
    for (const CVariant& value : right) EXPECT_EQ(IdOf(definition, value), 0U) << type << " " << value;
    for (const CVariant& value : wrong) EXPECT_EQ(IdOf(definition, value), id) << type << " " << value;
  }
}

TEST(Validation, TellsTheLimitsAsTheTypeShowsThem) {
  const std::tuple<property_type_t, CVariant, CVariant, const char*> cases[] = {
      {TYPE_HEX, U(0xA), U(0xBEEF), "a bis beef"},
      {TYPE_OCTAL, U(8), U(64), "10 bis 100"},
      {TYPE_SIGNED_INTEGER, {}, I4(-7), "-2147483648 bis -7"},
      {TYPE_DATE, I4(45'000), I4(45'001), "2023-03-15 bis 2023-03-16"},
      {TYPE_TIME_OF_DAY, I4(3'600), {}, "01:00:00 bis 23:59:59"},
      {TYPE_DATE_AND_TIME, I4(86'400), {}, "1970-01-02 00:00:00 bis 2038-01-19 03:14:07"}};
  CValidationContext plain;
  for (const auto& [type, min, max, range] : cases) {
    const auto message = CheckValue(*Define(1, u"", type, min, max), *CProperty::Create(1, U(0)), plain);
    ASSERT_NE(message, nullptr) << range;
    const std::string text = message->GetMessageText(i18n::kLanguageGerman).ToUtf8();
    EXPECT_NE(text.find(std::string(" von ") + range + " ein."), std::string::npos) << text;
  }
}

TEST(Validation, ThrowsTheFirstFailureAndCollectsAll) {
  CValidationContext plain;
  // Nobody checks the exempt one, one that no definition knows, and one of no namespace.
  const property_list_t list = List({{kExempt, U(77)}, {Id(99), u"x"}, {7, {}}, {kText, u"a"}, {kEnum, I4(2)}});
  EXPECT_EQ(Failures(list, plain), "text 539;enum 524;");
  EXPECT_EQ(GetDefinition(kEnum)->GetEnumValues()[0]->GetMetaData().fileName, u"tests");
  try {
    ValidateProperties(list, plain);
    ADD_FAILURE() << "passed";
  } catch (const i18n::message_exception_t& error) {
    EXPECT_EQ(error.GetMessageText(0), u"The text is too short. Enter at least 2 characters.");
    EXPECT_EQ(error.GetNumber(), kText);
    EXPECT_EQ(error.GetText1() + u"/" + error.GetText2(), u"text/Tests.text");
    EXPECT_EQ(error.GetErrorCode(), kValidationFailed);
  }
}

struct context_t : IValidationContext {
  struct editor_t : IPropertyEditor {
    CVariant GetMinValue() const override { return U(1); }
    CVariant GetMaxValue() const override { return max; }
    CVariant IsRequired() const override { return CVariant::FromBool(false); }
    CVariant GetDefValue() const override { return max; }
    CVariant IsServerOnly() const override { return max; }
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
  EXPECT_EQ(Failures(List({{kOnlyInMode1, U(0)}, {kText, u"a"}}), context), "text 539;");
  context.editedId = kText;
  EXPECT_EQ(Failures(List({{kText, u"a"}, {kText, u""}}), context), "text 539;");
  context.editor->max = U(1);  // equal limits
  EXPECT_EQ(Failures(List({{kText, u"abcdefgh"}}), context), "");
  EXPECT_EQ(GetMinLength(kText, context), U(1));
  EXPECT_EQ(GetMaxLength(kMode, context), CVariant::FromInt(-1));
  EXPECT_TRUE(IsRequired(kExempt, context) && !IsServerOnly(kExempt, context));
  EXPECT_EQ(GetDefValue(kExempt, context), U(1));
  context.editedId = kExempt;
  context.editor->max = U(3);
  EXPECT_TRUE(!IsRequired(kExempt, context) && IsServerOnly(kExempt, context));
  const auto all = {GetDefValue(kExempt, context),  GetMinValue(kExempt, context), GetMaxValue(kExempt, context),
                    GetMaxLength(kExempt, context), GetMinValue(kText, context),   GetMaxValue(kText, context)};
  EXPECT_TRUE(std::ranges::equal(all, std::initializer_list<CVariant>{U(3), U(1), U(3), U(3), U(2), U(4)}));
  EXPECT_EQ(Failures(List({{kEnum, U(101)}, {kEnum, u"1"}}), context), "");
  EXPECT_EQ(context.asked, 1);  // the search ended with the value
}

TEST(Conditions, FollowTheShortCutRule) {
  // T and F ask whether it is, t and f whether it is not; T and t hold. A row gives what its last evaluated one gives.
  const std::map<char, std::shared_ptr<property_condition_t>> conditions = {
      {'T', When(kMode, kEqual, U(1))},    {'t', When(kMode, kNotEqual, U(2))}, {'F', When(kMode, kEqual, U(2))},
      {'f', When(kMode, kNotEqual, U(1))}, {'0', When(0, kNotEqual, {})},       {'?', When(Id(77), kNotEqual, U(1))},
      {'e', When(Id(78), kNotEqual, U(1))}};
  const std::pair<const char*, bool> cases[] = {
      {"", true},    {"T", true},   {"t", true},   {"F", false},   {"f", false},  {"0", true},
      {"?", false},  {"e", false},  {"TF", true},  {"Tf", true},   {"tT", true},  {"tF", false},
      {"tt", true},  {"tf", false}, {"Ft", true},  {"FT", true},   {"FF", false}, {"Ff", false},
      {"fT", false}, {"ft", false}, {"tFt", true}, {"FtF", false}, {"0T", true},  {"?T", false}};
  const property_list_t list = List({{kMode, U(1)}, {Id(78), {}}, {kMode, U(2)}});
  for (const auto& [text, holds] : cases) {
    condition_list_t row;
    for (const char each : std::string(text)) row.push_back(conditions.at(each));
    EXPECT_EQ(EvaluateConditions(list.front(), row, list), holds) << text;
  }
  EXPECT_EQ(ConditionOperationToString(CVariantCompare::LESS), CString(u"!="));
  EXPECT_EQ(ConditionOperationFromString(u"=="), kEqual);
  for (const char16_t* text : {u"!=", u"== ", u""}) EXPECT_EQ(ConditionOperationFromString(text), kNotEqual);
}

TEST(Conditions, PreferTheWatchedPropertyOfTheSameLowByte) {
  const auto holds = [](unsigned char byte, const property_list_t& list) {
    return EvaluateCondition(*When(kMode, kEqual, U(1)), byte, list);
  };
  EXPECT_TRUE(holds(5, List({{kMode, U(2)}, {kMode | 5, U(1)}})));
  EXPECT_TRUE(holds(5, List({{kMode, U(1)}, {kMode | 4, U(2)}})));
  EXPECT_FALSE(holds(0, List({{kMode | 5, U(1)}})));
  EXPECT_TRUE(EvaluateCondition(*When(kMode | 4, kEqual, U(1)), 5, List({{kMode | 5, U(1)}, {kMode | 4, U(2)}})));
  property_list_t longList;  // is searched another way
  for (int i = 100; i > 0; --i) longList.push_back(CProperty::Create(kMode | i, U(i == 5 ? 1 : 2)));
  longList.push_back(CProperty::Create(kMode | 5, U(2)));
  const auto five = CProperty::Create(kText | 5);
  EXPECT_TRUE(EvaluateConditions(five, {When(kMode, kEqual, u"1")}, longList));
  EXPECT_FALSE(holds(101, longList));
}

TEST(Conditions, DecideWhatIsAllowedAndChecked) {
  CValidationContext plain;
  const std::pair<property_list_t, const char*> cases[] = {
      {List({{kMode, U(1)}, {kOnlyInMode1, U(10)}}), "conditional 508;"},
      {List({{kMode, U(2)}, {kOnlyInMode1, U(10)}}), ""},
      {List({{kOnlyInMode1, U(10)}}), ""},
      {List({{kMode, U(1)}, {kInMode1Or2, U(10)}}), "either 508;"},
      {List({{kOnlyIfAllowed, U(10)}, {kOnlyInMode1, U(6)}, {kMode, U(1)}}), "conditional 508;"},
      {List({{kOnlyIfAllowed, U(10)}, {kOnlyInMode1, U(6)}, {kMode, U(2)}}), ""}};  // the watched one is not allowed
  for (const auto& [list, failures] : cases) EXPECT_EQ(Failures(list, plain), failures);
  EXPECT_TRUE(IsEnabled(CProperty::Create(kEnabledInMode2), List({{kMode, U(2)}}), plain));
  EXPECT_FALSE(IsEnabled(CProperty::Create(kEnabledInMode2), List({{kMode, U(1)}}), plain));
  EXPECT_FALSE(IsAllowed(CProperty::Create(kOnlyInMode1), {}, plain));
}

TEST(Conditions, ThatWatchEachOtherInACircleEndWithAnError) {
  CValidationContext plain;
  const property_list_t circle =
      List({{kCircleA, U(1)}, {kCircleB, U(1)}, {kText, u""}, {kBeside, U(1)}, {kOwn, U(1)}});
  EXPECT_EQ(Failures(circle, plain), "conditional 541;conditional 541;text 539;conditional 541;conditional 541;");
  try {
    ValidateProperties(circle, plain);
    ADD_FAILURE() << "passed";
  } catch (const zorplatform::CException& error) {
    EXPECT_EQ(error.GetCode(), -1);
    const std::string a = std::to_string(kCircleA), way = a + " -> " + std::to_string(kCircleB) + " -> " + a;
    EXPECT_NE(std::string(error.what()).find(way), std::string::npos) << error.what();
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

// Takes lists of one property only.
struct model_t : IPropertyModel {
  void GetProperties(property_list_t& list) const override { list.push_back(CProperty::Create(kText, u"abc")); }
  void SetProperties(const property_list_t&) override {}
  void ValidateProperties(const property_list_t& list, IValidationContext&) const override {
    if (list.size() != 1) throw std::length_error("");
  }
  std::shared_ptr<IPropertyEditor> GetPropertyHelper(int, const property_list_t&) override { return nullptr; }
};

TEST(Merging, ReplacesInPlaceAndAppendsTheRest) {
  const auto text = [](const property_list_t& list) {
    std::string result;
    for (const auto& each : list)
      result += std::to_string((each->GetId() >> 8) & 0xFF) + "=" + each->GetValue().ToString().ToUtf8() + ";";
    return result;
  };
  const property_list_t current = List({{kMode, U(1)}, {kText, u"ab"}, {kMode, U(3)}});
  const property_list_t changes = List({{kEnum, U(5)}, {kMode, U(7)}, {kEnum, U(1)}});
  CValidationContext plain;
  property_list_t merged = current;
  const property_list_t wrong = List({{kMode, U(2)}, {kText, u"a"}});
  EXPECT_THROW(MergeAndValidateProperties(merged, wrong, merged, plain), i18n::message_exception_t);
  EXPECT_EQ(text(merged), text(current));
  MergeAndValidateProperties(merged, changes, merged, plain);
  EXPECT_EQ(text(merged), "1=7;20=ab;1=3;21=1;");
  const model_t model;
  MergeAndValidateProperties(&model, nullptr, changes, merged, plain);
  EXPECT_THROW(MergeAndValidateProperties(&model, &model, {}, merged, plain);
               MergeAndValidateProperties(&model, &model, changes, merged, plain), std::length_error);
  EXPECT_EQ(text(merged), "20=abc;");
}

TEST(Validation, TakesTheDefinitionsOfItsContext) {
  CTempFolder folder;
  // Here the mode that allows the other property is 7, and the text may be longer.
  WriteDefinitionFile(folder.PathOf("other.prop"), {900,
                                                    u"Other",
                                                    {Define(kMode, u"mode", TYPE_INTEGER, U(7), U(9)),
                                                     Conditional(kOnlyInMode1, kMode, kEqual, U(7)),
                                                     Define(kText, u"words", TYPE_STRING, U(0), U(5))}});
  CreateIndexFile(folder.GetPath());
  CDefinitionStore store(folder.GetPath());
  CValidationContext others(store), plain;
  const auto watched = CProperty::Create(kOnlyInMode1, U(99));
  property_list_t list = List({{kMode, U(7)}, {kText, u"abcde"}, {kEnum, U(9)}});
  list.push_back(watched);
  EXPECT_EQ(Failures(list, others), "conditional 508;");
  EXPECT_EQ(Failures(list, plain), "text 540;enum 524;");
  EXPECT_TRUE(IsAllowed(watched, list, others) && !IsAllowed(watched, list, plain));
  EXPECT_EQ(GetMaxLength(kText, others), CVariant::FromInt(5));
  EXPECT_THROW(ValidateProperties(list, others), i18n::message_exception_t);
}

TEST(Properties, AreEqualWhateverTheirValuesWhenExempt) {
  const property_list_t list = List({{kExempt, U(1)}, {kExempt, U(2)}, {kMode, U(1)}, {kMode, U(2)}});
  EXPECT_TRUE(list.front() == *std::next(list.begin()));
  EXPECT_FALSE(*std::prev(list.end(), 2) == list.back());
}

}  // namespace
}  // namespace zorutil::properties
