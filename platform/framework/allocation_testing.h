// For a test or fuzz program: its allocations are counted, and can be made to fail. To be included by one file of the
// program only, whose operators new and delete these become.
//
// The thread sanitizer brings an allocator that cannot be replaced: there nothing is counted, and nothing fails.
#pragma once

#include <cstdlib>
#include <new>

namespace allocation_testing {

/// Of this thread.
inline thread_local int allocations = 0;
/// Those of this thread that still succeed; fewer than 0: all do.
inline thread_local int allocationsLeft = -1;

inline void* Allocate(std::size_t size) noexcept {
  ++allocations;
  if (allocationsLeft == 0) return nullptr;
  if (allocationsLeft > 0) --allocationsLeft;
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace allocation_testing

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define OWN_ALLOCATOR 0
#endif
#endif
#if !defined(OWN_ALLOCATOR) && !defined(__SANITIZE_THREAD__)
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const memory = allocation_testing::Allocate(size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}
// Used by the standard library for room that it can do without, so it does not fail.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  ++allocation_testing::allocations;
  return std::malloc(size == 0 ? 1 : size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
#endif
