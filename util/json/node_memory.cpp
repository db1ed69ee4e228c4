#include "util/json/node_memory.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "platform/framework/large_block.h"
#include "util/json/node_pool_internal.h"

namespace zorutil::json {

// Heads the memory of its nodes. While a pool still adds to it, `live` is kOpen less the nodes that have been freed.
struct node_piece_t {
  std::atomic<std::uint32_t> live;
  bool isLargeBlock;

  void Release(std::uint32_t count) noexcept {
    if (live.fetch_sub(count, std::memory_order_acq_rel) != count) return;
    if (isLargeBlock) {
      large_block::Free(this);
    } else {
      std::free(this);
    }
  }
};

namespace {

constexpr std::uint32_t kOpen = 1U << 30;
constexpr std::size_t kPieceHeader = 16;
constexpr std::size_t kFirstSize = 1024 - 16;
constexpr std::size_t kLargestSize = 64 * 1024 - 16;
constexpr unsigned kManyPieces = 96;  // from here on they are large blocks
constexpr std::size_t kLargestNode = 512;

// Stands before every node: the piece it lies in, or null.
using owner_t = node_piece_t*;

// The model saves the call that finds a thread's variables from a shared library.
__attribute__((tls_model("initial-exec"))) constinit thread_local node_pool_t* currentPool = nullptr;

[[gnu::noinline]] void* AllocateAlone(std::size_t bytes) {
  auto* const owner = static_cast<owner_t*>(std::malloc(sizeof(owner_t) + bytes));
  if (owner == nullptr) throw std::bad_alloc();
  *owner = nullptr;
  return owner + 1;
}

}  // namespace

void* AllocateNode(std::size_t bytes) {
  node_pool_t* const pool = currentPool;
  if (pool == nullptr || bytes > kLargestNode) return AllocateAlone(bytes);
  return pool->Take(bytes);
}

void FreeNode(void* node) noexcept {
  owner_t* const owner = static_cast<owner_t*>(node) - 1;
  if (*owner != nullptr) {
    (*owner)->Release(1);
  } else {
    std::free(owner);
  }
}

node_pool_t::node_pool_t() noexcept : outer_(std::exchange(currentPool, this)) {}

node_pool_t::~node_pool_t() {
  Close();
  currentPool = outer_;
}

void* node_pool_t::Take(std::size_t bytes) {
  const std::size_t taken = sizeof(owner_t) + (bytes + sizeof(owner_t) - 1) / sizeof(owner_t) * sizeof(owner_t);
  if (taken > room_) Open();
  auto* const owner = reinterpret_cast<owner_t*>(next_);
  next_ += taken;
  room_ -= taken;
  ++made_;
  *owner = piece_;
  return owner + 1;
}

void node_pool_t::Open() {
  Close();
  const bool isLarge = pieces_ >= kManyPieces;
  size_ = isLarge ? large_block::kSize : size_ == 0 ? kFirstSize : std::min(size_ * 2, kLargestSize);
  void* const memory = isLarge ? large_block::Allocate() : std::malloc(size_);
  if (memory == nullptr) throw std::bad_alloc();
  ++pieces_;
  piece_ = new (memory) node_piece_t{{kOpen}, isLarge};
  next_ = static_cast<char*>(memory) + kPieceHeader;
  room_ = size_ - kPieceHeader;
}

void node_pool_t::Close() noexcept {
  if (piece_ != nullptr) piece_->Release(kOpen - made_);
  piece_ = nullptr;
  room_ = 0;
  made_ = 0;
}

}  // namespace zorutil::json
