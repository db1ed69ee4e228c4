#include "util/objects/object_search.h"

#include <mutex>
#include <string_view>

#include "platform/framework/cstring.h"
#include "platform/framework/sync.h"
#include "util/objects/table.h"
#include "util/objects/table_obj.h"

namespace zorutil {
namespace {

// References on the records of a table that are asked for.
template <class Wanted>
void Collect(const CTable& table, ref_counted_obj_ptr_vec_t& records, Wanted wanted) {
  const std::lock_guard guard(*table.GetLock());
  const unsigned count = table.GetCount();
  for (unsigned i = 0; i < count; ++i) {
    CTableObj* const record = table.GetRecord(i);
    if (wanted(*record)) records.emplace_back(record);
  }
}

ref_counted_obj_ptr FindRecord(const CTable& table, const char16_t* name) {
  const std::lock_guard guard(*table.GetLock());
  return table.FindRecord(name, nullptr);
}

template <class Call>
ref_counted_obj_ptr FirstOfTables(const CTableObj& from, Call call) {
  for (unsigned i = 0;; ++i) {
    const CTable* const table = from.GetChildTable(i);
    if (table == nullptr) return nullptr;
    if (auto found = call(*table)) return found;
  }
}

ref_counted_obj_ptr FindBelow(const CTableObj& from, std::u16string_view path, short type, short subtype) {
  const std::size_t end = path.find(u'.');
  const CString name(path.substr(0, end));
  if (name.IsEmpty()) return nullptr;
  return FirstOfTables(from, [&](const CTable& table) -> ref_counted_obj_ptr {
    auto record = FindRecord(table, name.GetString());
    if (!record) return nullptr;
    if (end != std::u16string_view::npos) return FindBelow(*record, path.substr(end + 1), type, subtype);
    return IsOfType(*record, type, subtype) ? record : nullptr;
  });
}

}  // namespace

bool IsOfType(const CTableObj& object, short type, short subtype) noexcept {
  return (type == kAnyType || object.GetType() == type) && (subtype == kAnyType || object.GetSubType() == subtype);
}

ref_counted_obj_ptr FindObjectByPath(const CTableObj& from, const char16_t* path, short type, short subtype) {
  return path == nullptr ? nullptr : FindBelow(from, path, type, subtype);
}

ref_counted_obj_ptr FindObjectBelow(const CTableObj& from, const char16_t* name, ITableObjVisitor& visitor) {
  if (name == nullptr) return nullptr;
  return FirstOfTables(from, [&](const CTable& table) -> ref_counted_obj_ptr {
    auto record = FindRecord(table, name);
    if (record && visitor.Visit(*record)) return record;
    ref_counted_obj_ptr_vec_t parents;
    Collect(table, parents, [](const CTableObj& each) { return each.GetChildTable(0) != nullptr; });
    for (const auto& parent : parents) {
      if (auto found = FindObjectBelow(*parent, name, visitor)) return found;
    }
    return nullptr;
  });
}

ref_counted_obj_ptr VisitObjectsBelow(const CTableObj& from, ITableObjVisitor& visitor) {
  return FirstOfTables(from, [&](const CTable& table) -> ref_counted_obj_ptr {
    ref_counted_obj_ptr_vec_t records;
    Collect(table, records, [](const CTableObj&) { return true; });
    for (const auto& record : records) {
      if (visitor.Visit(*record)) return record;
      if (auto found = VisitObjectsBelow(*record, visitor)) return found;
    }
    return nullptr;
  });
}

ref_counted_obj_ptr_vec_t GetChildObjectsOf(const CTableObj& from, short type, short subtype) {
  ref_counted_obj_ptr_vec_t children;
  FirstOfTables(from, [&](const CTable& table) -> ref_counted_obj_ptr {
    Collect(table, children, [&](const CTableObj& each) { return IsOfType(each, type, subtype); });
    return nullptr;
  });
  return children;
}

}  // namespace zorutil
