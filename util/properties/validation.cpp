#include "util/properties/validation.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <unordered_map>

#include "platform/framework/cstring.h"
#include "platform/ole/string.h"
#include "platform/zorplatform/time_stamp.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/i18n/message_template.h"
#include "util/properties/condition_evaluator_internal.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/password.h"
#include "util/values/variant_compare.h"

namespace zorutil::properties {

using message_ptr_t = std::unique_ptr<i18n::ILocalizedMessage>;

namespace {

// --- the answers of a context, then of a definition ------------------------------------------------------------------

template <class Ask>
CVariant AskEditor(int id, IValidationContext& context, Ask ask) {
  const std::shared_ptr<IPropertyEditor> editor = context.GetPropertyEditor(id);
  return editor == nullptr ? CVariant() : ask(*editor);
}

template <class Ask, class Otherwise>
CVariant AskEither(int id, IValidationContext& context, Ask ask, Otherwise otherwise) {
  CVariant answer = AskEditor(id, context, ask);
  if (!answer.IsEmpty()) return answer;
  const IPropertyDefinition* const definition = context.GetDefinitions().FindDefinition(id);
  return definition == nullptr ? CVariant() : otherwise(*definition);
}

// The limits that hold for a property, without copying those of its definition.
class CLimits {
 public:
  CLimits(const IPropertyDefinition& definition, IValidationContext& context)
      : min_(&definition.GetMinValue()), max_(&definition.GetMaxValue()) {
    const std::shared_ptr<IPropertyEditor> editor = context.GetPropertyEditor(definition.GetId());
    if (editor == nullptr) return;
    if ((ownMin_ = editor->GetMinValue()).vt != VT_EMPTY) min_ = &ownMin_;
    if ((ownMax_ = editor->GetMaxValue()).vt != VT_EMPTY) max_ = &ownMax_;
  }
  CLimits(const CLimits&) = delete;
  CLimits& operator=(const CLimits&) = delete;

  const CVariant& GetMin() const noexcept { return *min_; }
  const CVariant& GetMax() const noexcept { return *max_; }
  bool AreEqual() const { return *min_ == *max_ || CVariantCompare::Values(*min_, *max_, CVariantCompare::EQUAL); }
  bool Include(const CVariant& value) const {
    return (min_->IsEmpty() || CVariantCompare::Values(value, *min_, CVariantCompare::GREATER_OR_EQUAL)) &&
           (max_->IsEmpty() || CVariantCompare::Values(value, *max_, CVariantCompare::LESS_OR_EQUAL));
  }

 private:
  const CVariant* min_;
  const CVariant* max_;
  CVariant ownMin_;
  CVariant ownMax_;
};

// --- the checks ------------------------------------------------------------------------------------------------------

message_ptr_t Failure(i18n::message_id_t id, std::vector<CVariant> arguments = {}) {
  return i18n::MakeLocalizedMessage(id, std::move(arguments));
}

bool IsSameValue(const CVariant& a, const CVariant& b) {
  return a.vt == b.vt ? a == b : CVariantCompare::Values(a, b, CVariantCompare::EQUAL);
}

bool HasExpectedType(const CVariant& value, property_type_t type) {
  const VARTYPE expected = ExpectedVartype(type);
  if (value.vt == expected) return true;
  CVariant converted = value;
  return converted.ConvertType(expected, CVariant::CONVERT_OR_CLEAR) && IsSameValue(converted, value);
}

int AsInt(const CVariant& value, int otherwise) {
  CVariant converted = value;
  return converted.ConvertType(VT_I4, CVariant::CONVERT_OR_CLEAR) ? converted.lVal : otherwise;
}

// What lies in an integer type of times, and the message for what does not.
struct time_rule_t {
  property_type_t type;
  int min;
  int max;
  i18n::message_id_t message;
};
constexpr std::int64_t kMsPerSecond = 1000;
constexpr std::int64_t kMsPerDay = 86'400 * kMsPerSecond;
constexpr std::int64_t kOleDayOf1970 = 25'569;
constexpr time_rule_t kTimeRules[] = {
    {TYPE_TIME_OF_DAY, 0, 86'399, i18n::IDS_TIME_OF_DAY_NOT_VALID},
    {TYPE_DATE, -657'434, 2'958'465, i18n::IDS_DATE_NOT_VALID},
    {TYPE_DATE_AND_TIME, 0, std::numeric_limits<int>::max(), i18n::IDS_DATE_AND_TIME_NOT_VALID}};

const time_rule_t* FindTimeRule(property_type_t type) {
  const auto* const found = std::find_if(std::begin(kTimeRules), std::end(kTimeRules),
                                         [&](const time_rule_t& rule) { return rule.type == type; });
  return found == std::end(kTimeRules) ? nullptr : found;
}

CString TimeText(property_type_t type, int count) {
  using zorplatform::CTimeStamp;
  switch (type) {
    case TYPE_TIME_OF_DAY: return CTimeStamp::FromMilliseconds(count * kMsPerSecond).ToString().Mid(11, 8);
    case TYPE_DATE: return CTimeStamp::FromMilliseconds(count * kMsPerDay).ToString().Left(10);
    default: return CTimeStamp::FromMilliseconds(kOleDayOf1970 * kMsPerDay + count * kMsPerSecond).ToString().Left(19);
  }
}

// The end of the type itself, for a range that is open on one side.
CVariant EndOfType(property_type_t type, bool isMax) {
  const auto end = [&](auto zero, auto make) {
    using limits = std::numeric_limits<decltype(zero)>;
    return make(isMax ? limits::max() : limits::lowest());
  };
  switch (ExpectedVartype(type)) {
    case VT_R8: return end(double{}, CVariant::FromDouble);
    case VT_R4: return end(float{}, CVariant::FromFloat);
    case VT_INT: return end(std::int32_t{}, CVariant::FromInt);
    case VT_I4: {
      const time_rule_t* const rule = FindTimeRule(type);
      return CVariant::FromInt(isMax ? rule->max : rule->min);
    }
    default: return end(std::uint32_t{}, CVariant::FromUInt);
  }
}

CString LimitText(property_type_t type, const CVariant& limit, bool isMax) {
  const CVariant value = limit.IsEmpty() ? EndOfType(type, isMax) : limit;
  if (type == TYPE_HEX) return i18n::ExpandTemplate(u"%x", {&value, 1});
  if (type == TYPE_OCTAL) return i18n::ExpandTemplate(u"%o", {&value, 1});
  if (IsTimeBasedProperty(type)) return TimeText(type, AsInt(value, 0));
  return value.ToString();
}

message_ptr_t CheckRange(const IPropertyDefinition& definition, const CVariant& value, IValidationContext& context) {
  const CLimits limits(definition, context);
  if (limits.AreEqual()) return nullptr;
  const property_type_t type = definition.GetType();
  // Two texts would be compared as names: "9" follows "10".
  if (value.vt != VT_BSTR) {
    if (limits.Include(value)) return nullptr;
  } else {
    CVariant number = value;
    if (number.ConvertType(ExpectedVartype(type), CVariant::CONVERT_OR_CLEAR) && limits.Include(number)) return nullptr;
  }
  return Failure(i18n::IDS_VALUE_OUT_OF_RANGE,
                 {LimitText(type, limits.GetMin(), false), LimitText(type, limits.GetMax(), true)});
}

message_ptr_t CheckTime(const IPropertyDefinition& definition, const CVariant& value, IValidationContext& context) {
  const time_rule_t& rule = *FindTimeRule(definition.GetType());
  const int count = AsInt(value, -1);
  if (count < rule.min || count > rule.max) return Failure(rule.message);
  return CheckRange(definition, value, context);
}

struct length_limits_t {
  int min;
  int max;

  message_ptr_t Check(std::size_t length) const {
    const auto units = static_cast<std::int64_t>(length);
    if (units < min) return Failure(i18n::IDS_TEXT_TOO_SHORT, {CVariant::FromInt(min)});
    if (max != -1 && units > max) return Failure(i18n::IDS_TEXT_TOO_LONG, {CVariant::FromInt(max)});
    return nullptr;
  }
};

std::size_t TextLength(const CVariant& value) {
  return value.vt == VT_BSTR ? value.GetStringView().size() : static_cast<std::size_t>(value.ToString().GetLength());
}

message_ptr_t CheckLength(const IPropertyDefinition& definition, const IProperty& property,
                          IValidationContext& context) {
  const CLimits found(definition, context);
  const length_limits_t limits{found.GetMin().IsEmpty() ? 0 : AsInt(found.GetMin(), 0),
                               found.GetMax().IsEmpty() ? -1 : AsInt(found.GetMax(), -1)};
  if (limits.min == limits.max || (limits.min <= 0 && limits.max == -1)) return nullptr;
  switch (definition.GetType()) {
    case TYPE_PASSWORD: {
      CString plain = property.GetDecryptedString();
      const auto length = static_cast<std::size_t>(plain.GetLength());
      WipeText(plain);
      return limits.Check(length);
    }
    case TYPE_STRING_ARRAY:
      for (const BSTR text : property.GetValue().AsSpan<const BSTR>()) {
        if (auto failure = limits.Check(SysStringView(text).size())) return failure;
      }
      return nullptr;
    default: return limits.Check(TextLength(property.GetValue()));
  }
}

message_ptr_t CheckEnumeration(const IPropertyDefinition& definition, const CVariant& value,
                               IValidationContext& context) {
  const int sought = AsInt(value, 0);
  const enum_value_list_t& values = definition.GetEnumValues();
  if (std::any_of(values.begin(), values.end(), [&](const auto& each) { return each->GetValue() == sought; })) {
    return nullptr;
  }
  dynamicEnum offered(sought);
  context.IterateEnumValues(definition.GetId(), offered);
  return offered.IsFound() ? nullptr : Failure(i18n::IDS_VALUE_NOT_IN_ENUMERATION);
}

// Calls with each property that fails, its definition and the message, until the call says that it was enough.
// `onCircle` gets the property whose conditions cannot be evaluated.
template <class OnFailure, class OnCircle>
void CheckList(const property_list_t& list, IValidationContext& context, OnFailure onFailure, OnCircle onCircle) {
  CConditionEvaluator conditions(list, context.GetDefinitions());
  for (std::size_t at = 0; at < conditions.GetEntries().size(); ++at) {
    const auto& [property, definition] = conditions.GetEntries()[at];
    if (definition == nullptr || definition->IsExempt()) continue;
    try {
      if (!conditions.IsEntryAllowed(at)) continue;
    } catch (const CConditionCircle&) {
      onCircle(*definition);
      continue;
    }
    if (message_ptr_t message = CheckValue(*definition, *property, context)) {
      onFailure(*definition, std::move(message));
    }
  }
}

}  // namespace

IPropertyModel::~IPropertyModel() = default;
bool IPropertyModel::MayChildrenChange() const { return false; }
IPropertyEditor::~IPropertyEditor() = default;
IValidationContext::~IValidationContext() = default;
CValidationContext::~CValidationContext() = default;
dynamicEnum::~dynamicEnum() = default;

void IValidationContext::IterateEnumValues(int, functor_t<const enum_entry_t&>&) {}

CDefinitionStore& IValidationContext::GetDefinitions() { return GetDefinitionStore(); }

CDefinitionStore& CValidationContext::GetDefinitions() {
  return definitions_ == nullptr ? GetDefinitionStore() : *definitions_;
}

// --- what holds for a property of one object -------------------------------------------------------------------------

CVariant GetDefValue(int id, IValidationContext& context) {
  return AskEither(
      id, context, [](auto& editor) { return editor.GetDefValue(); },
      [](auto& definition) { return definition.GetDefaultValue(); });
}

CVariant GetMinValue(int id, IValidationContext& context) {
  return AskEither(
      id, context, [](auto& editor) { return editor.GetMinValue(); },
      [](auto& definition) { return definition.GetMinValue(); });
}

CVariant GetMaxValue(int id, IValidationContext& context) {
  return AskEither(
      id, context, [](auto& editor) { return editor.GetMaxValue(); },
      [](auto& definition) { return definition.GetMaxValue(); });
}

CVariant GetMinLength(int id, IValidationContext& context) {
  CVariant length = AskEither(
      id, context, [](auto& editor) { return editor.GetMinValue(); },
      [](auto& definition) { return CVariant::FromInt(definition.GetMinLength()); });
  return length.IsEmpty() ? CVariant::FromInt(0) : length;
}

CVariant GetMaxLength(int id, IValidationContext& context) {
  CVariant length = AskEither(
      id, context, [](auto& editor) { return editor.GetMaxValue(); },
      [](auto& definition) { return CVariant::FromInt(definition.GetMaxLength()); });
  return length.IsEmpty() ? CVariant::FromInt(-1) : length;
}

bool IsRequired(int id, IValidationContext& context) {
  return static_cast<bool>(AskEither(
      id, context, [](auto& editor) { return editor.IsRequired(); },
      [](auto& definition) { return CVariant::FromBool(definition.IsRequired()); }));
}

bool IsServerOnly(int id, IValidationContext& context) {
  return static_cast<bool>(AskEither(
      id, context, [](auto& editor) { return editor.IsServerOnly(); },
      [](auto& definition) { return CVariant::FromBool(definition.IsServerOnly()); }));
}

// --- checking --------------------------------------------------------------------------------------------------------

message_ptr_t CheckValue(const IPropertyDefinition& definition, const IProperty& property,
                         IValidationContext& context) {
  const property_type_t type = definition.GetType();
  const CVariant& value = property.GetValue();
  if (type != TYPE_PROP_ARRAY && !HasExpectedType(value, type)) return Failure(i18n::IDS_VALUE_OF_WRONG_TYPE);
  if (IsIntegerProperty(type) || IsFloatingPointProperty(type)) return CheckRange(definition, value, context);
  if (IsTimeBasedProperty(type)) return CheckTime(definition, value, context);
  if (IsStringProperty(type)) return CheckLength(definition, property, context);
  if (IsEnumProperty(type)) return CheckEnumeration(definition, value, context);
  return nullptr;
}

void ValidateProperties(const property_list_t& list, IValidationContext& context) {
  CheckList(
      list, context,
      [](const IPropertyDefinition& definition, message_ptr_t message) {
        throw i18n::message_exception_t(std::move(message), definition.GetName(), definition.GetQualifiedName(),
                                        definition.GetId(), kValidationFailed);
      },
      [](const IPropertyDefinition&) { throw; });
}

void ValidateProperties(const IPropertyModel* object, const property_list_t& list, IValidationContext& context) {
  ValidateProperties(list, context);
  if (object != nullptr) object->ValidateProperties(list, context);
}

std::vector<validation_failure_t> CollectValidationFailures(const property_list_t& list, IValidationContext& context) {
  std::vector<validation_failure_t> failures;
  const auto add = [&](const IPropertyDefinition& definition, message_ptr_t message) {
    failures.push_back({definition.GetId(), definition.GetName(), std::move(message)});
  };
  CheckList(list, context, add,
            [&](const IPropertyDefinition& definition) { add(definition, Failure(i18n::IDS_CONDITIONS_IN_CIRCLE)); });
  return failures;
}

property_list_t MergeProperties(const property_list_t& current, const property_list_t& changes) {
  property_list_t merged = current;
  std::unordered_map<int, property_list_t::iterator> places;
  for (auto place = merged.begin(); place != merged.end(); ++place) {
    if (place->get() != nullptr) places.emplace((*place)->GetId(), place);
  }
  for (const auto& change : changes) {
    if (change.get() == nullptr) continue;
    const auto [place, isNew] = places.try_emplace(change->GetId(), merged.end());
    if (isNew) {
      place->second = merged.insert(merged.end(), change);
    } else {
      *place->second = change;
    }
  }
  return merged;
}

void MergeAndValidateProperties(const property_list_t& current, const property_list_t& changes, property_list_t& merged,
                                IValidationContext& context) {
  property_list_t result = MergeProperties(current, changes);
  ValidateProperties(result, context);
  merged = std::move(result);
}

void MergeAndValidateProperties(const IPropertyModel* current, const IPropertyModel* target,
                                const property_list_t& changes, property_list_t& merged, IValidationContext& context) {
  property_list_t present;
  if (current != nullptr) current->GetProperties(present);
  property_list_t result = MergeProperties(present, changes);
  ValidateProperties(target, result, context);
  merged = std::move(result);
}

}  // namespace zorutil::properties
