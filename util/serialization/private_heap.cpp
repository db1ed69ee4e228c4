#include "util/serialization/private_heap.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <mutex>
#include <new>

#include "platform/framework/private_arena.h"

namespace zorpool {

CPrivateHeap::CPrivateHeap(unsigned maxSize) noexcept : maxSize_(maxSize) {}

CPrivateHeap::~CPrivateHeap() = default;

void* CPrivateHeap::Alloc(unsigned size) {
  const std::lock_guard guard(lock_);
  const std::uint64_t total = std::uint64_t{TotalAlloc()} + size;
  const bool isWithinBudget = maxSize_ == 0 ? total <= std::numeric_limits<unsigned>::max() : total < maxSize_;
  if (size == 0 || !isWithinBudget) throw bad_alloc_t();
  if (arena_ == nullptr) arena_.reset(new (std::nothrow) CPrivateArena);
  void* const block = arena_ != nullptr ? arena_->Alloc(size) : nullptr;
  if (block == nullptr) {
    if (blocks_ == 0) arena_.reset();
    throw bad_alloc_t();
  }
  ++blocks_;
  total_.store(static_cast<unsigned>(total), std::memory_order_relaxed);
  return block;
}

void CPrivateHeap::Free(void* p, unsigned size) {
  const std::lock_guard guard(lock_);
  if (arena_ == nullptr) return;
  const unsigned known = size != 0 ? size : arena_->SizeOf(p);
  if (!arena_->Free(p)) return;
  // A size that is wrong neither wraps the total nor takes away the blocks of others.
  const unsigned total = TotalAlloc() - std::min(known, TotalAlloc());
  total_.store(total, std::memory_order_relaxed);
  if (--blocks_ == 0 && total == 0) arena_.reset();
}

bool CPrivateHeap::Validate(void* p) const {
  const std::lock_guard guard(lock_);
  return arena_ != nullptr && arena_->SizeOf(p) != 0;
}

}  // namespace zorpool
