#include "util/objects/surrogate_table.h"

#include "util/objects/table_obj.h"

CSurrogateTable::CSurrogateTable(CTableObj* owner, CTableObj* record)
    : CTable(0, false, 1), surrogateOwner_(owner), record_(record) {
  if (record != nullptr && !record->IsInTable()) Insert(record);
}

CSurrogateTable::~CSurrogateTable() {
  // The record is asked nothing: it may be gone.
  for (unsigned index = 0; index < GetCount(); ++index) {
    if (GetRecord(index) == record_) Remove(index);
  }
}

CTableObj* CSurrogateTable::GetOwner() const { return surrogateOwner_; }
CString CSurrogateTable::GetTableName() const { return u"Surrogate"; }
