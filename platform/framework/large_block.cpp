#include "platform/framework/large_block.h"

#include <sys/mman.h>

#include <cstdint>

namespace large_block {
namespace {

char* Map(std::size_t bytes) noexcept {
  void* const pages = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages != MAP_FAILED ? static_cast<char*>(pages) : nullptr;
}

std::size_t BehindBoundary(const char* at) noexcept { return reinterpret_cast<std::uintptr_t>(at) % kSize; }

// Newer kernels place it so by themselves.
char* MapOnBoundary() noexcept {
  char* const pages = Map(kSize);
  if (pages == nullptr || BehindBoundary(pages) == 0) return pages;
  ::munmap(pages, kSize);
  char* const twice = Map(2 * kSize);
  if (twice == nullptr) return nullptr;
  const std::size_t before = kSize - BehindBoundary(twice);
  ::munmap(twice, before);
  if (before != kSize) ::munmap(twice + before + kSize, kSize - before);
  return twice + before;
}

}  // namespace

void* Allocate() noexcept {
  char* const block = MapOnBoundary();
  if (block != nullptr) ::madvise(block, kSize, MADV_HUGEPAGE);  // small pages do as well
  return block;
}

void Free(void* block) noexcept {
  if (block != nullptr) ::munmap(block, kSize);
}

}  // namespace large_block
