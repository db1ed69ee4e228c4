#include "util/objects/record_list.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/text/ascii_internal.h"
#include "platform/text/collation.h"
#include "util/objects/table_obj.h"

namespace zorutil {
namespace {

// What names share is taken for so much less than it is, so that not each new name is a new beginning for its block.
constexpr unsigned kSlack = 1;
constexpr unsigned kMostShared = 0x7FFF;

// Of the first `most` characters, how many two names have in common.
unsigned Common(std::u16string_view a, std::u16string_view b, unsigned most) {
  const std::size_t length = std::min({a.size(), b.size(), std::size_t{most}});
  std::size_t i = 0;
  while (i < length && ascii::ToLower(a[i]) == ascii::ToLower(b[i])) ++i;
  return static_cast<unsigned>(i);
}

std::uint64_t BeginningFrom(std::u16string_view name, unsigned from) {
  return collation::BeginningOf(name.substr(std::min<std::size_t>(from, name.size())));
}
std::uint64_t BeginningOf(const CTableObj* record, unsigned from) { return BeginningFrom(record->GetName(), from); }

}  // namespace

CRecordList::~CRecordList() = default;

std::size_t CRecordList::BlockOf(unsigned index) const noexcept {
  const auto behind = std::upper_bound(starts_.begin(), starts_.end(), index);
  return static_cast<std::size_t>(behind - starts_.begin()) - 1;
}

// --- beginnings of names --------------------------------------------------------------------------------------------

bool CRecordList::FindBlocks(std::u16string_view name, range_t& range) const noexcept {
  if (blocks_.empty()) return false;
  if (Common(blocks_.front().slots[0].record->GetName(), name, shared_) < shared_) return false;
  const std::uint64_t beginning = collation::BeginningOf(name.substr(shared_));
  const auto equal = std::equal_range(firsts_.begin(), firsts_.end(), beginning);
  range = {static_cast<unsigned>(equal.first - firsts_.begin()), static_cast<unsigned>(equal.second - firsts_.begin())};
  return true;
}

CRecordList::range_t CRecordList::FindSlots(unsigned at, std::u16string_view name) const noexcept {
  const block_t& block = blocks_[at];
  const std::uint64_t beginning = BeginningFrom(name, block.shared);
  const auto before = [](const slot_t& slot, std::uint64_t sought) { return slot.beginning < sought; };
  const auto behind = [](std::uint64_t sought, const slot_t& slot) { return sought < slot.beginning; };
  const slot_t* const slots = block.slots.get();
  const slot_t* const end = slots + block.count;
  const slot_t* const first = std::lower_bound(slots + 1, end, beginning, before);
  // Seldom more than one.
  const slot_t* last = first;
  if (last != end && last->beginning == beginning) ++last;
  if (last != end && last->beginning == beginning) last = std::upper_bound(last, end, beginning, behind);
  return {static_cast<unsigned>(first - slots), static_cast<unsigned>(last - slots)};
}

void CRecordList::SetShared(block_t& block, unsigned shared) noexcept {
  block.shared = static_cast<std::uint16_t>(shared);
  for (slot_t* slot = block.slots.get(); slot != block.slots.get() + block.count; ++slot)
    slot->beginning = BeginningOf(slot->record, shared);
}

// Of a block whose records became fewer.
void CRecordList::ShareMore(std::size_t at) noexcept {
  block_t& block = blocks_[at];
  const unsigned common =
      Common(block.slots[0].record->GetName(), block.slots[block.count - 1].record->GetName(), kMostShared);
  if (common > block.shared + 3 * kSlack) SetShared(block, common - kSlack);
}

// A block begins with another record than before.
void CRecordList::SetFirst(std::size_t at) noexcept {
  const CTableObj* const record = blocks_[at].slots[0].record;
  const CTableObj* const other = blocks_[at == 0 ? blocks_.size() - 1 : 0].slots[0].record;
  const unsigned common = Common(record->GetName(), other->GetName(), kMostShared);
  if (blocks_.size() == 1) {
    shared_ = common > kSlack ? common - kSlack : 0;
  } else if (common < shared_) {
    shared_ = common > kSlack ? common - kSlack : 0;
    for (std::size_t i = 0; i < blocks_.size(); ++i) firsts_[i] = BeginningOf(blocks_[i].slots[0].record, shared_);
    return;
  }
  firsts_[at] = BeginningOf(record, shared_);
}

// A name comes to a block.
void CRecordList::Share(std::size_t at, std::u16string_view name) noexcept {
  block_t& block = blocks_[at];
  if (block.count == 0) {
    block.shared = static_cast<std::uint16_t>(std::clamp<std::size_t>(name.size(), kSlack, kMostShared) - kSlack);
    return;
  }
  const unsigned common = Common(block.slots[0].record->GetName(), name, block.shared);
  if (common < block.shared) SetShared(block, common > kSlack ? common - kSlack : 0);
}

// --- blocks ---------------------------------------------------------------------------------------------------------

void CRecordList::ShiftStarts(std::size_t from, unsigned by) noexcept {
  unsigned* const starts = starts_.data();
  const std::size_t count = starts_.size();
  for (std::size_t i = from; i < count; ++i) starts[i] += by;
}

void CRecordList::GrowBlock(block_t& block) {
  const unsigned more = std::max({increment_, block.capacity / 2U, 1U});
  const unsigned capacity = std::min(kBlockSize, block.capacity + std::min(more, kBlockSize));
  auto slots = std::make_unique_for_overwrite<slot_t[]>(capacity);
  std::copy_n(block.slots.get(), block.count, slots.get());
  block.slots = std::move(slots);
  block.capacity = static_cast<std::uint16_t>(capacity);
}

void CRecordList::BeginHold() {
  held_.reserve(blocks_.size() + held_.size());
  ++holds_;
}

void CRecordList::AddBlock(std::size_t at, unsigned capacity) {
  const std::size_t blocks = blocks_.size() + std::max<std::size_t>(held_.size(), 1);
  if (holds_ != 0 && held_.capacity() < blocks) held_.reserve(2 * blocks);
  // Room in all of them before one changes, and more than one each time.
  const auto makeRoom = [](auto& vector) {
    if (vector.size() == vector.capacity()) vector.reserve(std::max<std::size_t>(1, vector.size() * 2));
  };
  makeRoom(blocks_);
  makeRoom(starts_);
  makeRoom(firsts_);
  block_t added;
  if (held_.empty()) {
    added = {std::make_unique_for_overwrite<slot_t[]>(capacity), 0, static_cast<std::uint16_t>(capacity), 0};
  } else {
    added = std::move(held_.back());
    held_.pop_back();
  }
  const unsigned start = at < starts_.size() ? starts_[at] : count_;
  const auto place = static_cast<std::ptrdiff_t>(at);
  blocks_.insert(blocks_.begin() + place, std::move(added));
  starts_.insert(starts_.begin() + place, start);
  firsts_.insert(firsts_.begin() + place, 0);
}

void CRecordList::SplitBlock(std::size_t at) {
  AddBlock(at + 1, kBlockSize);
  block_t& lower = blocks_[at];
  block_t& upper = blocks_[at + 1];
  const auto kept = static_cast<std::uint16_t>(lower.count / 2);
  upper.count = static_cast<std::uint16_t>(lower.count - kept);
  std::copy_n(lower.slots.get() + kept, upper.count, upper.slots.get());
  upper.shared = lower.shared;
  lower.count = kept;
  starts_[at + 1] = starts_[at] + kept;
  SetFirst(at + 1);
  ShareMore(at);
  ShareMore(at + 1);
}

void CRecordList::RemoveBlock(std::size_t at) noexcept {
  const auto place = static_cast<std::ptrdiff_t>(at);
  blocks_.erase(blocks_.begin() + place);
  starts_.erase(starts_.begin() + place);
  firsts_.erase(firsts_.begin() + place);
}

void CRecordList::MergeBlock(std::size_t at) noexcept {
  block_t& lower = blocks_[at];
  const block_t& upper = blocks_[at + 1];
  if (lower.count + upper.count > std::min<unsigned>(lower.capacity, kBlockSize / 2)) return;
  std::copy_n(upper.slots.get(), upper.count, lower.slots.get() + lower.count);
  lower.count = static_cast<std::uint16_t>(lower.count + upper.count);
  RemoveBlock(at + 1);
  const unsigned common =
      Common(lower.slots[0].record->GetName(), lower.slots[lower.count - 1].record->GetName(), lower.shared);
  SetShared(lower, common > kSlack ? common - kSlack : 0);
}

// --- records --------------------------------------------------------------------------------------------------------

// The block that then has a free slot for the index.
std::size_t CRecordList::MakePlace(unsigned index) {
  if (blocks_.empty()) AddBlock(0, std::clamp(increment_, 1U, kBlockSize));
  std::size_t at = BlockOf(index);
  // Between two blocks: behind the lower one as long as it has room.
  if (at > 0 && index == starts_[at] && blocks_[at - 1].count < blocks_[at - 1].capacity) --at;
  if (blocks_[at].count == kBlockSize) {
    // What comes in order, rising or falling, leaves full blocks behind.
    if (index == starts_[at] + kBlockSize) {
      AddBlock(++at, kBlockSize);
    } else if (index == starts_[at]) {
      AddBlock(at, kBlockSize);
    } else {
      SplitBlock(at);
      if (index > starts_[at + 1]) ++at;
    }
  } else if (blocks_[at].count == blocks_[at].capacity) {
    GrowBlock(blocks_[at]);
  }
  return at;
}

// The same without memory: the nearest free slot wanders there, a record of each block between going the other way.
// Several blocks are as large as blocks get, so where there is a slot too few in one, there is one in another.
std::size_t CRecordList::ShiftPlace(unsigned index) {
  const auto hasRoom = [&](std::size_t at) { return blocks_[at].count < blocks_[at].capacity; };
  std::size_t to = blocks_.empty() ? 0 : BlockOf(index);
  std::size_t above = to, below = to;
  while (above < blocks_.size() && !hasRoom(above)) ++above;
  while (below > 0 && !hasRoom(below - 1)) --below;
  if (above < blocks_.size()) {
    for (; above > to; --above) {
      const unsigned last = starts_[above] - 1;
      CTableObj* const record = TakeFrom(above - 1, last);
      PutInto(above, last, record);
    }
    return to;
  }
  if (below == 0) throw std::bad_alloc();
  if (index == starts_[to]) --to;  // behind the last of the block before
  for (--below; below < to; ++below) {
    const unsigned first = starts_[below + 1];
    CTableObj* const record = TakeFrom(below + 1, first);
    PutInto(below, first, record);
  }
  return to;
}

// The block has room.
void CRecordList::PutInto(std::size_t at, unsigned index, CTableObj* record) noexcept {
  Share(at, record->GetName());
  block_t& block = blocks_[at];
  slot_t* const slot = block.slots.get() + (index - starts_[at]);
  std::copy_backward(slot, block.slots.get() + block.count, block.slots.get() + block.count + 1);
  *slot = {BeginningOf(record, block.shared), record};
  ++block.count;
  ++count_;
  ShiftStarts(at + 1, 1);
  if (slot == block.slots.get()) SetFirst(at);
}

// The block may be empty afterwards.
CTableObj* CRecordList::TakeFrom(std::size_t at, unsigned index) noexcept {
  block_t& block = blocks_[at];
  slot_t* const slot = block.slots.get() + (index - starts_[at]);
  CTableObj* const record = slot->record;
  std::copy(slot + 1, block.slots.get() + block.count, slot);
  --block.count;
  --count_;
  ShiftStarts(at + 1, 0U - 1U);
  if (index == starts_[at] && block.count != 0) SetFirst(at);
  return record;
}

void CRecordList::Insert(unsigned index, CTableObj* record) {
  std::size_t at = 0;
  try {
    at = MakePlace(index);
  } catch (const std::bad_alloc&) {
    if (holds_ == 0) throw;
    at = ShiftPlace(index);
  }
  PutInto(at, index, record);
}

CTableObj* CRecordList::Take(unsigned index) noexcept {
  const std::size_t at = BlockOf(index);
  CTableObj* const record = TakeFrom(at, index);
  block_t& block = blocks_[at];
  if (block.count == 0) {
    if (held_.size() < held_.capacity()) held_.push_back(std::move(block));
    RemoveBlock(at);
  } else if (holds_ == 0 && block.count < kBlockSize / 4) {
    if (at + 1 < blocks_.size()) MergeBlock(at);
    if (at > 0) MergeBlock(at - 1);
  }
  return record;
}

unsigned CRecordList::IndexOf(const CTableObj* record) const noexcept {
  for (std::size_t at = 0; at < blocks_.size(); ++at) {
    const slot_t* const begin = blocks_[at].slots.get();
    const slot_t* const end = begin + blocks_[at].count;
    const slot_t* const found = std::find_if(begin, end, [&](const slot_t& slot) { return slot.record == record; });
    if (found != end) return starts_[at] + static_cast<unsigned>(found - begin);
  }
  return count_;
}

void CRecordList::Swap(CRecordList& other) noexcept {
  blocks_.swap(other.blocks_);
  starts_.swap(other.starts_);
  firsts_.swap(other.firsts_);
  std::swap(shared_, other.shared_);
  std::swap(count_, other.count_);
}

}  // namespace zorutil
