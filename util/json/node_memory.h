// Memory for the nodes of a document. What a reader makes lies side by side in pieces, and a piece, of up to 64 KB
// or in a large document of 2 MB, is freed with the last node in it; everything else is allocated one by one. Nodes of
// both kinds mix freely.
//
//   using member_list_t = std::list<member_t, node_allocator_t<member_t>>;
//
// Without state: every allocator frees what any other has allocated, on any thread.
#pragma once

#include <cstddef>
#include <limits>
#include <new>

#include "platform/export.h"

namespace zorutil::json {

/// At least `bytes` bytes, aligned for pointers. std::bad_alloc.
ZORUTIL_API void* AllocateNode(std::size_t bytes);
/// Gives back what AllocateNode gave. Null is allowed.
ZORUTIL_API void FreeNode(void* node) noexcept;

/// The allocator of the standard library over these two, for elements that need no more than a pointer's alignment.
template <class T>
struct node_allocator_t {
  /// What the standard library asks of an allocator. std::bad_alloc when memory is short.
  /// @{
  using value_type = T;
  node_allocator_t() = default;
  template <class U>
  node_allocator_t(const node_allocator_t<U>&) noexcept {}

  T* allocate(std::size_t count) {
    static_assert(alignof(T) <= alignof(void*));
    if (count > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T)) throw std::bad_alloc();
    return static_cast<T*>(AllocateNode(count * sizeof(T)));
  }
  void deallocate(T* nodes, std::size_t) noexcept { FreeNode(nodes); }
  friend bool operator==(node_allocator_t, node_allocator_t) noexcept { return true; }
  /// @}
};

}  // namespace zorutil::json
