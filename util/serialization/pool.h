// Memory sources behind one small interface: the general heap, and pools of elements of one size.
//
//   static zorpool::CPool samples(sizeof(sample_t), 0x10000, nullptr, false);
//   void* memory = samples.Alloc(sizeof(sample_t));        // a pop from a free list
//   samples.Free(memory, sizeof(sample_t));
//
// Pools and heaps are resources: neither copied nor moved. Both classes may be used by any number of threads at once.
// What cannot be served throws a std::bad_alloc whose text is "bad allocation"; then nothing has changed.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "platform/export.h"
#include "platform/framework/sync.h"

namespace zorpool {

/// What every pool and heap throws when it has no memory to give. Its text is "bad allocation".
class ZORUTIL_API bad_alloc_t : public std::bad_alloc {
 public:
  ~bad_alloc_t() override;
  /// "bad allocation".
  const char* what() const noexcept override;
};

/// A source of memory. Whoever uses one is done with it before it goes.
class ZORUTIL_API IPool {
 public:
  IPool() = default;
  IPool(const IPool&) = delete;
  IPool& operator=(const IPool&) = delete;
  virtual ~IPool();
  /// `size` bytes, never null; throws std::bad_alloc.
  virtual void* Alloc(unsigned size) = 0;
  /// Takes back what Alloc gave out for the same size.
  virtual void Free(void* p, unsigned size) = 0;
};

/// The general heap: operator new and operator delete. The size given to Free is ignored.
class ZORUTIL_API DefaultHeap : public IPool {
 public:
  void* Alloc(unsigned size) override;
  void Free(void* p, unsigned size) override;
  /// The one that pools without a parent draw from. Made on first use, never destroyed.
  static DefaultHeap& GetInstance();
};

/// A pool of elements of one size, which are carved from large blocks of a parent.
///
/// The first block is taken by the first Alloc. When it is full a second pool is chained behind it, and so on; each
/// Alloc is served by the first pool of the chain that has room. A chained pool gives its block back to the parent as
/// soon as its last element is freed, and takes a new one when its turn comes again, so that a burst does not keep its
/// memory; the first pool does so only if it was told to.
///
/// An element has no header. The elements of a block lie side by side, so they are aligned as far as their size and
/// the parent's blocks are: elements of 264 bytes to 8, of 16 bytes to 16. A fresh block is filled with zeros; the
/// first word of an element is used while it is free.
class ZORUTIL_API CPool : public IPool {
 public:
  /// Takes no memory yet.
  /// @param elementSize  bytes; also the largest request that is served
  /// @param chunkSize  bytes of a block at most; what is left after whole elements is not asked for
  /// @param parent  where blocks come from: it outlives the pool, and does not use the pool that asks it. Null: the
  ///   DefaultHeap.
  /// @param releaseWhenEmpty  whether the first pool, too, gives its block back with its last element
  /// @throws CInvalidArgException for an element that cannot hold a pointer or a chunk that cannot hold an element
  CPool(unsigned elementSize, unsigned chunkSize, IPool* parent, bool releaseWhenEmpty);
  /// Gives all blocks back, the last of the chain first, elements in use with them. No other call is under way.
  ~CPool() override;

  /// One element. Refuses a size above the element's; what the parent throws comes through.
  void* Alloc(unsigned size) override;
  /// Takes an element of this pool back; anything else is a caller's mistake. `size` is ignored. The time taken grows
  /// with the logarithm of the number of blocks.
  void Free(void* p, unsigned size) override;

  /// Bytes.
  unsigned ElementSize() const noexcept { return elementSize_; }
  /// Elements of a block.
  unsigned MaxElements() const noexcept { return maxElements_; }

  // Read without the lock: where other threads use the pool, what was true a moment ago.

  /// Elements in use in the first block.
  unsigned InstanceInUse() const noexcept { return head_.inUse.load(std::memory_order_relaxed); }
  /// Elements in use in all blocks.
  std::size_t TotalInUse() const noexcept { return totalInUse_.load(std::memory_order_relaxed); }
  /// Bytes of all blocks that are held.
  std::size_t TotalAlloc() const noexcept;

 private:
  // One pool of the chain. It has room if it has a free element, or no block: then it takes one when its turn comes.
  // The pools of a chain live as long as its head, which owns them all in one list, so that a long chain neither is
  // walked to free an element or to find room, nor takes the stack down with it in a recursive destructor.
  struct link_t {
    char* block = nullptr;
    char* free = nullptr;  // first free element; the first word of each is the address of the next
    std::atomic<unsigned> inUse{0};
    std::uint32_t position = 0;  // in the chain
  };
  struct place_t {
    std::uintptr_t start;
    link_t* link;
  };

  std::uint32_t BlockBytes() const noexcept { return maxElements_ * elementSize_; }
  bool Holds(const link_t& link, const void* p) const noexcept;
  link_t& At(std::size_t position) noexcept { return position == 0 ? head_ : *overflow_[position - 1]; }
  link_t& AddLink();
  link_t* FindRoom(std::size_t from) noexcept;
  link_t* FindOwner(const void* p) noexcept;
  void PrepareBlock(link_t& link);
  void DestroyBlock(link_t& link);

  // Fixed:
  unsigned elementSize_;
  unsigned maxElements_;
  IPool* parent_;
  bool releaseWhenEmpty_;
  // Under the lock. What each call changes lies in the lock's own cache line, which moves between processors as one.
  alignas(64) CLightLock lock_;
  link_t* current_ = &head_;    // the first with room; null when all are full
  link_t* lastOwner_ = &head_;  // of the element freed last
  std::atomic<std::size_t> totalInUse_{0};
  link_t head_;
  // Under the lock, seldom touched:
  std::atomic<std::size_t> blocksHeld_{0};
  std::vector<std::unique_ptr<link_t>> overflow_;  // the chain behind head_
  std::vector<std::uint64_t> room_;                // a bit for each link, head_ first: it has room
  std::vector<place_t> places_;                    // the blocks held, by address; capacity for all links
};

}  // namespace zorpool
