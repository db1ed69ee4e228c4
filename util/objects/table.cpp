#include "util/objects/table.h"

#include <mutex>
#include <utility>

#include "platform/text/collation.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/text_parse.h"
#include "util/objects/table_internal.h"

namespace {

using lock_guard_t = std::lock_guard<CCriticalSection>;

}  // namespace

CTable::CTable(short, bool trackMods, unsigned growthIncrement) : notTracking_(!trackMods), records_(growthIncrement) {}

CTable::CTable(const CTable& other) : notTracking_(other.notTracking_.load()), records_(other.records_.GetIncrement()) {
  TakeCopies(other.CopyRecords());
}

CTable& CTable::operator=(const CTable& other) {
  if (this == &other) return *this;
  auto copies = other.CopyRecords();
  const lock_guard_t lock(lock_);
  TakeCopies(std::move(copies));
  SetModified(true);
  return *this;
}

CTable::~CTable() {
  owner_ = nullptr;  // it may be on its way out itself, and nothing climbs into it any more
  Reset();
}

// --- the defaults of the virtual operations -------------------------------------------------------------------------

CTableObj* CTable::GetOwner() const { return owner_; }
CString CTable::GetTableName() const { return {}; }
void CTable::OnCreateRecord(CTableObj*) const {}
void CTable::OnRecordInsert(unsigned) {}
void CTable::OnRecordLoad(unsigned) {}
void CTable::OnRecordRemove(unsigned) {}
bool CTable::OnRecordSave(unsigned) const { return true; }
void CTable::OnReset() {}
void CTable::OnLoad() {}
void CTable::OnSave() const {}
bool CTable::CanHold(const CTableObj&) const { return true; }
void CTable::OnLoadEnd() noexcept {}

CTableObj* CTable::CopyRecord(unsigned index) const {
  return CTableObj::CopyObject(*records_.At(index), CTableObj::kCopyHierarchy);
}

int CTable::OnCompare(const char16_t* a, const char16_t* b) const {
  const bool isAsked = a == comparedRecord_.data() && b == comparedName_.data();
  return isAsked ? collation::CompareNoCase(comparedRecord_, comparedName_)
                 : collation::CompareNoCase(zorplatform::TextOrEmpty(a), zorplatform::TextOrEmpty(b));
}

// --- finding --------------------------------------------------------------------------------------------------------

int CTable::CompareWith(const CTableObj* record, std::u16string_view name) const {
  comparedRecord_ = record->GetName();
  comparedName_ = name;
  return OnCompare(comparedRecord_.data(), name.data());
}

zorutil::CRecordList::place_t CTable::FindPlace(std::u16string_view name) const {
  return records_.Find(name, [&](const CTableObj* record) { return CompareWith(record, name); });
}

// Whether the name belongs between the records before and at the index.
bool CTable::FitsAt(unsigned index, std::u16string_view name) const {
  return index <= records_.GetCount() && (index == 0 || CompareWith(records_.At(index - 1), name) < 0) &&
         (index == records_.GetCount() || CompareWith(records_.At(index), name) > 0);
}

CTableObj* CTable::FindRecord(const char16_t* name, unsigned* index) const {
  if (name == nullptr) return nullptr;
  const lock_guard_t lock(lock_);
  const std::u16string_view view(name);
  // Files hold names in order, as a rule.
  if (loading_ && FitsAt(records_.GetCount(), view)) {
    lastMiss_ = records_.GetCount();
    return nullptr;
  }
  const auto place = FindPlace(view);
  if (place.found == nullptr) {
    lastMiss_ = place.index;
  } else if (index != nullptr) {
    *index = place.index;
  }
  return place.found;
}

unsigned CTable::FindInsertPos(const CTableObj* object) const {
  const lock_guard_t lock(lock_);
  const std::u16string_view name = object->GetName();
  const unsigned count = records_.GetCount();
  if (FitsAt(count, name)) return count;
  if (lastMiss_ < count && FitsAt(lastMiss_, name)) return lastMiss_;
  const auto place = FindPlace(name);
  return place.found == nullptr ? place.index : invalid_index;
}

unsigned CTable::GetCount() const {
  const lock_guard_t lock(lock_);
  return records_.GetCount();
}

CTableObj* CTable::GetRecord(unsigned index) const {
  const lock_guard_t lock(lock_);
  return index < records_.GetCount() ? records_.At(index) : nullptr;
}

// The index of an object that is a record of this table; invalid_index when it is none. Its name finds it, unless other
// records have the same name or the order is none.
unsigned CTable::IndexOf(const CTableObj* object) const {
  if (object == nullptr || object->GetTable() != this) return invalid_index;
  unsigned index = invalid_index;
  if (FindRecord(object->GetName(), &index) == object && index < records_.GetCount() && records_.At(index) == object)
    return index;
  index = records_.IndexOf(object);
  return index < records_.GetCount() ? index : invalid_index;
}

// --- records come and go --------------------------------------------------------------------------------------------

void CTable::PutAt(unsigned index, CTableObj* record, bool isMove) {
  records_.Insert(index, record);
  if (index + 1 < records_.GetCount()) ++moves_;
  lastMiss_ = invalid_index;
  for (CWatch* watch = watches_; watch != nullptr; watch = watch->GetOuter()) watch->OnPut(index, isMove);
}

CTableObj* CTable::TakeAt(unsigned index, bool isMove) noexcept {
  CTableObj* const record = records_.Take(index);
  ++moves_;
  lastMiss_ = invalid_index;
  for (CWatch* watch = watches_; watch != nullptr; watch = watch->GetOuter()) watch->OnTake(index, isMove);
  return record;
}

void CTable::SetModified(bool modified) {
  if (loading_ || notTracking_) return;
  modified_ = modified;
  if (!modified) return;
  if (CTableObj* const owner = GetOwner()) owner->SetModified(true);
}

// False when the object does not come in. Otherwise it belongs to the table, and the watch knows where it is.
bool CTable::InsertRecord(CTableObj* object, CWatch& watch) {
  if (object == nullptr || object->IsInTable() || !CanHold(*object) || records_.GetCount() >= max_index) return false;
  const unsigned index = FindInsertPos(object);
  if (index > records_.GetCount()) return false;
  PutAt(index, object);
  watch.Begin(index);
  object->SetTable(this);
  OnRecordInsert(index);
  SetModified(true);
  return true;
}

unsigned CTable::Insert(CTableObj* object) {
  const lock_guard_t lock(lock_);
  CWatch watch(*this);
  return InsertRecord(object, watch) ? watch.GetLastIndex() : invalid_index;
}

// Returns the references to be given back after unlocking.
std::int32_t CTable::RemoveRecord(unsigned index) {
  if (index >= records_.GetCount()) return 0;
  CWatch watch(*this);
  watch.Begin(index);
  OnRecordRemove(index);
  if (!watch.IsThere()) return 0;
  CTableObj* const record = TakeAt(watch.GetIndex());
  const std::int32_t references = record->SetTable(nullptr);
  SetModified(true);
  return references;
}

void CTable::Remove(unsigned index) {
  std::int32_t references = 0;
  {
    const lock_guard_t lock(lock_);
    references = RemoveRecord(index);
  }
  RemoveRefs(references);
}

void CTable::Remove(CTableObj* object) {
  AddRef();
  std::int32_t references = 1;
  {
    const lock_guard_t lock(lock_);
    if (object != nullptr && object->GetTable() == this) {
      const unsigned index = IndexOf(object);
      references += index != invalid_index ? RemoveRecord(index) : object->SetTable(nullptr);
    }
  }
  RemoveRefs(references);
}

void CTable::Delete(CTableObj* object) {
  if (object == nullptr) return;
  Remove(object);
  if (!object->IsInTable()) delete object;
}

// Swaps the record's name with the other, and puts it where it then belongs, which `index` is afterwards. False, and an
// exception: all as it was. The way back needs no memory.
bool CTable::MoveRenamed(unsigned& index, CString& name) {
  CTableObj* const record = TakeAt(index, true);
  const auto putBack = [&] {
    record->SwapName(name);
    PutAt(index, record, true);
  };
  record->SwapName(name);
  try {
    const unsigned after = FindInsertPos(record);
    if (after <= records_.GetCount()) {
      PutAt(after, record, true);
      index = after;
      return true;
    }
  } catch (...) {
    putBack();
    throw;
  }
  putBack();
  return false;
}

bool CTable::Rename(CTableObj* object, const CString& name) {
  const lock_guard_t lock(lock_);
  const unsigned before = IndexOf(object);
  if (before == invalid_index) return false;
  struct room_t {
    explicit room_t(zorutil::CRecordList& list) : records(list) { records.BeginHold(); }
    room_t(const room_t&) = delete;
    room_t& operator=(const room_t&) = delete;
    ~room_t() { records.EndHold(); }
    zorutil::CRecordList& records;
  } const room(records_);
  CString text = name;
  CWatch watch(*this);
  watch.Begin(before);
  // First without the hooks, which hear of nothing that does not come about.
  unsigned index = before;
  if (!MoveRenamed(index, text)) return false;
  TakeAt(index, true);
  object->SwapName(text);
  PutAt(before, object, true);

  OnRecordRemove(before);
  if (!watch.IsThere()) return false;
  index = watch.GetIndex();
  const bool isRenamed = MoveRenamed(index, text);
  OnRecordInsert(index);
  if (isRenamed) SetModified(true);
  return isRenamed;
}

std::int32_t CTable::DestroyRecords() noexcept {
  // A destructor that looks at the table finds it empty.
  zorutil::CRecordList records(0);
  records.Swap(records_);
  ++moves_;
  lastMiss_ = invalid_index;
  for (CWatch* watch = watches_; watch != nullptr; watch = watch->GetOuter()) watch->OnReset();
  std::int32_t references = 0;
  for (unsigned index = 0; index < records.GetCount(); ++index) {
    CTableObj* const record = records.At(index);
    references += record->SetTable(nullptr);
    delete record;
  }
  return references;
}

void CTable::Reset() {
  std::int32_t references = 0;
  {
    const lock_guard_t lock(lock_);
    references = DestroyRecords();
    loading_ = false;
    generated_.reset();
    OnLoadEnd();
    OnReset();
    if (!notTracking_) modified_ = false;
  }
  RemoveRefs(references);
}

// --- copies ---------------------------------------------------------------------------------------------------------

std::vector<CTable::record_ptr> CTable::CopyRecords() const {
  const lock_guard_t lock(lock_);
  std::vector<record_ptr> copies;
  copies.reserve(records_.GetCount());
  for (unsigned index = 0; index < records_.GetCount(); ++index) {
    copies.emplace_back(CopyRecord(index));
    if (copies.back() == nullptr)
      zorplatform::CException::Throw(zorplatform::CException::kEndOfStream, "table: a record cannot be copied");
  }
  return copies;
}

// Instead of the present records. The copies are in the order of the other table, which keeps this one's.
void CTable::TakeCopies(std::vector<record_ptr> copies) {
  zorutil::CRecordList records(records_.GetIncrement());
  for (const record_ptr& copy : copies) records.Insert(records.GetCount(), copy.get());
  Reset();
  records_.Swap(records);
  for (record_ptr& copy : copies) copy.release()->SetTable(this);
}

// --- references -----------------------------------------------------------------------------------------------------

std::int32_t CTable::AddRefs(std::int32_t count) const noexcept {
  const std::int32_t now = references_.fetch_add(count, std::memory_order_relaxed) + count;
  if (const CTableObj* const owner = GetOwner(); owner != nullptr && count != 0) owner->AddRefs(count);
  return now;
}

std::int32_t CTable::RemoveRefs(std::int32_t count) const noexcept {
  if (count == 0) return GetRefCount();
  const std::int32_t now = references_.fetch_sub(count, std::memory_order_relaxed) - count;
  if (const CTableObj* const owner = GetOwner()) owner->RemoveRefs(count);
  return now;
}
