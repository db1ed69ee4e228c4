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

// A block that waits for its next text: the header stays, the link stands where the text was.
struct free_block_t {
  header_t header;
  free_block_t* next;
};
static_assert(sizeof(free_block_t) <= kClassStep);

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

std::size_t ClassOf(std::size_t blockSize) { return (blockSize - 1) / kClassStep; }

// Null when the thread has none.
free_block_t* TakeBlock(std::size_t index) {
  free_block_t* const block = blockCache.first[index];
  if (block != nullptr) {
    blockCache.first[index] = block->next;
    ++blockCache.room[index];
  }
  return block;
}

void KeepBlock(header_t* header, std::size_t index) {
  auto* const block = reinterpret_cast<free_block_t*>(header);
  block->next = blockCache.first[index];
  blockCache.first[index] = block;
  --blockCache.room[index];
}

// Gives the blocks back when the thread ends. Strings that are freed later still, by destructors that run after
// this one, find no room and go to std::free.
struct cache_closer_t {
  ~cache_closer_t() {
    for (std::size_t i = 0; i != kClasses; ++i) {
      while (free_block_t* const block = TakeBlock(i)) std::free(block);
      blockCache.room[i] = 0;
    }
  }
  void Arm() {}
};
thread_local cache_closer_t cacheCloser;

// The rare ways stand apart, so that the usual ones need no stack frame.
[[gnu::noinline]] void FreeWithoutRoom(header_t* header, std::size_t index) {
  if (!kCacheBlocks || index >= kClasses || blockCache.opened) {
    std::free(header);
    return;
  }
  blockCache.opened = true;
  cacheCloser.Arm();
  for (auto& room : blockCache.room) room = kBlocksPerClass;
  KeepBlock(header, index);
}

// ---- Texts

header_t* HeaderOf(BSTR text) { return reinterpret_cast<header_t*>(text) - 1; }

std::size_t BlockSizeFor(std::uint32_t byteLength) { return kOverhead + byteLength + byteLength % 2; }

// Terminates the text; the odd byte of an odd length is made up to a unit with a zero byte.
void SetByteLength(BSTR text, std::uint32_t byteLength) {
  HeaderOf(text)->byteLength = byteLength;
  if (byteLength % 2 != 0) reinterpret_cast<char*>(text)[byteLength] = '\0';
  text[byteLength / 2 + byteLength % 2] = u'\0';
}

// Sixteen bytes a step, the last of which overlaps the one before: for short texts quicker than std::memcpy, in whose
// place GCC puts a string instruction when it knows a bound of the length.
void CopyBytes(void* to, const void* from, std::uint32_t count) {
  constexpr std::uint32_t kStep = 16;
  if (count < kStep || count > 16 * kStep) {
    std::memcpy(to, from, count);
    return;
  }
  auto* const out = static_cast<char*>(to);
  const auto* const in = static_cast<const char*>(from);
  for (std::uint32_t at = 0; at < count - kStep; at += kStep) std::memcpy(out + at, in + at, kStep);
  std::memcpy(out + count - kStep, in + count - kStep, kStep);
}

// A text in the block, copied from `source` unless that is null.
BSTR Fill(header_t* header, const void* source, std::uint32_t byteLength) {
  const auto text = reinterpret_cast<BSTR>(header + 1);
  SetByteLength(text, byteLength);
  if (source != nullptr) CopyBytes(text, source, byteLength);
  return text;
}

[[gnu::noinline]] BSTR MakeInNewBlock(const void* source, std::uint32_t byteLength) {
  std::size_t blockSize = BlockSizeFor(byteLength);
  const std::size_t index = ClassOf(blockSize);
  if (kCacheBlocks && index < kClasses) blockSize = (index + 1) * kClassStep;
  auto* const header = static_cast<header_t*>(std::malloc(blockSize));
  if (header == nullptr) return nullptr;
  header->capacity = static_cast<std::uint32_t>(blockSize - kOverhead);
  return Fill(header, source, byteLength);
}

BSTR Make(const void* source, std::uint32_t byteLength) {
  const std::size_t index = ClassOf(BlockSizeFor(byteLength));
  if (kCacheBlocks && index < kClasses) {
    if (free_block_t* const block = TakeBlock(index)) return Fill(&block->header, source, byteLength);
  }
  return MakeInNewBlock(source, byteLength);
}

}  // namespace

BSTR SysAllocString(const char16_t* text) noexcept {
  if (text == nullptr) return nullptr;
  const std::size_t length = std::char_traits<char16_t>::length(text);
  if (length > kMaxByteLength / 2) return nullptr;
  return SysAllocStringLen(text, static_cast<std::uint32_t>(length));
}

BSTR SysAllocStringLen(const char16_t* text, std::uint32_t length) noexcept {
  return length > kMaxByteLength / 2 ? nullptr : Make(text, length * 2);
}

BSTR SysAllocStringByteLen(const char* bytes, std::uint32_t length) noexcept {
  return length > kMaxByteLength ? nullptr : Make(bytes, length);
}

BSTR SysCopyString(const char16_t* text) noexcept {
  return text == nullptr ? nullptr : SysAllocStringByteLen(reinterpret_cast<const char*>(text), SysStringByteLen(text));
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
  const BSTR copy = Make(source, byteLength);
  if (copy == nullptr) return false;
  if (source == nullptr && old != nullptr) {
    std::memcpy(copy, old, SysStringByteLen(old));  // shorter than byteLength, or it would have fitted
  }
  SysFreeString(old);
  *text = copy;
  return true;
}

void SysFreeString(BSTR text) noexcept {
  if (text == nullptr) return;
  header_t* const header = HeaderOf(text);
  const std::size_t index = ClassOf(kOverhead + header->capacity);
  if (!kCacheBlocks || index >= kClasses || blockCache.room[index] == 0) {
    FreeWithoutRoom(header, index);
  } else {
    KeepBlock(header, index);
  }
}
