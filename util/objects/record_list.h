// The records of a table in their order, for tables of any size: part of CTable, which hands out what others need.
//
// A flat array moves half of its content for each record that comes in between, which a file of a million names in
// another order than the table's turns into hours. So the records lie in blocks: to insert or to take out moves at most
// one block, a record is found by its position in the time of a small binary search, and what is appended in order
// fills the blocks to their end. A table of few records has one block, no larger than they need.
//
// The list owns none of its records. One thread at a time changes it, or any number read it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/export.h"

class CTableObj;

namespace zorutil {

class ZORUTIL_API CRecordList {
 public:
  static constexpr unsigned kBlockSize = 1024;

  /// `increment` slots at least are added when the first block grows, as far as the block takes them.
  explicit CRecordList(unsigned increment) noexcept : increment_(increment) {}
  CRecordList(const CRecordList&) = delete;
  CRecordList& operator=(const CRecordList&) = delete;
  ~CRecordList();

  unsigned GetCount() const noexcept { return count_; }
  unsigned GetIncrement() const noexcept { return increment_; }
  /// `index` lies below the count.
  CTableObj* At(unsigned index) const noexcept {
    if (blocks_.size() == 1) return blocks_.front().slots[index];
    const std::size_t block = BlockOf(index);
    return blocks_[block].slots[index - starts_[block]];
  }
  /// There is a record.
  CTableObj* GetLast() const noexcept {
    const block_t& last = blocks_.back();
    return last.slots[last.count - 1];
  }

  /// Puts a record before the one at `index`, which is the count at most. std::bad_alloc changes nothing.
  void Insert(unsigned index, CTableObj* record);
  /// Takes the record at `index` out, and gives it. With `keepRoom` it can be put back where it was, or elsewhere first
  /// and then back, without memory that might fail, until ReleaseRoom.
  CTableObj* Take(unsigned index, bool keepRoom = false) noexcept;
  void ReleaseRoom() noexcept { spare_ = {}; }
  /// From here on, as many records as are taken out can be put back, wherever and in whatever order, without memory
  /// that might fail. std::bad_alloc holds nothing. Each hold is ended by one EndHold.
  void BeginHold();
  void EndHold() noexcept {
    if (--holds_ == 0) std::vector<block_t>().swap(held_);
  }
  /// The count when the record is not there. Looks at every record.
  unsigned IndexOf(const CTableObj* record) const noexcept;
  void Swap(CRecordList& other) noexcept;

  /// The first record that does not stand before what is sought, and whether it is that. `compare(record)` is negative
  /// for records before it, 0 for the one sought.
  struct place_t {
    unsigned index;
    CTableObj* found;  ///< null: none, and `index` is where it belongs
  };
  template <class Compare>
  place_t Find(Compare compare) const {
    std::size_t low = 0;
    std::size_t high = blocks_.size();
    while (low < high) {  // the first block that begins behind it
      const std::size_t middle = (low + high) / 2;
      CTableObj* const first = blocks_[middle].slots[0];
      const int order = compare(first);
      if (order == 0) return {starts_[middle], first};
      if (order < 0) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low == 0) return {0, nullptr};
    const block_t& block = blocks_[low - 1];
    const unsigned start = starts_[low - 1];
    unsigned first = 1;
    unsigned last = block.count;
    while (first < last) {
      const unsigned middle = (first + last) / 2;
      CTableObj* const record = block.slots[middle];
      const int order = compare(record);
      if (order == 0) return {start + middle, record};
      if (order < 0) {
        first = middle + 1;
      } else {
        last = middle;
      }
    }
    return {start + first, nullptr};
  }

 private:
  struct block_t {
    std::unique_ptr<CTableObj*[]> slots;
    unsigned count = 0;
    unsigned capacity = 0;
  };
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

  std::vector<block_t> blocks_;   // none of them empty
  std::vector<unsigned> starts_;  // the index of the first record of each
  block_t spare_;
  std::vector<block_t> held_;  // emptied while room is held; its memory takes all blocks there are
  unsigned holds_ = 0;
  unsigned count_ = 0;
  unsigned increment_;
};

}  // namespace zorutil
