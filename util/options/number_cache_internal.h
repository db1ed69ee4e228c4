// Numbers remembered by the address of their name, found without a lock.
//
// Any number of threads may call Find and GetGeneration at any time. Store and Clear are called under one lock.
#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace zorutil::options {

// A table of slots with open addressing, at most half full. A slot belongs to a name for ever, so that readers never
// see one change hands; its number is marked with the generation in which it was stored, and clearing begins the next
// one. A table that became too small is replaced and kept, because readers may still be in it: all of them together are
// no larger than the last one.
class CNumberCache {
 public:
  static constexpr std::size_t kMostNames = 4096;

  /// Never 0.
  std::uint32_t GetGeneration() const noexcept { return generation_.load(std::memory_order_acquire); }

  bool Find(const char16_t* name, std::uint32_t& number) const noexcept {
    const std::uint32_t generation = GetGeneration();
    const table_t* const table = table_.load(std::memory_order_acquire);
    if (table == nullptr) return false;
    for (std::size_t at = table->FirstIndex(name);; at = (at + 1) & table->mask) {
      const slot_t& slot = table->slots[at];
      const char16_t* const held = slot.name.load(std::memory_order_acquire);
      if (held == name) {
        const std::uint64_t marked = slot.marked.load(std::memory_order_acquire);
        number = static_cast<std::uint32_t>(marked);
        return static_cast<std::uint32_t>(marked >> 32) == generation;
      }
      if (held == nullptr) return false;
    }
  }

  /// Nothing is stored for null, or when there are too many names. Memory that is short is std::bad_alloc.
  void Store(const char16_t* name, std::uint32_t number) {
    if (name == nullptr) return;
    const std::uint64_t marked = std::uint64_t{GetGeneration()} << 32 | number;
    if (slot_t* const slot = SlotOf(name)) {
      slot->marked.store(marked, std::memory_order_release);
    } else if (count_ < kMostNames) {
      if (tables_.empty() || 2 * (count_ + 1) > tables_.back()->mask + 1) Grow();
      tables_.back()->Add(name, marked);
      ++count_;
    }
  }

  void Clear() noexcept {
    std::uint32_t next = GetGeneration() + 1;
    if (next == 0) {  // the marks of four thousand million clearings ago would be valid again
      for (const auto& table : tables_) {
        for (std::size_t i = 0; i <= table->mask; ++i) table->slots[i].marked.store(0, std::memory_order_relaxed);
      }
      next = 1;
    }
    generation_.store(next, std::memory_order_release);
  }

 private:
  struct slot_t {
    std::atomic<const char16_t*> name{nullptr};
    std::atomic<std::uint64_t> marked{0};  // generation << 32 | number
  };

  struct table_t {
    explicit table_t(std::size_t size)
        : mask(size - 1), shift(64 - std::countr_zero(size)), slots(std::make_unique<slot_t[]>(size)) {}

    // Addresses of literals differ in their lower bits.
    std::size_t FirstIndex(const char16_t* name) const noexcept {
      return static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(name) * 0x9E3779B97F4A7C15U >> shift);
    }
    // The name is not in it, and there is room.
    void Add(const char16_t* name, std::uint64_t marked) noexcept {
      std::size_t at = FirstIndex(name);
      while (slots[at].name.load(std::memory_order_relaxed) != nullptr) at = (at + 1) & mask;
      slots[at].marked.store(marked, std::memory_order_relaxed);
      slots[at].name.store(name, std::memory_order_release);
    }

    std::size_t mask;
    int shift;
    std::unique_ptr<slot_t[]> slots;
  };

  slot_t* SlotOf(const char16_t* name) noexcept {
    if (tables_.empty()) return nullptr;
    table_t& table = *tables_.back();
    for (std::size_t at = table.FirstIndex(name);; at = (at + 1) & table.mask) {
      const char16_t* const held = table.slots[at].name.load(std::memory_order_relaxed);
      if (held == name) return &table.slots[at];
      if (held == nullptr) return nullptr;
    }
  }

  void Grow() {
    constexpr std::size_t kFirstSize = 16;
    auto larger = std::make_unique<table_t>(tables_.empty() ? kFirstSize : 2 * (tables_.back()->mask + 1));
    if (!tables_.empty()) {
      const table_t& old = *tables_.back();
      for (std::size_t i = 0; i <= old.mask; ++i) {
        const char16_t* const name = old.slots[i].name.load(std::memory_order_relaxed);
        if (name != nullptr) larger->Add(name, old.slots[i].marked.load(std::memory_order_relaxed));
      }
    }
    tables_.push_back(std::move(larger));
    table_.store(tables_.back().get(), std::memory_order_release);
  }

  std::atomic<std::uint32_t> generation_{1};
  std::atomic<const table_t*> table_{nullptr};
  std::vector<std::unique_ptr<table_t>> tables_;
  std::size_t count_ = 0;
};

}  // namespace zorutil::options
