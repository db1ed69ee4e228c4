// While one lives, the nodes of its thread lie side by side in pieces of memory. Not installed: for the reader.
//
//   node_pool_t pool;
//   auto node = std::allocate_shared<scalar_t>(node_allocator_t<scalar_t>());
//
// The nodes may outlive it. It is destroyed on the thread that made it, the last made first.
#pragma once

#include <cstddef>

namespace zorutil::json {

struct node_piece_t;

class node_pool_t {
 public:
  node_pool_t() noexcept;
  node_pool_t(const node_pool_t&) = delete;
  node_pool_t& operator=(const node_pool_t&) = delete;
  ~node_pool_t();

 private:
  friend void* AllocateNode(std::size_t bytes);
  void* Take(std::size_t bytes);
  void Open();
  void Close() noexcept;

  node_pool_t* const outer_;
  node_piece_t* piece_ = nullptr;
  char* next_ = nullptr;
  std::size_t room_ = 0;
  std::size_t size_ = 0;
  unsigned made_ = 0;
  unsigned pieces_ = 0;
};

}  // namespace zorutil::json
