#include "tools/utilctl/tree_view.h"

#include "tools/utilctl/source_values.h"
#include "util/objects/table.h"
#include "util/properties/property_types.h"

namespace utilctl {

std::span<const zorutil::field_t> FieldsOf(const CTableObj& object) {
  const zorutil::CDescribedObj* const described = zorutil::AsDescribed(&object);
  if (described == nullptr) return {};
  return described->GetTypeDescription().fields;
}

std::vector<children_t> ChildrenOf(const CTableObj& object) {
  std::vector<children_t> tables;
  for (unsigned at = 0; CTable* const table = object.GetChildTable(at); ++at) {
    children_t children{table->GetTableName(), {}};
    for (unsigned i = 0; i < table->GetCount(); ++i) children.objects.push_back(table->GetRecord(i));
    if (!children.objects.empty()) tables.push_back(std::move(children));
  }
  return tables;
}

std::string TypeNameOf(const CTableObj& object) { return object.GetObjectName().ToUtf8(); }

std::string NameOf(const CTableObj& object) { return object.GetName().ToUtf8(); }

std::string FieldTextOf(const CTableObj& object, const zorutil::field_t& field) {
  using namespace zorutil::properties;
  if (IsTimeBasedProperty(field.type) || field.type == TYPE_HEX || field.type == TYPE_OCTAL) {
    // As definitions and settings write them: 06:30:00, 0x1F.
    const auto json = ValueToJson(zorutil::GetField(object, field), field.type, value_use_t::value);
    const auto* const scalar = dynamic_cast<const zorutil::json::scalar_t*>(json.get());
    if (scalar != nullptr) return scalar->value.ToString().ToUtf8();
  }
  zorutil::field_value_t value;
  field.get(object, value);
  CString text;
  zorutil::FieldToText(field, value, text);
  switch (field.kind) {
    case zorutil::field_kind_t::PASSWORD: return text.IsEmpty() ? "\"\"" : "********";
    case zorutil::field_kind_t::TEXT: return '"' + text.ToUtf8() + '"';
    default: return text.ToUtf8();
  }
}

}  // namespace utilctl
