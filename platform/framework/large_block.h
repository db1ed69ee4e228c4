// Memory for what has become large: blocks of 2 MB straight from the system, which can be a single page each.
// A system that gives memory page by page takes five times as long to make it ready and to take it back.
//
//   void* block = large_block::Allocate();    // large_block::kSize bytes
//   large_block::Free(block);
//
// Worth its size to those who have filled a good part of it already. Any thread may free what another one took.
#pragma once

#include <cstddef>

#include "platform/export.h"

namespace large_block {

/// Bytes of a block.
constexpr std::size_t kSize = std::size_t{2} << 20;

/// kSize bytes of zeros, on a boundary of kSize. Null when the system has no memory.
ZORPLATFORM_API void* Allocate() noexcept;
/// Back to the system at once. Null is nothing to do.
ZORPLATFORM_API void Free(void* block) noexcept;

}  // namespace large_block
