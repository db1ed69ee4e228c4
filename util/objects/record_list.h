// The records of a table in their order, for tables of any size: part of CTable, which hands out what others need.
//
// A flat array moves half of its content for each record that comes in between, which a file of a million names in
// another order than the table's turns into hours. So the records lie in blocks: to insert or to take out moves at most
// one block, a record is found by its position in the time of a small binary search, and what is appended in order
// fills the blocks to their end. A table of few records has one block, no larger than they need.
//
// Beside each record stands the beginning of its name as a number, from where the names of the block differ on. A
// search goes by these, and looks at few records themselves; what it finds counts only once the table's own comparison
// has agreed, so that it is right in any order of names, and fast in the usual one.
//
// The list owns none of its records. One thread at a time uses it, for reading too, but for GetCount and At.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/export.h"

class CTableObj;

namespace zorutil {

class ZORUTIL_API CRecordList {
 public:
  /// Records of a block at most.
  static constexpr unsigned kBlockSize = 256;

  /// `increment` slots at least are added when the first block grows, as far as the block takes them.
  explicit CRecordList(unsigned increment) noexcept : increment_(increment) {}
  CRecordList(const CRecordList&) = delete;
  CRecordList& operator=(const CRecordList&) = delete;
  ~CRecordList();

  /// Records.
  unsigned GetCount() const noexcept { return count_; }
  /// As the constructor was given it.
  unsigned GetIncrement() const noexcept { return increment_; }
  /// `index` lies below the count.
  CTableObj* At(unsigned index) const noexcept {
    if (blocks_.size() == 1) return blocks_.front().slots[index].record;
    const std::size_t block = BlockOf(index);
    return blocks_[block].slots[index - starts_[block]].record;
  }

  /// Puts a record before the one at `index`, which is the count at most. std::bad_alloc changes nothing.
  void Insert(unsigned index, CTableObj* record);
  /// Takes the record at `index` out, and gives it.
  CTableObj* Take(unsigned index) noexcept;
  /// From here on, as many records as are taken out can be put back, wherever and in whatever order, without memory
  /// that might fail. std::bad_alloc holds nothing. Each hold is ended by one EndHold.
  /// @{
  void BeginHold();
  void EndHold() noexcept {
    if (--holds_ == 0) std::vector<block_t>().swap(held_);
  }
  /// @}
  /// The count when the record is not there. Looks at every record.
  unsigned IndexOf(const CTableObj* record) const noexcept;
  /// Exchanges the records; holds are not exchanged.
  void Swap(CRecordList& other) noexcept;

  /// The first record that does not stand before what is sought, and whether it is that.
  struct place_t {
    unsigned index;    ///< of the record, or of the one before which it would stand
    CTableObj* found;  ///< null: none, and `index` is where it belongs
  };
  /// `compare(record)` is negative for records before what is sought, 0 for it.
  template <class Compare>
  place_t Find(const Compare& compare) const {
    // The first block that begins behind it.
    const place_t block = Search(
        0, static_cast<unsigned>(blocks_.size()), [&](unsigned i) { return blocks_[i].slots[0].record; }, compare);
    if (block.found != nullptr) return {starts_[block.index], block.found};
    if (block.index == 0) return {0, nullptr};
    return FindInBlock(block.index - 1, 1, blocks_[block.index - 1].count, compare);
  }
  /// The same for what has a name, by which the records are in order, as a rule.
  template <class Compare>
  place_t Find(std::u16string_view name, const Compare& compare) const {
    if (pause_ > 0) {
      --pause_;
    } else if (const auto place = FindByBeginnings(name, compare)) {
      pauseLength_ = 0;
      return *place;
    } else {  // names beyond ASCII, or another order: not every time again
      pauseLength_ = pauseLength_ < kLongestPause ? pauseLength_ * 2 + 1 : kLongestPause;
      pause_ = pauseLength_;
    }
    return Find(compare);
  }

 private:
  static constexpr unsigned kLongestPause = 1023;
  struct slot_t {
    std::uint64_t beginning;  // of the name behind what the block's names share
    CTableObj* record;
  };
  struct block_t {
    std::unique_ptr<slot_t[]> slots;
    std::uint16_t count = 0;
    std::uint16_t capacity = 0;
    std::uint16_t shared = 0;  // so many characters at the beginning of all its names are the same, or more
  };
  struct range_t {
    unsigned first;
    unsigned last;
  };

  // The first of `low` to `high` that does not stand before what is sought.
  template <class RecordAt, class Compare>
  static place_t Search(unsigned low, unsigned high, const RecordAt& recordAt, const Compare& compare) {
    while (low < high) {
      const unsigned middle = (low + high) / 2;
      CTableObj* const record = recordAt(middle);
      const int order = compare(record);
      if (order == 0) return {middle, record};
      if (order < 0) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return {low, nullptr};
  }
  template <class Compare>
  place_t FindInBlock(unsigned block, unsigned low, unsigned high, const Compare& compare) const {
    const slot_t* const slots = blocks_[block].slots.get();
    const place_t place = Search(
        low, high, [&](unsigned i) { return slots[i].record; }, compare);
    return {starts_[block] + place.index, place.found};
  }
  // Nothing, when the comparison does not agree with what the beginnings say.
  template <class Compare>
  std::optional<place_t> FindByBeginnings(std::u16string_view name, const Compare& compare) const {
    range_t range{};
    if (!FindBlocks(name, range)) return std::nullopt;
    const place_t behind = Search(
        range.first, range.last, [&](unsigned i) { return blocks_[i].slots[0].record; }, compare);
    if (behind.found != nullptr) return place_t{starts_[behind.index], behind.found};
    place_t place{0, nullptr};
    if (behind.index > 0) {
      const unsigned block = behind.index - 1;
      range = FindSlots(block, name);
      place = FindInBlock(block, range.first, range.last, compare);
      if (place.found != nullptr) return place;
    }
    if (place.index > 0 && compare(At(place.index - 1)) >= 0) return std::nullopt;
    if (place.index == count_) return place;
    CTableObj* const next = At(place.index);
    const int order = compare(next);
    if (order < 0) return std::nullopt;
    return place_t{place.index, order == 0 ? next : nullptr};
  }
  // The blocks of whose first records the beginnings do not tell whether they stand before the name: those in front of
  // them do, those behind do not. False when they tell nothing.
  bool FindBlocks(std::u16string_view name, range_t& range) const noexcept;
  // The same of the slots of a block, but for the first, which does.
  range_t FindSlots(unsigned block, std::u16string_view name) const noexcept;

  std::size_t BlockOf(unsigned index) const noexcept;
  // Each with the strong guarantee.
  std::size_t MakePlace(unsigned index);
  std::size_t ShiftPlace(unsigned index);
  void GrowBlock(block_t& block);
  void AddBlock(std::size_t at, unsigned capacity);
  void SplitBlock(std::size_t at);
  void RemoveBlock(std::size_t at) noexcept;
  void MergeBlock(std::size_t at) noexcept;
  void ShiftStarts(std::size_t from, unsigned by) noexcept;
  void SetShared(block_t& block, unsigned shared) noexcept;
  void ShareMore(std::size_t at) noexcept;
  void SetFirst(std::size_t at) noexcept;
  void Share(std::size_t at, std::u16string_view name) noexcept;
  void PutInto(std::size_t at, unsigned index, CTableObj* record) noexcept;
  CTableObj* TakeFrom(std::size_t at, unsigned index) noexcept;

  std::vector<block_t> blocks_;        // none of them empty
  std::vector<unsigned> starts_;       // the index of the first record of each
  std::vector<std::uint64_t> firsts_;  // the beginning of its name behind what the first names of all blocks share
  std::vector<block_t> held_;          // emptied while room is held; its memory takes all blocks there are
  unsigned holds_ = 0;
  unsigned shared_ = 0;
  unsigned count_ = 0;
  unsigned increment_;
  mutable unsigned pause_ = 0;
  mutable unsigned pauseLength_ = 0;
};

}  // namespace zorutil
