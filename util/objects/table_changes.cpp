#include "util/objects/table_changes_internal.h"

#include <algorithm>
#include <utility>

namespace zorutil {

// Room in the tables that records leave and come to, so that the way back needs no memory.
class CTableChanges::room_t {
 public:
  explicit room_t(const std::vector<entry_t>& entries) {
    held_.reserve(2 * entries.size());
    for (const entry_t& entry : entries) {
      Hold(entry.from);
      if (entry.to != entry.from) Hold(entry.to);
    }
  }
  room_t(const room_t&) = delete;
  room_t& operator=(const room_t&) = delete;
  ~room_t() {
    for (CTable* const table : held_) table->records_.EndHold();
  }

 private:
  void Hold(CTable* table) {
    // Mostly that of the record before. Holds nest, so it does not matter otherwise.
    if (table == nullptr || (!held_.empty() && held_.back() == table)) return;
    table->records_.BeginHold();
    held_.push_back(table);
  }
  std::vector<CTable*> held_;
};

void CTableChanges::Lock(CTable& table) {
  locked_.push_back(nullptr);
  table.GetLock()->Lock();
  locked_.back() = &table;
}

CTableChanges::~CTableChanges() {
  while (!locked_.empty()) {
    if (locked_.back() != nullptr) locked_.back()->GetLock()->Unlock();
    locked_.pop_back();
  }
  if (!isMade_) return;
  // Nothing that is given back here ends a table that is still to come: what was removed is deleted last.
  for (const entry_t& entry : entries_) {
    if (entry.from != nullptr) entry.from->RemoveRefs(entry.references);
  }
}

void CTableChanges::Add(CTableObj& record, CTable* to, const CString& name) {
  entries_.push_back({&record, record.GetTable(), to, name});
}

unsigned CTableChanges::PlaceOf(const CTable& table, unsigned hint, const CTableObj* record) {
  const CRecordList& records = table.records_;
  return hint < records.GetCount() && records.At(hint) == record ? hint : records.IndexOf(record);
}

// Takes all records out, then puts those in that have a place. Null, or the first that does not come about; then
// `taken_` and `put_` say how far it went.
const CTableObj* CTableChanges::TakeAndPut(bool isReal) {
  for (; taken_ < entries_.size(); ++taken_) {
    entry_t& entry = entries_[taken_];
    if (entry.from == nullptr) continue;
    entry.fromIndex = entry.from->IndexOf(entry.record);
    if (entry.fromIndex == CTable::invalid_index) return entry.record;
    entry.from->TakeAt(entry.fromIndex, entry.to == entry.from);
    if (isReal && entry.to != entry.from) entry.references = entry.record->SetTable(nullptr);
  }
  for (; put_ < entries_.size(); ++put_) {
    entry_t& entry = entries_[put_];
    if (entry.to == nullptr && entry.from != nullptr) continue;
    entry.record->SwapName(entry.name);
    if (entry.to == nullptr) continue;
    try {
      const bool isTaken = entry.from == entry.to || entry.to->CanHold(*entry.record);
      const unsigned index = isTaken ? entry.to->FindInsertPos(entry.record) : CTable::invalid_index;
      if (index > entry.to->records_.GetCount() || index >= CTable::max_index) {
        entry.record->SwapName(entry.name);
        return entry.record;
      }
      entry.to->PutAt(index, entry.record, entry.to == entry.from);
      entry.toIndex = index;
    } catch (...) {
      entry.record->SwapName(entry.name);
      throw;
    }
    if (isReal && entry.to != entry.from) entry.record->SetTable(entry.to);
  }
  return nullptr;
}

void CTableChanges::TakeBack(bool isReal) noexcept {
  if (hooksRan_) {
    for (entry_t& entry : entries_) {
      if (entry.from == nullptr) continue;
      entry.isStirred = entry.from->moves_ != entry.moves || entry.from->records_.GetCount() != entry.count;
    }
  }
  while (put_ > 0) {
    entry_t& entry = entries_[--put_];
    if (entry.to == nullptr && entry.from != nullptr) continue;
    if (entry.to != nullptr) {
      const unsigned index = PlaceOf(*entry.to, entry.toIndex, entry.record);
      if (index < entry.to->records_.GetCount()) {
        entry.to->TakeAt(index, entry.to == entry.from);
        if (isReal && entry.to != entry.from) entry.to->RemoveRefs(entry.record->SetTable(nullptr));
      }
    }
    entry.record->SwapName(entry.name);
  }
  while (taken_ > 0) {
    entry_t& entry = entries_[--taken_];
    if (entry.from == nullptr) continue;
    CTable& table = *entry.from;
    unsigned index = entry.fromIndex;
    if (entry.isStirred) {
      index = table.FindInsertPos(entry.record);
      // Beside the one to which a hook gave the name.
      if (index == CTable::invalid_index) table.FindRecord(entry.record->GetName(), &index);
      index = std::min(index, table.records_.GetCount());
    }
    table.PutAt(index, entry.record, entry.to == entry.from);
    if (isReal && entry.to != entry.from) {
      entry.record->SetTable(&table);
      table.RemoveRefs(std::exchange(entry.references, 0));
    }
  }
}

void CTableChanges::TellRemoved() {
  for (entry_t& entry : entries_) {
    if (entry.from == nullptr) continue;
    const unsigned index = entry.from->IndexOf(entry.record);
    if (index == CTable::invalid_index) continue;  // told below
    entry.from->OnRecordRemove(index);
    entry.isTold = true;
  }
}

void CTableChanges::TellInserted() {
  for (entry_t& entry : entries_) {
    if (entry.from == nullptr) continue;
    entry.moves = entry.from->moves_;
    entry.count = entry.from->records_.GetCount();
  }
  hooksRan_ = true;
  for (; inserted_ < entries_.size(); ++inserted_) {
    entry_t& entry = entries_[inserted_];
    if (entry.to != nullptr) entry.to->OnRecordInsert(PlaceOf(*entry.to, entry.toIndex, entry.record));
  }
}

const CTableObj* CTableChanges::Make(const std::function<void()>& finish) {
  removed_.reserve(entries_.size());
  const room_t room(entries_);
  bool leaves = false;
  for (const entry_t& entry : entries_) leaves |= entry.from != nullptr;
  bool isReal = !leaves;
  const auto quietly = [](auto call) {
    try {
      call();
    } catch (...) {  // a hook that is told of the way back has nobody to complain to
    }
  };
  const auto giveUp = [&] {
    for (std::size_t i = inserted_; i > 0; --i) {
      entry_t& entry = entries_[i - 1];
      if (entry.to == nullptr) continue;
      quietly([&] {
        const unsigned index = PlaceOf(*entry.to, entry.toIndex, entry.record);
        if (index < entry.to->records_.GetCount()) entry.to->OnRecordRemove(index);
      });
    }
    TakeBack(isReal);
    for (std::size_t i = entries_.size(); i > 0; --i) {
      const entry_t& entry = entries_[i - 1];
      if (!entry.isTold) continue;
      quietly([&] {
        const unsigned index = PlaceOf(*entry.from, entry.fromIndex, entry.record);
        if (index < entry.from->records_.GetCount()) entry.from->OnRecordInsert(index);
      });
    }
  };
  try {
    const CTableObj* refused = TakeAndPut(isReal);
    if (refused == nullptr && leaves) {
      TakeBack(false);
      TellRemoved();
      isReal = true;
      refused = TakeAndPut(true);
    }
    if (refused != nullptr) {
      giveUp();
      return refused;
    }
    TellInserted();
    finish();
  } catch (...) {
    giveUp();
    throw;
  }
  for (const entry_t& entry : entries_) {
    if (entry.from != nullptr) entry.from->SetModified(true);
    if (entry.to != nullptr) entry.to->SetModified(true);
    if (entry.to == nullptr && entry.from != nullptr) removed_.emplace_back(entry.record);
  }
  isMade_ = true;
  return nullptr;
}

}  // namespace zorutil
