#include "util/objects/surrogate_table.h"

#include "util/objects/table_obj.h"

CSurrogateTable::CSurrogateTable(CTableObj* owner, CTableObj* record)
    : CTable(0, false, 1), surrogateOwner_(owner), record_(record) {
  if (record != nullptr && !record->IsInTable()) Insert(record);
}

CSurrogateTable::~CSurrogateTable() {
  Remove(0U);  // by its place: the record may be gone
}

CTableObj* CSurrogateTable::GetOwner() const { return surrogateOwner_; }
CString CSurrogateTable::GetTableName() const { return u"Surrogate"; }
bool CSurrogateTable::CanHold(const CTableObj& object) const { return &object == record_; }
