#include <cstdint>
#include <new>

#include "platform/framework/large_block.h"
#include "util/serialization/chunk_heap_internal.h"

namespace zorpool {

// Heads a large block. Behind it lie two chunks.
struct chunk_heap_t::block_t {
  static constexpr std::size_t kChunks = 2;
  static constexpr std::size_t kStep = (large_block::kSize - 64) / kChunks / 64 * 64;

  char* Chunk(std::size_t index) noexcept { return reinterpret_cast<char*>(this) + 64 + index * kStep; }
  static block_t* Of(void* chunk) noexcept {
    return reinterpret_cast<block_t*>(reinterpret_cast<std::uintptr_t>(chunk) & ~(large_block::kSize - 1));
  }

  block_t* next;
  block_t* previous;
  bool isTaken[kChunks];
};

void* chunk_heap_t::Alloc(unsigned size) {
  if (first_ == nullptr) return first_ = DefaultHeap::GetInstance().Alloc(size);
  if (block_t* const block = halfFull_) {
    halfFull_ = block->next;
    if (halfFull_ != nullptr) halfFull_->previous = nullptr;
    const std::size_t index = block->isTaken[0] ? 1 : 0;
    block->isTaken[index] = true;
    return block->Chunk(index);
  }
  void* const memory = large_block::Allocate();
  if (memory == nullptr) throw bad_alloc_t();
  halfFull_ = new (memory) block_t{nullptr, nullptr, {true, false}};
  return halfFull_->Chunk(0);
}

void chunk_heap_t::Free(void* p, unsigned size) {
  if (p == first_) {
    first_ = nullptr;
    return DefaultHeap::GetInstance().Free(p, size);
  }
  block_t* const block = block_t::Of(p);
  const std::size_t index = p == block->Chunk(0) ? 0 : 1;
  block->isTaken[index] = false;
  if (block->isTaken[1 - index]) {
    block->next = halfFull_;
    block->previous = nullptr;
    if (halfFull_ != nullptr) halfFull_->previous = block;
    halfFull_ = block;
    return;
  }
  (block->previous != nullptr ? block->previous->next : halfFull_) = block->next;
  if (block->next != nullptr) block->next->previous = block->previous;
  large_block::Free(block);
}

}  // namespace zorpool
