#include "util/serialization/buffer_chain.h"

#include <algorithm>
#include <stdexcept>

#include "util/serialization/chunk_heap_internal.h"
#include "util/serialization/copy_bytes.h"

namespace zorutil {

using zorpool::CPool;
using zorpool::IPool;

namespace {

constexpr unsigned kNodeSize = buffers_t::kNodeSize;
constexpr unsigned kSmallSize = 16;
constexpr unsigned kMediumSize = 24;
constexpr unsigned kNodeChunk = 0x100000;
constexpr unsigned kObjectChunk = 0x10000;

// Never destroyed, so that chains may outlive every other static object.
CPool& NodePool() {
  static CPool& pool = *new CPool(kNodeSize, kNodeChunk, new zorpool::chunk_heap_t, false);
  return pool;
}

CPool& SmallPool() {
  static CPool& pool = *new CPool(kSmallSize, kObjectChunk, nullptr, false);
  return pool;
}

CPool& MediumPool() {
  static CPool& pool = *new CPool(kMediumSize, kObjectChunk, nullptr, false);
  return pool;
}

// The pool is found without the factory: whoever deletes a chain must not fail.
struct chain_deleter_t {
  void operator()(buffers_t* chain) const noexcept {
    chain->~buffers_t();
    SmallPool().Free(chain, sizeof(buffers_t));
  }
};

}  // namespace

IPool& buffer_t::pool_factory_t::operator()(unsigned size) const {
  if (size == kNodeSize) return NodePool();
  if (size > 4 && size <= kSmallSize) return SmallPool();
  if (size > kSmallSize && size <= kMediumSize) return MediumPool();
  throw zorpool::bad_alloc_t();
}

std::shared_ptr<buffers_t> buffers_t::Create() {
  static_assert(sizeof(buffers_t) > 4 && sizeof(buffers_t) <= kSmallSize);
  return {new (SmallPool().Alloc(sizeof(buffers_t))) buffers_t, chain_deleter_t()};
}

buffers_t::~buffers_t() {
  while (!empty()) pop_front();
}

void buffers_t::append(const void* src, unsigned n) {
  auto* from = static_cast<const unsigned char*>(src);
  while (n > 0) {
    unsigned fill = empty() ? buffer_t::kPayload : last_->block.fill;
    if (fill == buffer_t::kPayload) {
      add_block();
      fill = 0;
    }
    buffer_t& block = last_->block;
    const unsigned count = std::min(n, buffer_t::kPayload - fill);
    copy_bytes(block.data + fill, from, count);
    block.fill = static_cast<std::uint8_t>(fill + count);
    from += count;
    n -= count;
  }
}

// The new block is empty until its first byte is copied, which cannot fail.
void buffers_t::add_block() {
  if (count_ == max_size()) throw std::length_error("list too long");
  auto* const node = static_cast<node_t*>(NodePool().CPool::Alloc(kNodeSize));
  node->block.fill = 0;
  if (empty()) {
    node->next = node;
  } else {
    node->next = last_->next;
    last_->next = node;
  }
  last_ = node;
  ++count_;
}

void buffers_t::pop_front() noexcept {
  node_t* const first = last_->next;
  if (first == last_) {
    last_ = nullptr;
  } else {
    last_->next = first->next;
  }
  --count_;
  NodePool().CPool::Free(first, kNodeSize);
}

}  // namespace zorutil
