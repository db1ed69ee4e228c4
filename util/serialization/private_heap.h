// A heap of its own with an optional budget, for memory that should neither mix with the rest of the process nor grow
// without bound.
//
//   zorpool::CPrivateHeap heap(0x100000);          // less than 1 MiB in all
//   void* text = heap.Alloc(500);
//   heap.Validate(text);                           // true
//   heap.Free(text, 500);                          // the last one: the heap is gone again
//
// It takes memory from the system with the first Alloc and gives everything back with the last Free: an idle heap holds
// nothing. Keep a block while many come and go one by one.
//
// A resource, neither copied nor moved. Any number of threads may use it at once.
#pragma once

#include <atomic>
#include <memory>

#include "platform/export.h"
#include "platform/framework/sync.h"
#include "util/serialization/pool.h"

class CPrivateArena;

namespace zorpool {

class ZORUTIL_API CPrivateHeap : public IPool {
 public:
  /// Takes no memory yet.
  /// @param maxSize  budget in bytes, which the blocks together never reach; 0: no limit but 4 GiB
  explicit CPrivateHeap(unsigned maxSize = 0) noexcept;
  /// Gives everything back, blocks in use with it. No other call is under way.
  ~CPrivateHeap() override;

  /// `size` bytes, aligned to 16. bad_alloc_t for 0 bytes, when the budget would be reached (a request that makes the
  /// total exactly the budget is refused), and when the system has no memory; then nothing has changed.
  void* Alloc(unsigned size) override;
  /// Frees a block of this heap; any other pointer is ignored, one into a block or freed before included.
  /// @param size  what the block was asked for with, which is counted off the total; 0: the heap knows it. A wrong one
  ///   falsifies the total, which never falls below 0, and nothing else.
  void Free(void* p, unsigned size) override;

  /// Whether `p` is a block in use of this heap. Any pointer may be asked about.
  bool Validate(void* p) const;
  /// The budget in bytes; 0: none.
  unsigned MaxSize() const noexcept { return maxSize_; }
  /// Bytes in use, as they were asked for. Read without the lock: what was true a moment ago.
  unsigned TotalAlloc() const noexcept { return total_.load(std::memory_order_relaxed); }
  /// Does nothing.
  void RequestStatusDump() const noexcept {}

 private:
  mutable CLightLock lock_;
  const unsigned maxSize_;
  std::atomic<unsigned> total_{0};        // written under the lock
  unsigned blocks_ = 0;                   // in use
  std::unique_ptr<CPrivateArena> arena_;  // null while idle
};

}  // namespace zorpool
