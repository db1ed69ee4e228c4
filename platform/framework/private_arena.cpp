#include "platform/framework/private_arena.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace {

constexpr std::uint32_t kUnit = 16;
constexpr std::uint32_t kHeader = 8;
constexpr std::uint32_t kFewestUnits = 2;  // a free block holds its header, two links and its length at the end
constexpr std::size_t kLargestRegion = std::size_t{64} << 20;
constexpr std::uint32_t kOneBlock = 256 * 1024;  // from here on a block has a region to itself

char* MapPages(std::size_t bytes) noexcept {
  void* const pages = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages != MAP_FAILED ? static_cast<char*>(pages) : nullptr;
}
void UnmapPages(char* pages, std::size_t bytes) noexcept { ::munmap(pages, bytes); }

std::size_t WholePages(std::size_t bytes) noexcept {
  static const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  return (bytes + page - 1) / page * page;
}

std::uintptr_t Number(const void* p) noexcept { return reinterpret_cast<std::uintptr_t>(p); }

std::uint64_t& LiveWord(char* base, std::size_t unit) noexcept {
  return reinterpret_cast<std::uint64_t*>(base)[unit / 64];
}
std::uint64_t LiveBit(std::size_t unit) noexcept { return std::uint64_t{1} << unit % 64; }

// Where the first block of a region has its header: behind the bitmap, so that what follows the header is aligned.
std::size_t FirstBlock(std::size_t regionBytes) noexcept {
  const std::size_t bitmap = (regionBytes / kUnit + 7) / 8;
  return (bitmap + kHeader + kUnit - 1) / kUnit * kUnit + kUnit - kHeader;
}

// Eight lists for each doubling of the size.
std::uint32_t BinOf(std::uint32_t units) noexcept {
  if (units < 8) return units;
  const auto log = static_cast<std::uint32_t>(std::bit_width(units)) - 1;
  return (log - 2) * 8 + (units >> (log - 3)) % 8;
}

// The first list in which every block has so many units.
std::uint32_t FirstBinFor(std::uint32_t units) noexcept {
  if (units < 8) return units;
  const auto log = static_cast<std::uint32_t>(std::bit_width(units)) - 1;
  return BinOf(units + (std::uint32_t{1} << (log - 3)) - 1);
}

}  // namespace

// Where the blocks of a region end: headers lie half a unit before their bytes.
char* CPrivateArena::region_t::Limit() const noexcept { return end - kHeader; }

bool CPrivateArena::region_t::Holds(const void* p) const noexcept {
  return Number(p) - Number(base) < Number(end) - Number(base);
}

// What stands before the bytes of a block, and while it is free in their place.
struct CPrivateArena::block_t {
  static constexpr std::uint32_t kFree = 1u << 31;
  static constexpr std::uint32_t kBehindFree = 1u << 30;  // the block before is in a bin, its length stands at its end

  std::uint32_t unitsAndFlags;
  std::uint32_t size;  // as it was asked for
  block_t* next;
  block_t* previous;

  std::uint32_t Units() const noexcept { return unitsAndFlags & ~(kFree | kBehindFree); }
  char* Start() noexcept { return reinterpret_cast<char*>(this); }
  void* Bytes() noexcept { return Start() + kHeader; }
  char* End() noexcept { return Start() + std::size_t{Units()} * kUnit; }
  block_t* Before() noexcept {
    std::uint32_t units;
    std::memcpy(&units, Start() - sizeof units, sizeof units);
    return reinterpret_cast<block_t*>(Start() - std::size_t{units} * kUnit);
  }
};

CPrivateArena::~CPrivateArena() {
  for (const region_t& region : regions_) UnmapPages(region.base, static_cast<std::size_t>(region.end - region.base));
}

// The region in whose addresses the pointer lies, most often that of the last one. Only numbers are compared.
inline CPrivateArena::region_t* CPrivateArena::Find(const void* p) noexcept {
  return lastFound_ < regions_.size() && regions_[lastFound_].Holds(p) ? &regions_[lastFound_] : Search(p);
}

CPrivateArena::region_t* CPrivateArena::Search(const void* p) noexcept {
  const auto behind = std::upper_bound(regions_.begin(), regions_.end(), Number(p),
                                       [](std::uintptr_t at, const region_t& r) { return at < Number(r.base); });
  if (behind == regions_.begin() || !(behind - 1)->Holds(p)) return nullptr;
  lastFound_ = static_cast<std::size_t>(behind - 1 - regions_.begin());
  return &regions_[lastFound_];
}

void* CPrivateArena::Alloc(std::uint32_t size) noexcept {
  assert(size != 0);
  if (size >= kOneBlock) return AllocOneBlock(size);
  const std::uint32_t units = std::max(kFewestUnits, (size + kHeader + kUnit - 1) / kUnit);
  block_t* const block = Obtain(units);
  if (block == nullptr) return nullptr;
  block->size = size;
  void* const bytes = block->Bytes();
  char* const base = Find(bytes)->base;
  const std::size_t unit = (Number(bytes) - Number(base)) / kUnit;
  LiveWord(base, unit) |= LiveBit(unit);
  return bytes;
}

bool CPrivateArena::Free(void* p) noexcept {
  region_t* region = nullptr;
  block_t* const block = FindLive(p, region);
  if (block == nullptr) return false;
  if (region->isOneBlock) {
    UnmapPages(region->base, static_cast<std::size_t>(region->end - region->base));
    regions_.erase(regions_.begin() + (region - regions_.data()));
    return true;
  }
  const std::size_t unit = (Number(p) - Number(region->base)) / kUnit;
  LiveWord(region->base, unit) &= ~LiveBit(unit);
  const std::uint32_t units = block->Units();
  if (units <= kQuickUnits) {
    block->next = quick_[units];
    quick_[units] = block;
    hasQuick_ = true;
  } else {
    Release(*region, block);
  }
  return true;
}

std::uint32_t CPrivateArena::SizeOf(const void* p) noexcept {
  region_t* region = nullptr;
  const block_t* const block = FindLive(p, region);
  return block != nullptr ? block->size : 0;
}

CPrivateArena::block_t* CPrivateArena::FindLive(const void* p, region_t*& region) noexcept {
  region = Find(p);
  if (region == nullptr) return nullptr;
  const std::uintptr_t offset = Number(p) - Number(region->base);
  const bool isLive = region->isOneBlock ? offset == kUnit
                                         : offset % kUnit == 0 &&
                                               (LiveWord(region->base, offset / kUnit) & LiveBit(offset / kUnit)) != 0;
  return isLive ? reinterpret_cast<block_t*>(region->base + offset - kHeader) : nullptr;
}

// Null when memory is short; then nothing has changed.
CPrivateArena::region_t* CPrivateArena::AddRegion(std::size_t bytes, bool isOneBlock) noexcept try {
  if (regions_.size() == regions_.capacity()) regions_.reserve(std::max<std::size_t>(8, 2 * regions_.size()));
  char* const base = MapPages(bytes);
  if (base == nullptr) return nullptr;
  const auto place = std::upper_bound(regions_.begin(), regions_.end(), Number(base),
                                      [](std::uintptr_t at, const region_t& r) { return at < Number(r.base); });
  char* const first = base + (isOneBlock ? kUnit - kHeader : FirstBlock(bytes));
  return &*regions_.insert(place, {base, base + bytes, first, isOneBlock});
} catch (const std::bad_alloc&) {
  return nullptr;
}

void* CPrivateArena::AllocOneBlock(std::uint32_t size) noexcept {
  const std::uint64_t bytes = std::uint64_t{size} + kUnit;
  if (bytes > PTRDIFF_MAX) return nullptr;  // on machines of 32 bits
  region_t* const region = AddRegion(WholePages(static_cast<std::size_t>(bytes)), true);
  if (region == nullptr) return nullptr;
  auto* const block = reinterpret_cast<block_t*>(region->top);
  block->size = size;
  return block->Bytes();
}

// A block of so many units, or a little more; it is not live yet.
CPrivateArena::block_t* CPrivateArena::Obtain(std::uint32_t units) noexcept {
  if (units <= kQuickUnits && quick_[units] != nullptr) {
    block_t* const block = quick_[units];
    quick_[units] = block->next;
    return block;
  }
  for (;;) {
    if (block_t* const block = TakeFromBins(units)) return block;
    if (block_t* const block = TakeFromTop(units)) return block;
    // Before the arena grows, what lies in the quick lists is joined to larger blocks.
    if (!EmptyQuickLists() && !AddTop(units)) return nullptr;
  }
}

CPrivateArena::block_t* CPrivateArena::TakeFromBins(std::uint32_t units) noexcept {
  const std::uint32_t first = FirstBinFor(units);
  std::uint64_t mask = ~std::uint64_t{0} << first % 64;
  for (std::size_t word = first / 64; word < filledBins_.size(); ++word, mask = ~std::uint64_t{0}) {
    const std::uint64_t filled = filledBins_[word] & mask;
    if (filled == 0) continue;
    block_t* const block = bins_[word * 64 + static_cast<std::size_t>(std::countr_zero(filled))];
    TakeOutOfBin(block);
    const region_t& region = *Find(block);
    const std::uint32_t rest = block->Units() - units;
    if (rest >= kFewestUnits) {
      block->unitsAndFlags = units;
      PutIntoBin(region, reinterpret_cast<block_t*>(block->End()), rest);
    } else if (block->End() != region.Limit()) {
      reinterpret_cast<block_t*>(block->End())->unitsAndFlags &= ~block_t::kBehindFree;
    }
    return block;
  }
  return nullptr;
}

CPrivateArena::block_t* CPrivateArena::TakeFromTop(std::uint32_t units) noexcept {
  if (current_ == nullptr) return nullptr;
  region_t& region = *Find(current_);
  const std::size_t bytes = std::size_t{units} * kUnit;
  if (static_cast<std::size_t>(region.Limit() - region.top) < bytes) return nullptr;
  auto* const block = reinterpret_cast<block_t*>(region.top);
  block->unitsAndFlags = units;
  region.top += bytes;
  return block;
}

// Begins a region in which the block will fit. What the one before has left goes into a bin.
bool CPrivateArena::AddTop(std::uint32_t units) noexcept {
  const std::size_t bytes = std::max(nextBytes_, std::bit_ceil(std::size_t{units} * kUnit * 2));
  const region_t* const added = AddRegion(bytes, false);
  if (added == nullptr) return false;
  nextBytes_ = std::min(4 * bytes, kLargestRegion);  // few regions, so that a pointer's is found at once
  char* const before = std::exchange(current_, added->base);
  if (before == nullptr) return true;
  region_t& old = *Find(before);
  const auto left = static_cast<std::uint32_t>((old.Limit() - old.top) / kUnit);
  if (left == 0) return true;
  auto* const block = reinterpret_cast<block_t*>(std::exchange(old.top, old.Limit()));
  block->unitsAndFlags = left;  // a single unit stays as it is, a block that is never given out
  if (left >= kFewestUnits) PutIntoBin(old, block, left);
  return true;
}

// False if there was nothing in them.
bool CPrivateArena::EmptyQuickLists() noexcept {
  if (!hasQuick_) return false;
  for (block_t*& list : quick_) {
    while (list != nullptr) {
      block_t* const block = std::exchange(list, list->next);
      Release(*Find(block), block);
    }
  }
  hasQuick_ = false;
  return true;
}

// Joins the block with what is free around it. No two free blocks touch, and none touches the top being carved.
void CPrivateArena::Release(region_t& region, block_t* block) noexcept {
  std::uint32_t units = block->Units();
  char* const end = block->End();
  if ((block->unitsAndFlags & block_t::kBehindFree) != 0) {
    block = block->Before();
    TakeOutOfBin(block);
    units += block->Units();
  }
  if (end == region.top && region.base == current_) {
    region.top = block->Start();
    return;
  }
  if (end != region.Limit()) {
    auto* const next = reinterpret_cast<block_t*>(end);
    if ((next->unitsAndFlags & block_t::kFree) != 0) {
      TakeOutOfBin(next);
      units += next->Units();
    }
  }
  PutIntoBin(region, block, units);
}

void CPrivateArena::PutIntoBin(const region_t& region, block_t* block, std::uint32_t units) noexcept {
  block->unitsAndFlags = units | block_t::kFree;
  std::memcpy(block->End() - sizeof units, &units, sizeof units);
  if (block->End() != region.Limit()) {
    reinterpret_cast<block_t*>(block->End())->unitsAndFlags |= block_t::kBehindFree;
  }
  const std::uint32_t bin = BinOf(units);
  block->previous = nullptr;
  block->next = std::exchange(bins_[bin], block);
  if (block->next != nullptr) block->next->previous = block;
  filledBins_[bin / 64] |= std::uint64_t{1} << bin % 64;
}

void CPrivateArena::TakeOutOfBin(block_t* block) noexcept {
  block->unitsAndFlags &= ~block_t::kFree;
  const std::uint32_t bin = BinOf(block->Units());
  (block->previous != nullptr ? block->previous->next : bins_[bin]) = block->next;
  if (block->next != nullptr) block->next->previous = block->previous;
  if (bins_[bin] == nullptr) filledBins_[bin / 64] &= ~(std::uint64_t{1} << bin % 64);
}
