// A byte buffer that grows as bytes are appended.
//
//   CGrowableBuffer bytes;
//   bytes.Append("abc", 3);
//   file.Write(bytes.GetData(), static_cast<unsigned>(bytes.GetSize()));
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/export.h"

namespace zorplatform {

/// Owns its bytes; moved, not copied, and empty after a move. One thread at a time. std::bad_alloc when memory is
/// short; then nothing has changed.
class ZORPLATFORM_API CGrowableBuffer {
 public:
  CGrowableBuffer() noexcept = default;
  CGrowableBuffer(CGrowableBuffer&& other) noexcept;
  CGrowableBuffer& operator=(CGrowableBuffer&& other) noexcept;
  ~CGrowableBuffer();

  /// Bytes that are set or appended, not those that were reserved.
  std::size_t GetSize() const noexcept { return size_; }
  /// Whether there are no bytes.
  bool IsEmpty() const noexcept { return size_ == 0; }
  /// Null before the first byte; valid until the buffer grows or is reset.
  const std::uint8_t* GetData() const noexcept { return data_; }
  std::uint8_t* GetData() noexcept { return data_; }
  /// All bytes; valid until the buffer grows or is reset.
  std::span<const std::uint8_t> GetBytes() const noexcept { return {data_, size_}; }

  /// Cuts, or appends unset bytes. The memory is kept.
  void SetSize(std::size_t size) {
    if (size > capacity_) Grow(size);
    size_ = size;
  }
  /// Room for `capacity` bytes in all without a further allocation.
  void Reserve(std::size_t capacity);
  /// The bytes may lie in this buffer.
  void Append(const void* bytes, std::size_t count);
  /// Empties it and gives the memory back.
  void Reset() noexcept;

 private:
  void Grow(std::size_t size);
  void Reallocate(std::size_t capacity);

  std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace zorplatform

using zorplatform::CGrowableBuffer;
