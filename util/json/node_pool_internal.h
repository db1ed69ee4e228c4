// Memory for the nodes that one reading makes: shared nodes lie side by side in pieces, and a piece is freed with the
// last node in it. Not installed.
//
//   node_pool_t pool;
//   std::shared_ptr<scalar_t> node = pool.Make<scalar_t>();
//
// The pool may go before its nodes. One thread makes nodes; they may be freed on any.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

namespace zorutil::json {

class node_pool_t {
 public:
  node_pool_t() = default;
  node_pool_t(const node_pool_t&) = delete;
  node_pool_t& operator=(const node_pool_t&) = delete;
  ~node_pool_t() { Close(); }

  template <class Node>
  std::shared_ptr<Node> Make() {
    // What std::allocate_shared adds: a pointer to its table, two counts and the allocator.
    constexpr std::size_t kRoom = sizeof(Node) + 64;
    static_assert(kRoom + sizeof(piece_t) <= kFirstSize);
    if (piece_ == nullptr || static_cast<std::size_t>(end_ - piece_->next) < kRoom) Open();
    return std::allocate_shared<Node>(allocator_t<Node>(piece_));
  }

 private:
  // Heads its memory. While the pool still adds to it, `live` is kOpen less the nodes that have been freed already.
  struct piece_t {
    std::atomic<std::uint32_t> live;
    std::uint32_t made;
    char* next;

    void Release(std::uint32_t count) noexcept {
      if (live.fetch_sub(count, std::memory_order_acq_rel) == count) std::free(this);
    }
  };
  static constexpr std::uint32_t kOpen = 1U << 30;
  static constexpr std::size_t kFirstSize = 1024 - 16;
  static constexpr std::size_t kLargestSize = 64 * 1024 - 16;

  static constexpr std::size_t kAlignment = 8;

  // Belongs to one piece, which has room for what is about to be made. A node keeps a copy to be freed by.
  template <class T>
  struct allocator_t {
    using value_type = T;
    explicit allocator_t(piece_t* owner) noexcept : piece(owner) {}
    template <class U>
    allocator_t(const allocator_t<U>& other) noexcept : piece(other.piece) {}

    T* allocate(std::size_t count) noexcept {
      static_assert(alignof(T) <= kAlignment);
      char* const taken = piece->next;
      piece->next += (count * sizeof(T) + kAlignment - 1) / kAlignment * kAlignment;
      ++piece->made;
      return reinterpret_cast<T*>(taken);
    }
    void deallocate(T*, std::size_t) noexcept { piece->Release(1); }
    bool operator==(const allocator_t& other) const noexcept { return piece == other.piece; }

    piece_t* piece;
  };

  void Open() {
    Close();
    size_ = size_ == 0 ? kFirstSize : std::min(size_ * 2, kLargestSize);
    void* const memory = std::malloc(size_);
    if (memory == nullptr) throw std::bad_alloc();
    end_ = static_cast<char*>(memory) + size_;
    piece_ = new (memory) piece_t{{kOpen}, 0, static_cast<char*>(memory) + sizeof(piece_t)};
  }
  void Close() noexcept {
    if (piece_ != nullptr) piece_->Release(kOpen - piece_->made);
    piece_ = nullptr;
  }

  piece_t* piece_ = nullptr;
  char* end_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace zorutil::json
