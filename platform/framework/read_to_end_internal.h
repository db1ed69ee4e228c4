// A whole file as bytes, for readers of texts.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/framework/file.h"

/// From the file's position to its end, which is not where the length says for every file: a pipe has none. No more
/// than `most` bytes, so that who has a limit asks for one byte more and looks whether it came.
inline std::string ReadToEnd(CFile& file, std::size_t most) {
  constexpr std::uint64_t kLeast = 64 * 1024;
  constexpr std::uint64_t kLargest = std::uint64_t{1} << 30;
  const std::uint64_t length = file.GetLength(), position = file.GetPosition();
  // One byte more than is there shows the end.
  std::uint64_t room = length > position ? length - position + 1 : kLeast;
  std::string bytes;
  while (bytes.size() < most) {
    const std::size_t before = bytes.size();
    const auto wanted = static_cast<unsigned>(std::min({room, std::uint64_t{most - before}, kLargest}));
    bytes.resize(before + wanted);
    const unsigned got = file.Read(bytes.data() + before, wanted);
    bytes.resize(before + got);
    if (got < wanted) break;
    room = std::max<std::uint64_t>(bytes.size(), kLeast);
  }
  return bytes;
}
