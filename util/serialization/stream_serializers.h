// The two binary serializers over files: one over a caller's file, one over a memory file of its own.
//
//   zorutil::memory_serializer_t copy;
//   zorutil::Serialize(value, copy);
//   copy.Rewind();
//   zorutil::Deserialize(other, copy);
//
// Small objects for the stack, not copied. One thread at a time.
#pragma once

#include <cstddef>
#include <span>

#include "platform/export.h"
#include "platform/framework/mem_file.h"
#include "util/serialization/serializer.h"

namespace zorutil {

/// Reads and writes at the file's position. The file is the caller's: it outlives the serializer and is neither
/// closed nor deleted by it.
class ZORUTIL_API file_serializer_t : public ISerializer {
 public:
  /// At the file's present position. `file` is not null.
  explicit file_serializer_t(CFile* file) : file_(file) {}
  file_serializer_t(const file_serializer_t&) = delete;
  file_serializer_t& operator=(const file_serializer_t&) = delete;
  ~file_serializer_t() override;

  /// Fewer than `n` bytes left: takes them, then throws CException -3. Errors of the file are CFileException.
  void Read(void* dst, unsigned n) override;
  /// All `n` bytes, at the position; errors of the file are CFileException.
  void Write(const void* src, unsigned n) override;
  /// True only if all `n` bytes were there; the position stays where it was. False on a file without positions, such
  /// as a pipe. CFileException on a closed one, as Read.
  bool Peek(void* dst, unsigned n) override;

 private:
  CFile* file_;
};

/// The same over a growing memory file that goes with the serializer.
class ZORUTIL_API memory_serializer_t : public ISerializer {
 public:
  memory_serializer_t() = default;
  /// Stands at the beginning of a copy of `content`, ready to read it.
  explicit memory_serializer_t(std::span<const std::byte> content) : memory_(content) {}
  memory_serializer_t(const memory_serializer_t&) = delete;
  memory_serializer_t& operator=(const memory_serializer_t&) = delete;
  ~memory_serializer_t() override;

  /// As those of file_serializer_t.
  /// @{
  void Read(void* dst, unsigned n) override { stream_.Read(dst, n); }
  void Write(const void* src, unsigned n) override { stream_.Write(src, n); }
  bool Peek(void* dst, unsigned n) override { return stream_.Peek(dst, n); }
  /// @}

  /// Goes back to the first byte, to read what was written.
  void Rewind() { memory_.SeekToBegin(); }
  /// All bytes, whatever the position; valid until the next write.
  std::span<const std::byte> GetContent() const { return memory_.GetContent(); }

 private:
  CMemFile memory_;
  file_serializer_t stream_{&memory_};
};

}  // namespace zorutil
