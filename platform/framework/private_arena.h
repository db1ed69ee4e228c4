// Memory of one owner, taken from the system in regions and given back whole.
//
//   CPrivateArena arena;
//   void* block = arena.Alloc(100);
//   arena.SizeOf(block);                 // 100
//   arena.Free(block);                   // true; a second time false
//
// It knows its live blocks exactly: any pointer value may be asked about or freed, and one that is no live block, be it
// wild, inside a block or freed before, does nothing and touches no memory. Writing beyond a block is not caught.
// A resource, neither copied nor moved. One thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/export.h"

class ZORPLATFORM_API CPrivateArena {
 public:
  /// Takes no memory yet.
  CPrivateArena() = default;
  CPrivateArena(const CPrivateArena&) = delete;
  CPrivateArena& operator=(const CPrivateArena&) = delete;
  /// Gives everything back, live blocks with it.
  ~CPrivateArena();

  /// `size` bytes, at least 1, aligned to 16. Null when the system has no memory.
  void* Alloc(std::uint32_t size) noexcept;
  /// False, and nothing happens, if `p` is not a live block. Memory of large blocks goes back to the system, that of
  /// others serves later blocks.
  bool Free(void* p) noexcept;
  /// The size that was asked for; 0 if `p` is not a live block.
  std::uint32_t SizeOf(const void* p) noexcept;

 private:
  // Small blocks are kept by size when they are freed; larger ones, and small ones before the arena grows, are joined
  // with what is free around them and kept in lists by range of size.

  // A piece of memory from the system. It begins with a bitmap, one bit for each 16 bytes: a live block starts here.
  // Blocks lie behind it, without gaps, up to `top`. A region of one large block has no bitmap.
  struct region_t {
    char* base;
    char* end;
    char* top;
    bool isOneBlock;

    bool Holds(const void* p) const noexcept;
    char* Limit() const noexcept;
  };
  struct block_t;

  static constexpr std::uint32_t kQuickUnits = 65;
  static constexpr std::uint32_t kBins = 192;

  region_t* Find(const void* p) noexcept;
  region_t* Search(const void* p) noexcept;
  block_t* FindLive(const void* p, region_t*& region) noexcept;
  region_t* AddRegion(std::size_t bytes, bool isOneBlock) noexcept;
  void* AllocOneBlock(std::uint32_t size) noexcept;
  block_t* Obtain(std::uint32_t units) noexcept;
  block_t* TakeFromBins(std::uint32_t units) noexcept;
  block_t* TakeFromTop(std::uint32_t units) noexcept;
  bool AddTop(std::uint32_t units) noexcept;
  bool EmptyQuickLists() noexcept;
  void Release(region_t& region, block_t* block) noexcept;
  void PutIntoBin(const region_t& region, block_t* block, std::uint32_t units) noexcept;
  void TakeOutOfBin(block_t* block) noexcept;

  std::vector<region_t> regions_;    // by address
  std::size_t lastFound_ = 0;        // index of the region asked for last
  char* current_ = nullptr;          // base of the region whose top is carved
  std::size_t nextBytes_ = 1 << 20;  // of the next region
  // Freed blocks of each small size, in units of 16 bytes, ready to be taken again.
  std::array<block_t*, kQuickUnits + 1> quick_{};
  bool hasQuick_ = false;
  // Free blocks by size, eight lists for each doubling, and a bit for each list that is not empty.
  std::array<block_t*, kBins> bins_{};
  std::array<std::uint64_t, kBins / 64> filledBins_{};
};
