#include "util/properties/property_definition.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "platform/framework/invalid_arg.h"
#include "platform/zorplatform/exception.h"
#include "util/properties/definition_loader.h"
#include "util/serialization/primitives_internal.h"

namespace zorutil::properties {

using primitives::ReadLittle;
using primitives::WriteLittle;
using zorplatform::CException;

namespace {

int ReadInt(ISerializer& in) { return ReadLittle<std::int32_t>(in); }
bool ReadFlag(ISerializer& in) { return ReadLittle<std::uint8_t>(in) != 0; }
void WriteInt(ISerializer& out, int value) { WriteLittle(out, static_cast<std::int32_t>(value)); }
void WriteFlag(ISerializer& out, bool flag) { WriteLittle(out, static_cast<std::uint8_t>(flag)); }

CVariant ReadValue(ISerializer& in) {
  CVariant value;
  zorutil::Deserialize(value, in);
  return value;
}

int ReadCount(ISerializer& in, int most, const char* what) {
  const int count = ReadInt(in);
  if (count < 0 || count > most) {
    CException::Throw(CException::kEndOfStream, "corrupt property definition: " + std::to_string(count) + " " + what +
                                                    ", at most " + std::to_string(most) + " are possible");
  }
  return count;
}

template <class List, class MakeNew>
List ReadRecords(ISerializer& in, int most, const char* what, MakeNew makeNew) {
  List records;
  for (int left = ReadCount(in, most, what); left > 0; --left) {
    records.push_back(makeNew());
    records.back()->Deserialize(in);
  }
  return records;
}

template <class List>
void RequireWritable(const List& records, int most, const char* what) {
  if (records.size() > static_cast<std::size_t>(most)) {
    throw CInvalidArgException(std::to_string(records.size()) + " " + what + " of a property definition; " +
                               std::to_string(most) + " can be written");
  }
  if (std::find(records.begin(), records.end(), nullptr) != records.end()) {
    throw CInvalidArgException(std::string("an empty pointer among the ") + what + " of a property definition");
  }
}

template <class List>
void WriteRecords(ISerializer& out, const List& records) {
  WriteInt(out, static_cast<int>(records.size()));
  for (const auto& record : records) record->Serialize(out);
}

int LengthOf(const CVariant& limit, int without) {
  if (limit.IsEmpty()) return without;
  CVariant length = limit;
  return length.ConvertType(VT_I4, CVariant::CONVERT_OR_CLEAR) ? length.lVal : without;
}

constexpr char kEnumValues[] = "enumeration values";
constexpr char kConditions[] = "conditions";

}  // namespace

IEnumValueDefinition::~IEnumValueDefinition() = default;
IPropertyCondition::~IPropertyCondition() = default;
IPropertyDefinition::~IPropertyDefinition() = default;
enumeration_def_t::~enumeration_def_t() = default;
property_condition_t::~property_condition_t() = default;
property_def_t::~property_def_t() = default;

// --- enumeration values ----------------------------------------------------------------------------------------------

metadata_t enumeration_def_t::GetMetaData() const {
  return properties::GetMetaData(namespaceNumber_, metaDataNumber_, 0);
}

void enumeration_def_t::Serialize(ISerializer& out) const {
  WriteInt(out, value_);
  WriteInt(out, metaDataNumber_);
}

void enumeration_def_t::Deserialize(ISerializer& in) {
  const int value = ReadInt(in);
  metaDataNumber_ = ReadInt(in);
  value_ = value;
}

// --- conditions ------------------------------------------------------------------------------------------------------

void property_condition_t::Set(int watchedId, CVariantCompare::comparison_t operation, CVariant value) {
  watchedId_ = watchedId;
  operation_ = operation;
  value_ = std::move(value);
}

void property_condition_t::Serialize(ISerializer& out) const {
  WriteInt(out, watchedId_);
  WriteInt(out, operation_);
  zorutil::Serialize(value_, out);
}

void property_condition_t::Deserialize(ISerializer& in) {
  const int watchedId = ReadInt(in);
  const auto operation = static_cast<CVariantCompare::comparison_t>(ReadInt(in));
  Set(watchedId, operation, ReadValue(in));
}

const char16_t* ConditionOperationToString(CVariantCompare::comparison_t operation) noexcept {
  return operation == CVariantCompare::EQUAL ? u"==" : u"!=";
}

CVariantCompare::comparison_t ConditionOperationFromString(const char16_t* text) noexcept {
  const bool isEqual = text != nullptr && std::u16string_view(text) == u"==";
  return isEqual ? CVariantCompare::EQUAL : CVariantCompare::NOT_EQUAL;
}

// --- definitions -----------------------------------------------------------------------------------------------------

metadata_t property_def_t::GetMetaData() const {
  return properties::GetMetaData(GetNamespaceNumber(id_), metaDataNumber_, 0);
}

int property_def_t::GetMinLength() const { return LengthOf(min_, 0); }
int property_def_t::GetMaxLength() const { return LengthOf(max_, -1); }

std::shared_ptr<IEnumValueDefinition> property_def_t::NewEnumValue() const {
  return std::make_shared<enumeration_def_t>(GetNamespaceNumber(id_));
}

std::shared_ptr<IPropertyCondition> property_def_t::NewCondition() const {
  return std::make_shared<property_condition_t>();
}

void property_def_t::Serialize(ISerializer& out) const {
  if (type_ == TYPE_ENUMERATION) RequireWritable(enumValues_, kMaxEnumValues, kEnumValues);
  RequireWritable(allow_, kMaxConditions, kConditions);
  RequireWritable(enable_, kMaxConditions, kConditions);

  zorutil::Serialize(CVariant(name_), out);
  for (const int number : {id_, int{type_}, metaDataNumber_, secondNumber_, thirdNumber_, fourthNumber_}) {
    WriteInt(out, number);
  }
  for (const bool flag : {isExempt_, secondFlag_, isRequired_, isServerOnly_}) WriteFlag(out, flag);
  for (const CVariant* value : {&default_, &min_, &max_}) zorutil::Serialize(*value, out);
  if (type_ == TYPE_ENUMERATION) WriteRecords(out, enumValues_);
  WriteRecords(out, allow_);
  WriteRecords(out, enable_);
}

void property_def_t::Deserialize(ISerializer& in) {
  property_def_t read;
  read.name_ = ReadValue(in).ToString();
  read.id_ = ReadInt(in);
  read.type_ = static_cast<type_t>(ReadInt(in));
  for (int* number : {&read.metaDataNumber_, &read.secondNumber_, &read.thirdNumber_, &read.fourthNumber_}) {
    *number = ReadInt(in);
  }
  for (bool* flag : {&read.isExempt_, &read.secondFlag_, &read.isRequired_, &read.isServerOnly_}) {
    *flag = ReadFlag(in);
  }
  for (CVariant* value : {&read.default_, &read.min_, &read.max_}) *value = ReadValue(in);
  if (read.type_ == TYPE_ENUMERATION) {
    read.enumValues_ =
        ReadRecords<enum_value_list_t>(in, kMaxEnumValues, kEnumValues, [&] { return read.NewEnumValue(); });
  }
  for (condition_list_t* conditions : {&read.allow_, &read.enable_}) {
    *conditions = ReadRecords<condition_list_t>(in, kMaxConditions, kConditions, [&] { return read.NewCondition(); });
  }
  *this = std::move(read);
}

}  // namespace zorutil::properties
