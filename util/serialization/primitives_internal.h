// Fixed-width little-endian values, and runs of bytes whose announced length is not trusted.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "util/serialization/serializer.h"

namespace zorutil::primitives {

/// The most bytes that are set aside before any of them has been read.
inline constexpr std::uint32_t kReadChunk = 64 * 1024;
/// The most bytes of one Read or Write, whose counts have 32 bits.
inline constexpr std::size_t kLargestChunk = std::size_t{1} << 30;

/// Turns the bytes of a value between machine order and little-endian.
template <class T>
void SwapOnBigEndian(T& value) {
  if constexpr (std::endian::native == std::endian::big && sizeof(T) > 1) {
    auto* bytes = reinterpret_cast<unsigned char*>(&value);
    std::reverse(bytes, bytes + sizeof(T));
  }
}

template <class T>
requires std::is_arithmetic_v<T> || std::is_enum_v<T>
void WriteLittle(ISerializer& out, T value) {
  SwapOnBigEndian(value);
  out.Write(&value, sizeof value);
}

template <class T>
requires std::is_arithmetic_v<T> || std::is_enum_v<T> T ReadLittle(ISerializer& in) {
  T value{};
  in.Read(&value, sizeof value);
  SwapOnBigEndian(value);
  return value;
}

/// Swaps each of `count` elements of `width` bytes on a big-endian machine; nothing elsewhere.
inline void SwapElements([[maybe_unused]] void* data, [[maybe_unused]] std::size_t count,
                         [[maybe_unused]] std::size_t width) {
  if constexpr (std::endian::native == std::endian::big) {
    auto* bytes = static_cast<unsigned char*>(data);
    for (std::size_t i = 0; i < count; ++i) std::reverse(bytes + i * width, bytes + (i + 1) * width);
  }
}

/// UTF-16 units, each little-endian.
inline void WriteUnits(ISerializer& out, std::u16string_view units) {
  if constexpr (std::endian::native == std::endian::big) {
    for (const char16_t unit : units) WriteLittle(out, unit);
  } else {
    out.Write(units.data(), static_cast<unsigned>(units.size() * sizeof(char16_t)));
  }
}

/// Reads `count` bytes in chunks, so that memory grows only with bytes that arrived. `grow(total)` makes room for
/// `total` bytes and returns where the first of them lies; it is called before each chunk, with at most twice what
/// has been read so far.
template <class Grow>
void ReadGrowing(ISerializer& in, std::uint64_t count, Grow grow) {
  std::size_t done = 0;
  while (done < count) {
    const std::size_t next = std::min(std::max<std::size_t>(done, kReadChunk), kLargestChunk);
    const auto chunk = static_cast<std::size_t>(std::min<std::uint64_t>(count - done, next));
    char* const base = static_cast<char*>(static_cast<void*>(grow(done + chunk)));
    in.Read(base + done, static_cast<unsigned>(chunk));
    done += chunk;
  }
}

/// Writes any number of bytes.
inline void WriteBytes(ISerializer& out, const void* data, std::size_t count) {
  const char* at = static_cast<const char*>(data);
  while (count > 0) {
    const std::size_t chunk = std::min(count, kLargestChunk);
    out.Write(at, static_cast<unsigned>(chunk));
    at += chunk;
    count -= chunk;
  }
}

}  // namespace zorutil::primitives
