// A file in memory that grows as it is written.
//
//   CMemFile file;
//   file.Write("abc", 3);
//   file.SeekToBegin();
//
// A resource like every file: one owner, one thread at a time. It is always open, and it has no path.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/export.h"
#include "platform/framework/file.h"

class ZORPLATFORM_API CMemFile : public CFile {
 public:
  /// The most bytes it holds, 4 GiB; on machines of 32 bits what a vector can hold, 2 GiB. Growing beyond is
  /// std::length_error; std::bad_alloc when memory is short. Neither changes anything.
  static constexpr std::uint64_t kMaxSize = std::min<std::uint64_t>(std::uint64_t{1} << 32, PTRDIFF_MAX);

  CMemFile() = default;
  /// A file that holds a copy of the bytes; the position is the beginning.
  explicit CMemFile(std::span<const std::byte> content);
  ~CMemFile() override;

  bool IsOpen() const noexcept override { return true; }
  /// There is nothing to open.
  bool Open(const CString&, unsigned, std::unique_ptr<CFileException>* = nullptr) = delete;
  const CString& GetFilePath() const noexcept override;
  unsigned Read(void* buffer, unsigned count) override;
  /// Behind the end, the gap is filled with zeros. `buffer` lies outside this file's content.
  void Write(const void* buffer, unsigned count) override;
  std::uint64_t Seek(std::int64_t offset, seek_t from) override;
  std::uint64_t GetPosition() const override { return position_; }
  std::uint64_t GetLength() const override { return content_.size(); }
  void SetLength(std::uint64_t length) override;
  void Flush(bool = false) override {}
  /// Empties the file and gives its memory back.
  void Close() override;

  /// The whole content; valid until the next write.
  std::span<const std::byte> GetContent() const noexcept { return content_; }

 private:
  std::vector<std::byte> content_;
  std::uint64_t position_ = 0;
};
