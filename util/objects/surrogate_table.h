// A parent for an object that stands alone: a table that holds this one record, and does not own it.
//
//   const CSurrogateTable table(&device, &draftTag);
//   draftTag.GetParent();                                   // the device, as long as the table lives
//
// The parent's child tables know nothing of the record. References on it count for the parent. Both objects outlive the
// table, but the record may leave it, or be deleted, before. A resource; threads as table.h says.
#pragma once

#include "platform/export.h"
#include "util/objects/table.h"

class ZORUTIL_API CSurrogateTable : public CTable {
 public:
  /// Takes the record in, unless it is in a table already or null. `owner` may be null.
  CSurrogateTable(CTableObj* owner, CTableObj* record);
  CSurrogateTable(const CSurrogateTable&) = delete;
  CSurrogateTable& operator=(const CSurrogateTable&) = delete;
  /// Lets the record go, if it is still there.
  ~CSurrogateTable() override;

  CTableObj* GetOwner() const override;
  /// "Surrogate".
  CString GetTableName() const override;

 protected:
  /// The one record, which may come back after it left.
  bool CanHold(const CTableObj& object) const override;

 private:
  CTableObj* surrogateOwner_;
  CTableObj* record_;
};
