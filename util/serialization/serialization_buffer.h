// The serializer in memory: bytes are written at its end and read from its front.
//
//   zorutil::CSerializationBuffer buffer;
//   zorutil::Serialize(value, buffer);
//   zorutil::Deserialize(copy, buffer);              // and the buffer is empty again
//
// The bytes lie in a chain of small blocks from process-wide pools (buffer_chain.h): growing moves nothing, and reading
// gives each block back as soon as it is used up. A filled chain is handed over whole:
//
//   other.Attach(buffer.Detach());                   // no byte is copied
//
// Not copied, since two buffers over one chain would disturb each other; moving takes the chain and what of it was
// read, and leaves the source empty. One thread at a time uses a buffer, and the chain that it shares with others;
// buffers on different threads are independent. A chain that several hold through Peek stays safe to use, but what
// one of them reads or writes is gone or there for all.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "platform/export.h"
#include "util/serialization/buffer_chain.h"
#include "util/serialization/copy_bytes.h"
#include "util/serialization/serializer.h"

class CFile;

namespace zorutil {

class ZORUTIL_API CSerializationBuffer : public ISerializer {
 public:
  /// Empty, without a chain.
  CSerializationBuffer() noexcept = default;
  explicit CSerializationBuffer(std::shared_ptr<buffers_t> chain) noexcept { Attach(std::move(chain)); }
  CSerializationBuffer(CSerializationBuffer&& other) noexcept
      : chain_(std::move(other.chain_)), readOffset_(std::exchange(other.readOffset_, 0)) {}
  CSerializationBuffer& operator=(CSerializationBuffer&& other) noexcept;
  ~CSerializationBuffer() override;

  /// Bytes written and not yet read.
  unsigned size() const noexcept;

  /// Takes the next `n` bytes. When fewer are left, takes those, then throws CException -1.
  void Read(void* dst, unsigned n) override;
  /// Appends `n` bytes; 0 bytes make no chain. std::bad_alloc, and std::length_error "list too long" just before 4 GiB:
  /// then the bytes that found room before stay appended.
  void Write(const void* src, unsigned n) override;
  using ISerializer::Peek;

  // Handing over chains. A chain keeps no note of what was read: the bytes of its first block that were read already
  // count as unread again wherever it is attached or appended.

  /// The chain, still this buffer's; null when nothing was written yet.
  const std::shared_ptr<buffers_t>& Peek() const noexcept { return chain_; }
  /// Gives the chain up and leaves the buffer empty.
  std::shared_ptr<buffers_t> Detach() noexcept;
  /// Takes a chain, or null, as the whole content, to be read from its beginning; what was held before is released.
  void Attach(std::shared_ptr<buffers_t> chain) noexcept;
  /// Writes the bytes of another chain, block by block, through this object's Write. The chain may be this buffer's
  /// own, and then what it held before is appended. A Write that overrides this one takes nothing from that chain.
  /// Errors are those of Write.
  void Append(const std::shared_ptr<buffers_t>& chain);

  // Files, at their current position. Errors of a file are CFileException.

  /// Writes the whole chain, the bytes of its first block that were read already included, and empties the buffer;
  /// blocks are given back as they are written. After an error the buffer still holds the block at which it
  /// failed and those behind it.
  void MoveToFile(CFile& file);
  /// The same without changing the buffer, whatever happens.
  void CopyToFile(CFile& file) const;
  /// Appends what the file holds from its position on, up to `maxBytes`, through this object's Write; nothing when the
  /// position is at or behind the end. After an error the bytes that were read and written before stay appended.
  void FromFile(CFile& file, unsigned maxBytes);

 private:
  // Kept out of Read and Write, which then need no stack frame.
  [[gnu::noinline]] void ReadBlocks(void* dst, unsigned n);
  [[gnu::noinline]] void WriteBlocks(const void* src, unsigned n);

  std::shared_ptr<buffers_t> chain_;
  std::uint32_t readOffset_ = 0;  // of the next byte in the chain's first block
  // The last block's fill, as far as this buffer knows. Writes in a row take it from here rather than wait for the
  // byte in the block that the write before has just stored; the byte in the block decides.
  std::uint32_t writeOffset_ = 0;
};

/// Compares block by block from the beginning of each chain, bytes included that were read already, so that equal
/// unread bytes at different offsets are unequal. Buffers of different size() are unequal, empty ones are equal.
/// The blocks of `a` decide: when they are used up, further ones of `b` do not count.
ZORUTIL_API bool operator==(const CSerializationBuffer& a, const CSerializationBuffer& b);

inline unsigned CSerializationBuffer::size() const noexcept {
  const std::uint32_t written = chain_ == nullptr ? 0 : chain_->bytes();
  return written > readOffset_ ? written - readOffset_ : 0;  // the chain may have been read elsewhere
}

// A few bytes that lie in one block are the common case; everything else is left to the other two.
inline void CSerializationBuffer::Read(void* dst, unsigned n) {
  if (chain_ != nullptr && !chain_->empty() && n - 1 < kFewBytes) {  // n > 0
    const buffer_t& block = chain_->front();
    const std::uint32_t at = readOffset_;
    if (at + n < block.fill) {  // not used up
      copy_few(dst, block.data + at, n);
      readOffset_ = at + n;
      return;
    }
  }
  ReadBlocks(dst, n);
}

inline void CSerializationBuffer::Write(const void* src, unsigned n) {
  if (chain_ != nullptr && !chain_->empty() && n - 1 < kFewBytes) {
    buffer_t& block = chain_->last_->block;
    const std::uint32_t at = writeOffset_;
    if (at + n <= buffer_t::kPayload && block.fill == at) {
      copy_few(block.data + at, src, n);
      writeOffset_ = at + n;
      block.fill = static_cast<std::uint8_t>(at + n);
      return;
    }
  }
  WriteBlocks(src, n);
}

}  // namespace zorutil
