#include "util/objects/unordered_table.h"

#include <mutex>

#include "platform/text/collation.h"
#include "util/objects/table_obj.h"

// The records in the order of their names, those of one name in the order of the table. It knows the first `count` of
// the table, as long as none but the last comes or goes.
class CUnorderedTable::CNameIndex {
 public:
  explicit CNameIndex(unsigned moves) noexcept : moves_(moves) {}

  bool IsOf(unsigned moves) const noexcept { return moves_ == moves; }
  unsigned GetCount() const noexcept { return records_.GetCount(); }
  void Add(CTableObj* record) {
    const std::u16string_view name = record->GetName();
    const auto place =
        records_.Find([&](const CTableObj* other) { return other->GetName().CompareNoCase(name) <= 0 ? -1 : 1; });
    records_.Insert(place.index, record);
  }
  CTableObj* FindFirst(std::u16string_view name) const {
    const auto place =
        records_.Find([&](const CTableObj* other) { return other->GetName().CompareNoCase(name) < 0 ? -1 : 1; });
    if (place.index == records_.GetCount()) return nullptr;
    CTableObj* const record = records_.At(place.index);
    return record->GetName().CompareNoCase(name) == 0 ? record : nullptr;
  }

 private:
  zorutil::CRecordList records_{zorutil::CRecordList::kBlockSize};
  unsigned moves_;
};

CUnorderedTable::CUnorderedTable(short type, bool trackMods, unsigned growthIncrement)
    : CTable(type, trackMods, growthIncrement) {}
CUnorderedTable::~CUnorderedTable() = default;

void CUnorderedTable::OnLoadEnd() noexcept { index_.reset(); }

CTableObj* CUnorderedTable::FindWhileLoading(std::u16string_view name) const {
  if (index_ == nullptr || !index_->IsOf(moves_)) index_ = std::make_unique<CNameIndex>(moves_);
  while (index_->GetCount() < records_.GetCount()) index_->Add(records_.At(index_->GetCount()));
  return index_->FindFirst(name);
}

CTableObj* CUnorderedTable::FindRecord(const char16_t* name, unsigned* index) const {
  if (name == nullptr) return nullptr;
  const std::lock_guard lock(lock_);
  const std::u16string_view view(name);
  if (loading_ && index == nullptr) return FindWhileLoading(view);
  for (unsigned i = 0; i < records_.GetCount(); ++i) {
    CTableObj* const record = records_.At(i);
    if (record->GetName().CompareNoCase(view) != 0) continue;
    if (index != nullptr) *index = i;
    return record;
  }
  return nullptr;
}

unsigned CUnorderedTable::FindInsertPos(const CTableObj*) const { return GetCount(); }
