// Allocation of SAFEARRAY descriptors and their data, and the element VARTYPE that stands before a descriptor.
// The shape of an array, and what its elements own, is the business of its owner (CSafeArray).
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/export.h"
#include "platform/ole/ole_types.h"

/// A zeroed descriptor with room for two bounds; features fixed-size and has-vartype, vartype VT_EMPTY. Null when
/// memory is short. Freed with SafeArrayDestroyDescriptor.
ZORPLATFORM_API tagSAFEARRAY* SafeArrayAllocDescriptor() noexcept;
/// Frees the descriptor alone; null is allowed.
ZORPLATFORM_API void SafeArrayDestroyDescriptor(tagSAFEARRAY* array) noexcept;

/// Zeroed element memory of the given size, aligned for vector loads (64 bytes); null when memory is short, `bytes` is
/// more than the machine can address, or 0. `zeroed` false leaves the memory unset. Freed with SafeArrayFreeData.
ZORPLATFORM_API void* SafeArrayAllocData(std::uint64_t bytes, bool zeroed = true) noexcept;
/// Null is allowed.
ZORPLATFORM_API void SafeArrayFreeData(void* data) noexcept;

/// The element VARTYPE, held as a 32-bit word just before the descriptor.
inline VARTYPE SafeArrayGetVartype(const tagSAFEARRAY& array) noexcept {
  std::uint32_t word;
  __builtin_memcpy(&word, reinterpret_cast<const char*>(&array) - sizeof word, sizeof word);
  return static_cast<VARTYPE>(word);
}
/// Says what the elements are; they stay as they are.
inline void SafeArraySetVartype(tagSAFEARRAY& array, VARTYPE vt) noexcept {
  const std::uint32_t word = vt;
  __builtin_memcpy(reinterpret_cast<char*>(&array) - sizeof word, &word, sizeof word);
}
