// For tests and fuzz targets: what holds of every tree of objects at any moment when nobody is changing it.
//
//   EXPECT_EQ(tree_testing::FindBroken(root), "");
//   EXPECT_EQ(tree_testing::FindBroken(root, [&](const CTableObj& object) { return held[&object]; }), "");
//
// Looks at the tree with the calls that everybody uses. No lock is held over the whole of it.
#pragma once

#include <functional>
#include <set>
#include <string>

#include "util/objects/table.h"
#include "util/objects/table_obj.h"
#include "util/objects/unordered_table.h"

namespace tree_testing {

/// How many references there are on the object itself, beside those on what lies below it.
using own_references_t = std::function<std::int32_t(const CTableObj&)>;

class CTreeCheck {
 public:
  explicit CTreeCheck(own_references_t own) : own_(std::move(own)) {}

  bool CheckObject(const CTableObj& object) {
    if (!objects_.insert(&object).second) return Fail(object, "stands in the tree twice");
    if (object.IsDeletePending()) return Fail(object, "is waiting to be destroyed");
    std::int32_t references = own_(object);
    for (unsigned i = 0; const CTable* const table = object.GetChildTable(i); ++i) {
      if (table->GetOwner() != &object) return Fail(object, "does not own its table");
      if (!CheckTable(object, *table)) return false;
      references += table->GetRefCount();
    }
    if (object.GetRefCount() != references)
      return Fail(object,
                  "has a count of " + std::to_string(object.GetRefCount()) + ", not " + std::to_string(references));
    return true;
  }
  const std::string& GetFailure() const { return failure_; }
  std::size_t GetCount() const { return objects_.size(); }

 private:
  bool CheckTable(const CTableObj& owner, const CTable& table) {
    const bool isOrdered = dynamic_cast<const CUnorderedTable*>(&table) == nullptr;
    const unsigned count = table.GetCount();
    if (table.IsLoading()) return Fail(owner, "has a table that says it is loading");
    if (table.GetRecord(count) != nullptr || table.GetRecord(CTable::invalid_index) != nullptr)
      return Fail(owner, "has a record behind its last");
    std::int32_t references = 0;
    const CTableObj* before = nullptr;
    for (unsigned i = 0; i < count; ++i) {
      const CTableObj* const record = table.GetRecord(i);
      if (record == nullptr) return Fail(owner, "misses record " + std::to_string(i));
      if (record->GetTable() != &table) return Fail(*record, "does not know its table");
      if (record->GetParent() != &owner) return Fail(*record, "does not know its parent");
      if (isOrdered && before != nullptr && before->GetName().CompareNoCase(record->GetName()) >= 0)
        return Fail(*record, "is out of order");
      unsigned index = CTable::invalid_index;
      const CTableObj* const found = table.FindRecord(record->GetName(), &index);
      if (isOrdered ? found != record || index != i : found == nullptr || index > i)
        return Fail(*record, "is not found by its name");
      if (!CheckObject(*record)) return false;
      references += record->GetRefCount();
      before = record;
    }
    return table.GetRefCount() == references || Fail(owner, "has a table that counts other than its records");
  }
  bool Fail(const CTableObj& object, const std::string& what) {
    CString path;
    failure_ = object.GetPath(path).ToUtf8() + " " + what;
    return false;
  }

  own_references_t own_;
  std::set<const CTableObj*> objects_;
  std::string failure_;
};

/// Empty, or the path of an object and what is wrong with it.
inline std::string FindBroken(
    const CTableObj& root, own_references_t own = [](const CTableObj&) { return 0; }) {
  CTreeCheck check(std::move(own));
  check.CheckObject(root);
  return check.GetFailure();
}

}  // namespace tree_testing
