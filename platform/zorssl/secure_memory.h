// Memory for keys and passwords: wiped before it is given back, compared without telling where it differs.
//
//   zorssl::secure_bytes_t key(32);
//   ReadKey(key);                           // wiped with the vector
//
// Functions without state; any number of threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/export.h"

namespace zorssl {

/// Overwrites memory that is not read again, which a compiler would leave out. Null with a size of 0 is allowed.
ZORPLATFORM_API void Wipe(void* data, std::size_t size) noexcept;

/// Whether the bytes are the same, in a time that depends on their number only. Different sizes are unequal at once.
ZORPLATFORM_API bool EqualInConstantTime(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) noexcept;

/// An allocator of the standard library that wipes what it frees.
template <class T>
struct wiping_allocator_t {
  /// What the standard library asks of an allocator; deallocate wipes. std::bad_alloc when memory is short.
  /// @{
  using value_type = T;
  wiping_allocator_t() noexcept = default;
  template <class U>
  wiping_allocator_t(const wiping_allocator_t<U>&) noexcept {}
  T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* memory, std::size_t count) noexcept {
    Wipe(memory, count * sizeof(T));
    std::allocator<T>().deallocate(memory, count);
  }
  bool operator==(const wiping_allocator_t&) const noexcept = default;
  /// @}
};

/// Bytes that leave nothing behind, not even when they grow. A value.
using secure_bytes_t = std::vector<std::uint8_t, wiping_allocator_t<std::uint8_t>>;

}  // namespace zorssl
