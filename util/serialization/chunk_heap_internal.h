// Where a pool that may grow by the megabyte takes its chunks from: the first from the general heap, further ones two
// by two from large blocks of the system. A large block goes back with its second chunk.
//
// Not for sharing: the lock of its one pool is its own.
#pragma once

#include "util/serialization/pool.h"

namespace zorpool {

class chunk_heap_t final : public IPool {
 public:
  /// `size` is the same in every call, and at most 1 MiB less 64 bytes.
  void* Alloc(unsigned size) override;
  void Free(void* p, unsigned size) override;

 private:
  struct block_t;

  void* first_ = nullptr;
  block_t* halfFull_ = nullptr;  // those with one chunk, linked
};

}  // namespace zorpool
