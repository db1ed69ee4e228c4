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
#include <cstdint>
#include <memory>

#include "platform/export.h"

namespace zorpool {

class ZORUTIL_API IPool {
 public:
  IPool() = default;
  IPool(const IPool&) = delete;
  IPool& operator=(const IPool&) = delete;
  virtual ~IPool();
  virtual void* Alloc(unsigned size) = 0;
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

class ZORUTIL_API CPool : public IPool {
 public:
  // (owner: complete this)
};

}  // namespace zorpool
