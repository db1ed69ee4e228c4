// Copying the few bytes at a time that records are made of.
#pragma once

#include <cstdint>
#include <cstring>

namespace zorutil {

/// The most bytes that copy_few takes.
inline constexpr unsigned kFewBytes = 16;

/// Copies the first and the last `Word` of `n` bytes, which together are all of them.
template <class Word>
void copy_ends(unsigned char* dst, const unsigned char* src, unsigned n) {
  Word first, last;
  std::memcpy(&first, src, sizeof first);
  std::memcpy(&last, src + n - sizeof last, sizeof last);
  std::memcpy(dst, &first, sizeof first);
  std::memcpy(dst + n - sizeof last, &last, sizeof last);
}

/// Copies 1 to kFewBytes bytes without a call.
inline void copy_few(void* to, const void* from, unsigned n) {
  auto* const dst = static_cast<unsigned char*>(to);
  auto* const src = static_cast<const unsigned char*>(from);
  if (n >= 8) return copy_ends<std::uint64_t>(dst, src, n);
  if (n >= 4) return copy_ends<std::uint32_t>(dst, src, n);
  if (n >= 2) return copy_ends<std::uint16_t>(dst, src, n);
  *dst = *src;
}

/// Copies any number but 0. Where GCC knows that a count is small, it makes a string instruction of std::memcpy, which
/// takes longer to start than to copy; it leaves std::memmove alone.
inline void copy_bytes(void* to, const void* from, unsigned n) {
  if (n <= kFewBytes) return copy_few(to, from, n);
  std::memmove(to, from, n);
}

}  // namespace zorutil
