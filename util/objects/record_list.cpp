#include "util/objects/record_list.h"

#include <algorithm>
#include <new>
#include <utility>

namespace zorutil {

CRecordList::~CRecordList() = default;

std::size_t CRecordList::BlockOf(unsigned index) const noexcept {
  const auto behind = std::upper_bound(starts_.begin(), starts_.end(), index);
  return static_cast<std::size_t>(behind - starts_.begin()) - 1;
}

void CRecordList::ShiftStarts(std::size_t from, unsigned by) noexcept {
  unsigned* const starts = starts_.data();
  const std::size_t count = starts_.size();
  for (std::size_t i = from; i < count; ++i) starts[i] += by;
}

void CRecordList::GrowBlock(block_t& block) {
  const unsigned more = std::max({increment_, block.capacity / 2, 1U});
  const unsigned capacity = std::min(kBlockSize, block.capacity + std::min(more, kBlockSize));
  auto slots = std::make_unique_for_overwrite<CTableObj*[]>(capacity);
  std::copy_n(block.slots.get(), block.count, slots.get());
  block.slots = std::move(slots);
  block.capacity = capacity;
}

void CRecordList::BeginHold() {
  held_.reserve(blocks_.size() + held_.size());
  ++holds_;
}

void CRecordList::AddBlock(std::size_t at, unsigned capacity) {
  if (spare_.slots == nullptr && !held_.empty()) {
    spare_ = std::move(held_.back());
    held_.pop_back();
  }
  const std::size_t blocks = blocks_.size() + held_.size() + 1;
  if (holds_ != 0 && held_.capacity() < blocks) held_.reserve(2 * blocks);
  if (spare_.slots == nullptr) spare_ = {std::make_unique_for_overwrite<CTableObj*[]>(capacity), 0, capacity};
  // Room in both before either changes, and more than one each time.
  if (blocks_.size() == blocks_.capacity()) blocks_.reserve(std::max<std::size_t>(1, blocks_.size() * 2));
  if (starts_.size() == starts_.capacity()) starts_.reserve(std::max<std::size_t>(1, starts_.size() * 2));
  const unsigned start = at < starts_.size() ? starts_[at] : count_;
  blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(at), std::exchange(spare_, {}));
  starts_.insert(starts_.begin() + static_cast<std::ptrdiff_t>(at), start);
}

void CRecordList::SplitBlock(std::size_t at) {
  AddBlock(at + 1, kBlockSize);
  block_t& lower = blocks_[at];
  block_t& upper = blocks_[at + 1];
  const unsigned kept = lower.count / 2;
  upper.count = lower.count - kept;
  std::copy_n(lower.slots.get() + kept, upper.count, upper.slots.get());
  lower.count = kept;
  starts_[at + 1] = starts_[at] + kept;
}

void CRecordList::RemoveBlock(std::size_t at) noexcept {
  blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(at));
  starts_.erase(starts_.begin() + static_cast<std::ptrdiff_t>(at));
}

void CRecordList::MergeBlock(std::size_t at) noexcept {
  block_t& lower = blocks_[at];
  const block_t& upper = blocks_[at + 1];
  if (lower.count + upper.count > std::min(lower.capacity, kBlockSize / 2)) return;
  std::copy_n(upper.slots.get(), upper.count, lower.slots.get() + lower.count);
  lower.count += upper.count;
  RemoveBlock(at + 1);
}

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
      block_t& from = blocks_[above - 1];
      block_t& into = blocks_[above];
      std::copy_backward(into.slots.get(), into.slots.get() + into.count, into.slots.get() + into.count + 1);
      into.slots[0] = from.slots[--from.count];
      ++into.count;
      --starts_[above];
    }
    return to;
  }
  if (below == 0) throw std::bad_alloc();
  if (index == starts_[to]) --to;  // behind the last of the block before
  for (--below; below < to; ++below) {
    block_t& into = blocks_[below];
    block_t& from = blocks_[below + 1];
    into.slots[into.count++] = from.slots[0];
    std::copy(from.slots.get() + 1, from.slots.get() + from.count, from.slots.get());
    --from.count;
    ++starts_[below + 1];
  }
  return to;
}

void CRecordList::Insert(unsigned index, CTableObj* record) {
  std::size_t at;
  try {
    at = MakePlace(index);
  } catch (const std::bad_alloc&) {
    if (holds_ == 0) throw;
    at = ShiftPlace(index);
  }
  block_t& block = blocks_[at];
  CTableObj** const slot = block.slots.get() + (index - starts_[at]);
  std::copy_backward(slot, block.slots.get() + block.count, block.slots.get() + block.count + 1);
  *slot = record;
  ++block.count;
  ++count_;
  ShiftStarts(at + 1, 1);
}

CTableObj* CRecordList::Take(unsigned index, bool keepRoom) noexcept {
  const std::size_t at = BlockOf(index);
  block_t& block = blocks_[at];
  CTableObj** const slot = block.slots.get() + (index - starts_[at]);
  CTableObj* const record = *slot;
  std::copy(slot + 1, block.slots.get() + block.count, slot);
  --block.count;
  --count_;
  ShiftStarts(at + 1, 0U - 1U);
  if (block.count == 0) {
    if (holds_ != 0) {
      held_.push_back(std::move(block));
    } else if (keepRoom) {
      spare_ = std::move(block);
    }
    RemoveBlock(at);
  } else if (!keepRoom && holds_ == 0 && block.count < kBlockSize / 4) {
    if (at + 1 < blocks_.size()) MergeBlock(at);
    if (at > 0) MergeBlock(at - 1);
  }
  return record;
}

unsigned CRecordList::IndexOf(const CTableObj* record) const noexcept {
  for (std::size_t at = 0; at < blocks_.size(); ++at) {
    CTableObj* const* const begin = blocks_[at].slots.get();
    CTableObj* const* const end = begin + blocks_[at].count;
    if (CTableObj* const* const found = std::find(begin, end, record); found != end)
      return starts_[at] + static_cast<unsigned>(found - begin);
  }
  return count_;
}

void CRecordList::Swap(CRecordList& other) noexcept {
  blocks_.swap(other.blocks_);
  starts_.swap(other.starts_);
  std::swap(count_, other.count_);
}

}  // namespace zorutil
