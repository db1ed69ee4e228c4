// A source of bytes for tests: a text, given out in pieces.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "examples/readings/csv_reader.h"

namespace readings {

class CTextSource : public CByteSource {
 public:
  explicit CTextSource(std::string text, std::size_t pieceSize = static_cast<std::size_t>(-1))
      : text_(std::move(text)), pieceSize_(pieceSize) {}
  std::size_t Read(char* buffer, std::size_t count) override {
    const std::size_t size = std::min({count, pieceSize_, text_.size() - at_});
    if (size != 0) std::memcpy(buffer, text_.data() + at_, size);
    at_ += size;
    return size;
  }

 private:
  std::string text_;
  std::size_t pieceSize_;
  std::size_t at_ = 0;
};

}  // namespace readings
