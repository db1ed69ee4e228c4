#pragma once

namespace zorutil {

/// What the calling thread saves as long as this lives is a copy (CTableObj::IsCopying).
class copying_t {
 public:
  copying_t() noexcept;
  copying_t(const copying_t&) = delete;
  copying_t& operator=(const copying_t&) = delete;
  ~copying_t();
};

}  // namespace zorutil
