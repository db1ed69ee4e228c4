#include "platform/zorplatform/growable_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

namespace zorplatform {

CGrowableBuffer::CGrowableBuffer(CGrowableBuffer&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

CGrowableBuffer& CGrowableBuffer::operator=(CGrowableBuffer&& other) noexcept {
  CGrowableBuffer moved(std::move(other));
  std::swap(data_, moved.data_);
  std::swap(size_, moved.size_);
  std::swap(capacity_, moved.capacity_);
  return *this;
}

CGrowableBuffer::~CGrowableBuffer() { std::free(data_); }

void CGrowableBuffer::Reserve(std::size_t capacity) {
  if (capacity > capacity_) Reallocate(capacity);
}

void CGrowableBuffer::Append(const void* bytes, std::size_t count) {
  if (count == 0) return;
  if (count > SIZE_MAX - size_) throw std::bad_alloc();
  const auto* source = static_cast<const std::uint8_t*>(bytes);
  const std::size_t old = size_;
  // Bytes of this buffer move with it.
  const std::less<const std::uint8_t*> before;
  const bool isOwn = data_ != nullptr && !before(source, data_) && before(source, data_ + old);
  const std::size_t offset = isOwn ? static_cast<std::size_t>(source - data_) : 0;
  SetSize(old + count);
  std::memmove(data_ + old, isOwn ? data_ + offset : source, count);
}

void CGrowableBuffer::Reset() noexcept { *this = CGrowableBuffer(); }

void CGrowableBuffer::Grow(std::size_t size) { Reallocate(std::max(size, capacity_ + capacity_ / 2)); }

// Stays out of line: it is rare, and GCC 12 takes the place of own bytes, told before the move, for a use after it.
[[gnu::noinline]] void CGrowableBuffer::Reallocate(std::size_t capacity) {
  void* const memory = std::realloc(data_, capacity);
  if (memory == nullptr) throw std::bad_alloc();
  data_ = static_cast<std::uint8_t*>(memory);
  capacity_ = capacity;
}

}  // namespace zorplatform
