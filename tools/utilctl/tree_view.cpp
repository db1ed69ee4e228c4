#include "tools/utilctl/tree_view.h"

#include "util/objects/table.h"

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
