// The chain of blocks that holds the bytes of a serialization buffer: a list that grows at its end without moving what
// it holds, and gives memory back from its front.
//
//   std::shared_ptr<zorutil::buffers_t> chain = buffer.Detach();
//   for (const zorutil::buffer_t& block : *chain) Send(block.data, block.fill);
//
// Every block but the last is full, and no block is empty: the chain fills its blocks itself and gives them out to be
// read only. So the bytes of a chain are (blocks - 1) x 255 + fill of the last block.
// A resource: neither copied nor moved, but shared by std::shared_ptr. One thread at a time uses a chain; different
// chains are independent although their blocks come from the same pools.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>

#include "platform/export.h"
#include "util/serialization/pool.h"

namespace zorutil {

/// One block: payload, and how much of it is in use.
struct buffer_t {
  class pool_factory_t;
  /// Bytes that a block holds.
  static constexpr unsigned kPayload = 255;

  /// The bytes; those behind `fill` are unset.
  unsigned char data[kPayload];
  std::uint8_t fill;  ///< bytes in use, from the first on; 255: full
};
static_assert(sizeof(buffer_t) == 256);

/// Names the process-wide pools of chains by the size that is wanted.
class ZORUTIL_API buffer_t::pool_factory_t {
 public:
  /// 264 bytes: the pool of list nodes, which draws 1 MiB at a time. 5 to 16 and 17 to 24 bytes: the pools of elements
  /// of 16 and of 24 bytes, 64 KiB at a time. No pool serves other sizes: std::bad_alloc, "bad allocation".
  /// Each pool is made when it is first asked for, by whichever thread is first, and never destroyed: destructors of
  /// static objects may still use it.
  zorpool::IPool& operator()(unsigned size) const;
};

/// The chain; the top of this header says how it behaves.
class ZORUTIL_API buffers_t {
  struct node_t {
    node_t* next;  // the last node's next is the first
    buffer_t block;
  };

 public:
  /// Walks the blocks that the chain had when begin() was called. Appending leaves it valid.
  class const_iterator {
   public:
    /// What the standard library asks of a forward iterator. An end is not taken further, nor read.
    /// @{
    using iterator_category = std::forward_iterator_tag;
    using value_type = buffer_t;
    using difference_type = std::ptrdiff_t;
    using pointer = const buffer_t*;
    using reference = const buffer_t&;

    const_iterator() = default;
    reference operator*() const { return at_->block; }
    pointer operator->() const { return &at_->block; }
    const_iterator& operator++() {
      at_ = at_ == last_ ? nullptr : at_->next;
      return *this;
    }
    const_iterator operator++(int) {
      const const_iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const const_iterator& other) const { return at_ == other.at_; }
    /// @}

   private:
    friend buffers_t;
    const_iterator(const node_t* first, const node_t* last) : at_(first), last_(last) {}
    const node_t* at_ = nullptr;  // nullptr: the end
    const node_t* last_ = nullptr;
  };
  /// What the standard library asks of a container.
  /// @{
  using value_type = buffer_t;
  using iterator = const_iterator;
  /// @}

  /// Bytes of a block and its link, as the pool gives them.
  static constexpr unsigned kNodeSize = 264;

  /// A chain without blocks, itself from the pools; the last owner returns it and its blocks there. Only the count of
  /// its owners lies in the general heap. std::bad_alloc.
  static std::shared_ptr<buffers_t> Create();

  buffers_t() noexcept = default;
  buffers_t(const buffers_t&) = delete;
  buffers_t& operator=(const buffers_t&) = delete;
  /// Returns every block.
  ~buffers_t();

  /// The most blocks; with them, a chain holds less than 4 GiB.
  static constexpr unsigned max_size() noexcept { return 0xFFFFFFFF / kNodeSize; }

  /// Whether there is no block.
  bool empty() const noexcept { return last_ == nullptr; }
  /// Blocks.
  unsigned size() const noexcept { return count_; }
  /// Bytes in all blocks, whatever a buffer has read of them.
  unsigned bytes() const noexcept {
    return last_ == nullptr ? 0 : (count_ - 1) * buffer_t::kPayload + last_->block.fill;
  }
  /// The blocks, oldest first.
  /// @{
  const_iterator begin() const noexcept { return {last_ == nullptr ? nullptr : last_->next, last_}; }
  const_iterator end() const noexcept { return {}; }
  /// @}
  /// The oldest and the newest block, of a chain that is not empty.
  /// @{
  const buffer_t& front() const noexcept { return last_->next->block; }
  const buffer_t& back() const noexcept { return last_->block; }
  /// @}

  /// Adds `n` bytes at the end, which may be bytes of this chain. std::bad_alloc when the pool has no more blocks,
  /// std::length_error "list too long" beyond max_size(): then the bytes that found room before stay appended.
  void append(const void* src, unsigned n);
  /// Returns the oldest block of a chain that is not empty, read or not.
  void pop_front() noexcept;

 private:
  friend class CSerializationBuffer;  // writes within the last block
  void add_block();

  static_assert(sizeof(node_t) <= kNodeSize);
  node_t* last_ = nullptr;
  std::uint32_t count_ = 0;
};

}  // namespace zorutil
