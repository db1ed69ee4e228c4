#include "util/serialization/serialization_buffer.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/framework/file.h"
#include "platform/zorplatform/exception.h"

namespace zorutil {

using zorplatform::CException;

CSerializationBuffer::~CSerializationBuffer() = default;

CSerializationBuffer& CSerializationBuffer::operator=(CSerializationBuffer&& other) noexcept {
  if (this != &other) {
    chain_ = std::move(other.chain_);
    readOffset_ = std::exchange(other.readOffset_, 0);
  }
  return *this;
}

// A block that is used up goes back at once, the last one too. Its offset lies before its fill whenever size() is not
// 0, since all blocks but the last are full.
void CSerializationBuffer::ReadBlocks(void* dst, unsigned n) {
  auto* to = static_cast<unsigned char*>(dst);
  const unsigned asked = n;
  while (n > 0) {
    if (size() == 0) {
      CException::Throw(CException::kEndOfStream, "serialization buffer: end of data, " + std::to_string(asked) +
                                                      " bytes asked for, " + std::to_string(asked - n) + " left");
    }
    const buffer_t& block = chain_->front();
    const unsigned count = std::min(n, block.fill - readOffset_);
    copy_bytes(to, block.data + readOffset_, count);
    to += count;
    n -= count;
    readOffset_ += count;
    if (readOffset_ == block.fill) {
      readOffset_ = 0;
      chain_->pop_front();
    }
  }
}

void CSerializationBuffer::WriteBlocks(const void* src, unsigned n) {
  if (n == 0) return;
  if (chain_ == nullptr) chain_ = buffers_t::Create();
  chain_->append(src, n);
  writeOffset_ = chain_->back().fill;
}

std::shared_ptr<buffers_t> CSerializationBuffer::Detach() noexcept {
  readOffset_ = 0;
  return std::move(chain_);
}

void CSerializationBuffer::Attach(std::shared_ptr<buffers_t> chain) noexcept {
  readOffset_ = 0;
  chain_ = std::move(chain);
}

void CSerializationBuffer::Append(const std::shared_ptr<buffers_t>& chain) {
  if (chain == nullptr || chain->empty()) return;
  const auto held = chain;  // `chain` may be a reference to chain_
  // Of the buffer's own chain, the last block grows as soon as the first byte is appended.
  const buffer_t& last = held->back();
  const unsigned lastFill = last.fill;
  for (const buffer_t& block : *held) Write(block.data, &block == &last ? lastFill : block.fill);
}

void CSerializationBuffer::MoveToFile(CFile& file) {
  if (chain_ == nullptr || chain_->empty()) return;
  while (chain_->size() > 1) {
    file.Write(chain_->front().data, chain_->front().fill);
    chain_->pop_front();
    readOffset_ = 0;
  }
  file.Write(chain_->back().data, chain_->back().fill);
  Detach();
}

void CSerializationBuffer::CopyToFile(CFile& file) const {
  if (chain_ == nullptr) return;
  for (const buffer_t& block : *chain_) file.Write(block.data, block.fill);
}

void CSerializationBuffer::FromFile(CFile& file, unsigned maxBytes) {
  const std::uint64_t length = file.GetLength(), position = file.GetPosition();
  if (position >= length) return;
  auto left = static_cast<unsigned>(std::min<std::uint64_t>(length - position, maxBytes));
  unsigned char scratch[buffer_t::kPayload];
  while (left > 0) {
    const unsigned got = file.Read(scratch, std::min(left, buffer_t::kPayload));
    if (got == 0) return;  // the file was cut meanwhile
    Write(scratch, got);
    left -= got;
  }
}

bool operator==(const CSerializationBuffer& a, const CSerializationBuffer& b) {
  if (a.size() != b.size()) return false;
  if (a.size() == 0) return true;
  auto other = b.Peek()->begin();
  for (const buffer_t& block : *a.Peek()) {
    if (other == b.Peek()->end() || block.fill != other->fill) return false;
    if (std::memcmp(block.data, other->data, block.fill) != 0) return false;
    ++other;
  }
  return true;
}

}  // namespace zorutil
