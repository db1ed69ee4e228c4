// The names of one text, each made once and shared. Not installed: for the reader.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/framework/cstring.h"

namespace zorutil::json {

class string_table_t {
 public:
  /// The name whose quoted body in `text` is `body`: the one made before, or what `make()` gives. Bodies lie in the
  /// text, which outlives the table. Names that collide on purpose are not shared, and cost no more.
  template <class Make>
  CString Find(std::string_view body, std::string_view text, Make make) {
    // Objects of one kind have the same names in the same order.
    const std::uint32_t expected = last_ != kNone ? entries_[last_].successor : kNone;
    if (expected != kNone && IsEqual(entries_[expected].body, body)) {
      last_ = expected;
      return entries_[expected].name;
    }
    const std::uint32_t found = FindInTable(body, HashOf(body, text), make);
    if (found == kNone) return make();
    if (last_ != kNone) entries_[last_].successor = found;
    last_ = found;
    return entries_[found].name;
  }

 private:
  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::size_t kMaxProbes = 16;

  struct entry_t {
    std::string_view body;
    std::uint64_t hash;
    CString name;
    std::uint32_t successor;  // the name that followed last time
  };

  static bool IsEqual(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    if (a.size() < 8) return std::memcmp(a.data(), b.data(), a.size()) == 0;
    std::size_t at = 0;
    for (; at + 8 < a.size(); at += 8) {
      if (Load(a.data() + at, 8) != Load(b.data() + at, 8)) return false;
    }
    return Load(a.data() + a.size() - 8, 8) == Load(b.data() + b.size() - 8, 8);
  }

  // Eight bytes a step, multiplied and folded.
  static std::uint64_t HashOf(std::string_view body, std::string_view text) {
    constexpr std::uint64_t kFactor = 0x9E37'79B9'7F4A'7C15;
    std::uint64_t hash = body.size() * kFactor;
    const auto take = [&hash](std::uint64_t word) {
      hash = (hash ^ word) * kFactor;
      hash ^= hash >> 32;
    };
    const char* at = body.data();
    std::size_t left = body.size();
    for (; left >= 8; at += 8, left -= 8) take(Load(at, 8));
    if (left != 0) {
      // Behind the body the text goes on, at the least with a quote and the end of the object.
      const bool hasRoom = std::endian::native == std::endian::little && at + 8 <= text.data() + text.size();
      take(hasRoom ? Load(at, 8) & ((std::uint64_t{1} << (8 * left)) - 1) : Load(at, left));
    }
    return hash;
  }
  static std::uint64_t Load(const char* at, std::size_t count) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, count);
    return word;
  }

  template <class Make>
  std::uint32_t FindInTable(std::string_view body, std::uint64_t hash, Make make) {
    if (entries_.size() * 2 >= slots_.size()) Grow();
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t probe = 0; probe != kMaxProbes; ++probe) {
      std::uint32_t& slot = slots_[static_cast<std::size_t>(hash + probe) & mask];
      if (slot == kNone) {
        entries_.push_back({body, hash, make(), kNone});
        return slot = static_cast<std::uint32_t>(entries_.size() - 1);
      }
      const entry_t& entry = entries_[slot];
      if (entry.hash == hash && IsEqual(entry.body, body)) return slot;
    }
    return kNone;
  }

  void Grow() {
    std::vector<std::uint32_t> slots(slots_.empty() ? 64 : slots_.size() * 4, kNone);
    const std::size_t mask = slots.size() - 1;
    for (std::uint32_t i = 0; i != entries_.size(); ++i) {
      for (std::size_t probe = 0; probe != kMaxProbes; ++probe) {
        std::uint32_t& slot = slots[static_cast<std::size_t>(entries_[i].hash + probe) & mask];
        if (slot != kNone) continue;
        slot = i;
        break;
      }
    }
    slots_ = std::move(slots);
  }

  std::vector<entry_t> entries_;
  std::vector<std::uint32_t> slots_;
  std::uint32_t last_ = kNone;
};

}  // namespace zorutil::json
