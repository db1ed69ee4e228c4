#include "platform/ole/safe_array_descriptor.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

// The element VARTYPE takes the last word of the prefix; the rest keeps the descriptor aligned.
constexpr std::size_t kPrefixBytes = alignof(std::max_align_t);
constexpr std::size_t kDataAlignment = 64;

}  // namespace

tagSAFEARRAY* SafeArrayAllocDescriptor() noexcept {
  void* const block = std::calloc(1, kPrefixBytes + sizeof(tagSAFEARRAY));
  if (block == nullptr) return nullptr;
  auto* const array = reinterpret_cast<tagSAFEARRAY*>(static_cast<char*>(block) + kPrefixBytes);
  array->fFeatures = FADF_FIXEDSIZE | FADF_HAVEVARTYPE;
  return array;
}

void SafeArrayDestroyDescriptor(tagSAFEARRAY* array) noexcept {
  if (array != nullptr) std::free(reinterpret_cast<char*>(array) - kPrefixBytes);
}

void* SafeArrayAllocData(std::uint64_t wanted, bool zeroed) noexcept {
  if (wanted == 0 || wanted > PTRDIFF_MAX) return nullptr;
  const auto bytes = static_cast<std::size_t>(wanted);
  const std::size_t whole = (bytes + kDataAlignment - 1) / kDataAlignment * kDataAlignment;
  void* const data = std::aligned_alloc(kDataAlignment, whole);
  if (data != nullptr && zeroed) std::memset(data, 0, bytes);
  return data;
}

void SafeArrayFreeData(void* data) noexcept { std::free(data); }
