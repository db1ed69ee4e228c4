// Collects text and gives it to a sink in large pieces.
//
//   COutputBuffer out([](std::string_view text) { WriteOrThrow(text); });
//   out.Append("time,tag,value\n");
//   out.Flush();
//
// What the sink throws passes through Append and Flush. Text that is never flushed is lost.
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

namespace readings {

class COutputBuffer {
 public:
  using sink_t = std::function<void(std::string_view)>;

  explicit COutputBuffer(sink_t sink) : sink_(std::move(sink)), text_(new char[kCapacity]) {}

  void Append(std::string_view text) {
    if (text.size() > kCapacity - size_) {
      Flush();
      if (text.size() > kCapacity) return sink_(text);
    }
    std::memcpy(text_.get() + size_, text.data(), text.size());
    size_ += text.size();
  }
  void Append(char c) { Append(std::string_view(&c, 1)); }

  void Flush() {
    if (size_ != 0) sink_({text_.get(), std::exchange(size_, 0)});
  }

 private:
  static constexpr std::size_t kCapacity = 64 * 1024;

  sink_t sink_;
  std::unique_ptr<char[]> text_;
  std::size_t size_ = 0;
};

}  // namespace readings
