#include "tools/utilctl/source_writer.h"

#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "tools/utilctl/source_values.h"
#include "util/properties/property_types.h"

namespace utilctl {

namespace json = zorutil::json;
using namespace zorutil::properties;

namespace {

class CSourceWriter {
 public:
  CSourceWriter(const definition_file_content_t& content, const text_table_t& texts, const find_by_id_t& find)
      : content_(content), texts_(texts), find_(find) {
    for (const definition_ptr_t& each : content.definitions) {
      byId_.emplace(each->GetId(), each.get());
      ++nameCounts_[FoldedName(each->GetName())];
    }
  }

  json::object_t Property(const IPropertyDefinition& definition) const {
    const property_type_t type = definition.GetType();
    const CString typeName = PropertyTypeToText(type);
    json::object_t made;
    AddMember(made, u"name", CVariant(definition.GetName()));
    const bool isOwn = GetNamespaceNumber(definition.GetId()) == content_.number && definition.GetId() >= 0;
    if (isOwn) {
      AddMember(made, u"number", CVariant::FromInt32(definition.GetId() & 0x1FFFFF));
    } else {
      AddMember(made, u"id", CVariant::FromInt32(definition.GetId()));
    }
    AddMember(made, u"type", typeName.IsEmpty() ? CVariant::FromInt32(type) : CVariant(typeName));
    AddFlag(made, u"exempt", definition.IsExempt());
    AddFlag(made, u"flag2", definition.GetSecondFlag());
    AddFlag(made, u"required", definition.IsRequired());
    AddFlag(made, u"serverOnly", definition.IsServerOnly());
    AddText(made, definition.GetMetaDataNumber());
    AddNumber(made, u"number2", definition.GetSecondNumber());
    AddNumber(made, u"number3", definition.GetThirdNumber());
    AddNumber(made, u"number4", definition.GetFourthNumber());
    AddValue(made, u"default", definition.GetDefaultValue(), type, value_use_t::value);
    AddValue(made, u"min", definition.GetMinValue(), type, value_use_t::limit);
    AddValue(made, u"max", definition.GetMaxValue(), type, value_use_t::limit);
    AddEnumValues(made, definition.GetEnumValues());
    AddConditions(made, u"allow", definition.GetAllowConditions());
    AddConditions(made, u"enable", definition.GetEnableConditions());
    return made;
  }

 private:
  static void AddFlag(json::object_t& made, const char16_t* name, bool isSet) {
    if (isSet) AddMember(made, name, CVariant::FromBool(true));
  }
  static void AddNumber(json::object_t& made, const char16_t* name, int number) {
    if (number != 0) AddMember(made, name, CVariant::FromInt32(number));
  }
  static void AddValue(json::object_t& made, const char16_t* name, const CVariant& value, property_type_t type,
                       value_use_t use) {
    if (!value.IsEmpty()) AddMember(made, name, ValueToJson(value, type, use));
  }

  void AddText(json::object_t& made, int number) const {
    AddNumber(made, u"textNumber", number);
    json::object_t languages;
    for (const auto& [tag, texts] : texts_) {
      const auto found = texts.find(static_cast<unsigned>(number));
      if (found != texts.end()) AddMember(languages, CString(tag), CVariant(found->second));
    }
    if (!languages.members.empty()) AddMember(made, u"text", std::move(languages));
  }

  void AddEnumValues(json::object_t& made, const enum_value_list_t& values) const {
    if (values.empty()) return;
    json::array_t list;
    for (const auto& each : values) {
      json::object_t value;
      AddMember(value, u"value", CVariant::FromInt32(each->GetValue()));
      AddText(value, each->GetMetaDataNumber());
      list.AddObject(std::move(value));
    }
    AddMember(made, u"values", std::move(list));
  }

  void AddConditions(json::object_t& made, const char16_t* name, const condition_list_t& conditions) const {
    if (conditions.empty()) return;
    json::array_t list;
    for (const auto& each : conditions) {
      json::object_t condition;
      property_type_t type = TYPE_NONE;
      if (const std::optional<CString> watched = FindName(each->GetWatchedId(), type)) {
        AddMember(condition, u"property", CVariant(*watched));
      } else {
        AddMember(condition, u"id", CVariant::FromInt32(each->GetWatchedId()));
      }
      const bool isEqual = each->GetOperation() == CVariantCompare::EQUAL;
      AddMember(condition, isEqual ? u"is" : u"isNot", ValueToJson(each->GetValue(), type, value_use_t::value));
      list.AddObject(std::move(condition));
    }
    AddMember(made, name, std::move(list));
  }

  // By which a source says the property; none when the name would lead to another one.
  std::optional<CString> FindName(int id, property_type_t& type) const {
    const auto own = byId_.find(id);
    const definition_ptr_t other = own == byId_.end() && id != 0 ? find_(id) : nullptr;
    const IPropertyDefinition* const watched = own == byId_.end() ? other.get() : own->second;
    if (watched == nullptr) return std::nullopt;
    const CString name = other == nullptr ? watched->GetName() : watched->GetQualifiedName();
    const auto count = nameCounts_.find(FoldedName(name));
    if (name.IsEmpty() || (count == nameCounts_.end() ? 0 : count->second) != (other == nullptr ? 1 : 0)) {
      return std::nullopt;
    }
    type = watched->GetType();
    return name;
  }

  const definition_file_content_t& content_;
  const text_table_t& texts_;
  const find_by_id_t& find_;
  std::map<int, const IPropertyDefinition*> byId_;
  std::map<std::u16string, int> nameCounts_;
};

}  // namespace

json::object_t MakeSource(const definition_file_content_t& content, const text_table_t& texts,
                          const find_by_id_t& find) {
  json::object_t source;
  AddMember(source, u"namespace", CVariant(content.namespaceName));
  AddMember(source, u"number", CVariant::FromInt32(content.number));
  json::array_t properties;
  const CSourceWriter writer(content, texts, find);
  for (const definition_ptr_t& each : content.definitions) properties.AddObject(writer.Property(*each));
  AddMember(source, u"properties", std::move(properties));
  return source;
}

}  // namespace utilctl
