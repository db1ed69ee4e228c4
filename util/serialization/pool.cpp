#include "util/serialization/pool.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>

#include "platform/framework/invalid_arg.h"

namespace zorpool {

namespace {

// Elements may have any size, so a link need not lie where a pointer may be read.
char* ReadLink(const char* element) {
  char* next;
  std::memcpy(&next, element, sizeof next);
  return next;
}
void WriteLink(char* element, char* next) { std::memcpy(element, &next, sizeof next); }

// Only the holder of the lock writes a counter, so the sum needs no atomic step; readers just see whole numbers.
template <class T>
T Add(std::atomic<T>& counter, T change) {
  const T sum = counter.load(std::memory_order_relaxed) + change;
  counter.store(sum, std::memory_order_relaxed);
  return sum;
}

unsigned ElementsOf(unsigned elementSize, unsigned chunkSize) {
  if (elementSize < sizeof(void*)) {
    throw CInvalidArgException("CPool: elements of " + std::to_string(elementSize) + " bytes cannot hold a pointer");
  }
  if (chunkSize < elementSize) {
    throw CInvalidArgException("CPool: a chunk of " + std::to_string(chunkSize) + " bytes cannot hold an element of " +
                               std::to_string(elementSize));
  }
  return chunkSize / elementSize;
}

template <class T>
void ReserveFor(std::vector<T>& list, std::size_t count) {
  if (list.capacity() < count) list.reserve(std::max(count, 2 * list.capacity()));
}

}  // namespace

bad_alloc_t::~bad_alloc_t() = default;
const char* bad_alloc_t::what() const noexcept { return "bad allocation"; }

IPool::~IPool() = default;

void* DefaultHeap::Alloc(unsigned size) {
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    throw bad_alloc_t();
  }
}

void DefaultHeap::Free(void* p, unsigned) { ::operator delete(p); }

DefaultHeap& DefaultHeap::GetInstance() {
  static DefaultHeap* const heap = new DefaultHeap;  // outlives every static pool
  return *heap;
}

CPool::CPool(unsigned elementSize, unsigned chunkSize, IPool* parent, bool releaseWhenEmpty)
    : elementSize_(elementSize),
      maxElements_(ElementsOf(elementSize, chunkSize)),
      parent_(parent != nullptr ? parent : &DefaultHeap::GetInstance()),
      releaseWhenEmpty_(releaseWhenEmpty),
      room_(1, 1) {
  places_.reserve(1);
}

CPool::~CPool() {
  for (std::size_t position = overflow_.size() + 1; position-- > 0;) {
    if (At(position).block != nullptr) parent_->Free(At(position).block, BlockBytes());
  }
}

void* CPool::Alloc(unsigned size) {
  if (size > elementSize_) throw bad_alloc_t();
  const std::lock_guard guard(lock_);
  link_t& link = current_ != nullptr ? *current_ : AddLink();
  if (link.free == nullptr) PrepareBlock(link);
  char* const element = link.free;
  link.free = ReadLink(element);
  Add(link.inUse, 1U);
  Add<std::size_t>(totalInUse_, 1);
  if (link.free == nullptr) {
    room_[link.position / 64] &= ~(std::uint64_t{1} << link.position % 64);
    current_ = FindRoom(link.position);
  }
  return element;
}

void CPool::Free(void* p, unsigned) {
  const std::lock_guard guard(lock_);
  if (!Holds(*lastOwner_, p)) {
    link_t* const owner = FindOwner(p);
    assert(owner != nullptr && "not an element of this pool");
    if (owner == nullptr) return;
    lastOwner_ = owner;
  }
  link_t& link = *lastOwner_;
  assert((static_cast<char*>(p) - link.block) % elementSize_ == 0 && "not the start of an element");
  assert(link.inUse != 0 && "freed twice");
  if (link.free == nullptr) {
    room_[link.position / 64] |= std::uint64_t{1} << link.position % 64;
    if (current_ == nullptr || link.position < current_->position) current_ = &link;
  }
  char* const element = static_cast<char*>(p);
  WriteLink(element, link.free);
  link.free = element;
  Add<std::size_t>(totalInUse_, static_cast<std::size_t>(-1));
  if (Add(link.inUse, ~0U) == 0 && (&link != &head_ || releaseWhenEmpty_)) DestroyBlock(link);
}

std::size_t CPool::TotalAlloc() const noexcept { return blocksHeld_.load(std::memory_order_relaxed) * BlockBytes(); }

// Compared by distance, so that a block at the top of the address space does not wrap.
bool CPool::Holds(const link_t& link, const void* p) const noexcept {
  const auto distance = reinterpret_cast<std::uintptr_t>(p) - reinterpret_cast<std::uintptr_t>(link.block);
  return link.block != nullptr && distance <= BlockBytes() - elementSize_;
}

// All memory that the new link will ever need is had before anything changes.
CPool::link_t& CPool::AddLink() try {
  const std::size_t position = overflow_.size() + 1;
  ReserveFor(overflow_, position);
  ReserveFor(places_, position + 1);
  if (room_.size() <= position / 64) room_.push_back(0);
  auto link = std::make_unique<link_t>();
  link->position = static_cast<std::uint32_t>(position);
  current_ = link.get();
  overflow_.push_back(std::move(link));
  room_[position / 64] |= std::uint64_t{1} << position % 64;
  return *current_;
} catch (const std::bad_alloc&) {
  throw bad_alloc_t();
}

// The first link at or behind `from` that has room.
CPool::link_t* CPool::FindRoom(std::size_t from) noexcept {
  for (std::size_t word = from / 64; word != room_.size(); ++word) {
    if (room_[word] != 0) return &At(word * 64 + static_cast<std::size_t>(std::countr_zero(room_[word])));
  }
  return nullptr;
}

CPool::link_t* CPool::FindOwner(const void* p) noexcept {
  const auto behind = std::upper_bound(places_.begin(), places_.end(), reinterpret_cast<std::uintptr_t>(p),
                                       [](std::uintptr_t at, const place_t& place) { return at < place.start; });
  if (behind == places_.begin()) return nullptr;
  link_t* const link = (behind - 1)->link;
  return Holds(*link, p) ? link : nullptr;
}

void CPool::PrepareBlock(link_t& link) {
  char* const block = static_cast<char*>(parent_->Alloc(BlockBytes()));
  if (block == nullptr) throw bad_alloc_t();
  std::memset(block, 0, BlockBytes());
  char* const last = block + (BlockBytes() - elementSize_);
  for (char* element = block; element != last; element += elementSize_) WriteLink(element, element + elementSize_);
  link.block = link.free = block;
  const place_t place{reinterpret_cast<std::uintptr_t>(block), &link};
  places_.insert(std::upper_bound(places_.begin(), places_.end(), place,
                                  [](const place_t& a, const place_t& b) { return a.start < b.start; }),
                 place);
  Add<std::size_t>(blocksHeld_, 1);
}

void CPool::DestroyBlock(link_t& link) {
  const auto start = reinterpret_cast<std::uintptr_t>(link.block);
  places_.erase(std::lower_bound(places_.begin(), places_.end(), start,
                                 [](const place_t& place, std::uintptr_t at) { return place.start < at; }));
  Add<std::size_t>(blocksHeld_, static_cast<std::size_t>(-1));
  char* const block = std::exchange(link.block, nullptr);
  link.free = nullptr;
  parent_->Free(block, BlockBytes());
}

}  // namespace zorpool
