#include "platform/ole/string.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// What stands before every text; the length is where SysStringByteLen reads it.
struct header_t {
  std::uint32_t capacity;  // bytes of text that fit before the NUL; always even
  std::uint32_t byteLength;
};
static_assert(sizeof(header_t) == 8);

constexpr std::size_t kOverhead = sizeof(header_t) + sizeof(char16_t);
constexpr std::uint32_t kMaxByteLength = 0x7FFF'FFFF;

// ---- Small blocks are kept by the thread that frees them

// Sanitizers must see every block come and go.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kCacheBlocks = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
constexpr bool kCacheBlocks = false;
#else
constexpr bool kCacheBlocks = true;
#endif
#else
constexpr bool kCacheBlocks = true;
#endif

// Blocks of up to 256 bytes in steps of 32; at most 64 of a size, some 70 KB for a thread that fills them all.
constexpr std::size_t kClassStep = 32;
constexpr std::size_t kClasses = 8;
constexpr std::uint32_t kBlocksPerClass = 64;

struct free_block_t {
  free_block_t* next;
};

// Blocks go in only while there is room. That is 0 before the thread's first free and after its end, so that the
// usual free asks one question.
struct block_cache_t {
  free_block_t* first[kClasses];
  std::uint32_t room[kClasses];
  bool opened;
};

// Plain memory, hence usable at any moment of a thread's life. The model saves the call that finds a thread's
// variables from a shared library; the few bytes fit the reserve that the loader keeps for such libraries.
__attribute__((tls_model("initial-exec"))) constinit thread_local block_cache_t blockCache{};

// Gives the blocks back when the thread ends. Strings that are freed later still, by destructors that run after
// this one, find no room and go to std::free.
struct cache_closer_t {
  ~cache_closer_t() {
    for (std::size_t i = 0; i != kClasses; ++i) {
      blockCache.room[i] = 0;
      while (free_block_t* const block = blockCache.first[i]) {
        blockCache.first[i] = block->next;
        std::free(block);
      }
    }
  }
  void Arm() {}
};
thread_local cache_closer_t cacheCloser;

// True when this call made room.
bool OpenCache() {
  if (blockCache.opened) return false;
  blockCache.opened = true;
  cacheCloser.Arm();
  for (auto& room : blockCache.room) room = kBlocksPerClass;
  return true;
}

std::size_t ClassOf(std::size_t blockSize) { return (blockSize - 1) / kClassStep; }

// `blockSize` becomes what the block really has.
void* AllocateBlock(std::size_t& blockSize) {
  const std::size_t index = ClassOf(blockSize);
  if (!kCacheBlocks || index >= kClasses) return std::malloc(blockSize);
  blockSize = (index + 1) * kClassStep;
  free_block_t* const block = blockCache.first[index];
  if (block == nullptr) return std::malloc(blockSize);
  blockCache.first[index] = block->next;
  ++blockCache.room[index];
  return block;
}

void FreeBlock(void* memory, std::size_t blockSize) {
  const std::size_t index = ClassOf(blockSize);
  if (!kCacheBlocks || index >= kClasses || (blockCache.room[index] == 0 && !OpenCache())) {
    std::free(memory);
    return;
  }
  auto* const block = static_cast<free_block_t*>(memory);
  block->next = blockCache.first[index];
  blockCache.first[index] = block;
  --blockCache.room[index];
}

// ---- Texts

header_t* HeaderOf(BSTR text) { return reinterpret_cast<header_t*>(text) - 1; }

// Terminates the text; the odd byte of an odd length is made up to a unit with a zero byte.
void SetByteLength(BSTR text, std::uint32_t byteLength) {
  HeaderOf(text)->byteLength = byteLength;
  if (byteLength % 2 != 0) reinterpret_cast<char*>(text)[byteLength] = '\0';
  text[byteLength / 2 + byteLength % 2] = u'\0';
}

BSTR Allocate(std::uint32_t byteLength) {
  std::size_t blockSize = kOverhead + byteLength + byteLength % 2;
  void* const block = AllocateBlock(blockSize);
  if (block == nullptr) return nullptr;
  auto* const header = static_cast<header_t*>(block);
  header->capacity = static_cast<std::uint32_t>(blockSize - kOverhead);
  const auto text = reinterpret_cast<BSTR>(header + 1);
  SetByteLength(text, byteLength);
  return text;
}

}  // namespace

BSTR SysAllocString(const char16_t* text) noexcept {
  if (text == nullptr) return nullptr;
  const std::size_t length = std::char_traits<char16_t>::length(text);
  if (length > kMaxByteLength / 2) return nullptr;
  return SysAllocStringLen(text, static_cast<std::uint32_t>(length));
}

BSTR SysAllocStringLen(const char16_t* text, std::uint32_t length) noexcept {
  if (length > kMaxByteLength / 2) return nullptr;
  const BSTR copy = Allocate(length * 2);
  if (copy != nullptr && text != nullptr) std::memcpy(copy, text, std::size_t{length} * 2);
  return copy;
}

BSTR SysAllocStringByteLen(const char* bytes, std::uint32_t length) noexcept {
  if (length > kMaxByteLength) return nullptr;
  const BSTR copy = Allocate(length);
  if (copy != nullptr && bytes != nullptr) std::memcpy(copy, bytes, length);
  return copy;
}

bool SysReAllocStringLen(BSTR* text, const char16_t* source, std::uint32_t length) noexcept {
  if (length > kMaxByteLength / 2) return false;
  const std::uint32_t byteLength = length * 2;
  const BSTR old = *text;
  if (old != nullptr && byteLength <= HeaderOf(old)->capacity) {
    if (source != nullptr) std::memmove(old, source, byteLength);
    SetByteLength(old, byteLength);
    return true;
  }
  const BSTR copy = Allocate(byteLength);
  if (copy == nullptr) return false;
  if (source != nullptr) {
    std::memcpy(copy, source, byteLength);
  } else if (old != nullptr) {
    std::memcpy(copy, old, SysStringByteLen(old));  // shorter than byteLength, or it would have fitted
  }
  SysFreeString(old);
  *text = copy;
  return true;
}

void SysFreeString(BSTR text) noexcept {
  if (text == nullptr) return;
  header_t* const header = HeaderOf(text);
  FreeBlock(header, kOverhead + header->capacity);
}
