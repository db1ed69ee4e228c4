// Files of bytes: CFile over a file of the system, and the interface that CMemFile shares.
//
//   CFile file(u"\\var\\lib\\plant\\project.bin", CFile::modeRead);
//   unsigned got = file.Read(buffer, sizeof buffer);                 // fewer than asked for only at the end
//
// Path texts use "\" as separator on every platform (see framework/native_path.h). I/O errors are CFileException,
// which names the path and the cause; so are reading, writing and seeking without an open file, and reading or writing
// against the mode. After one the position is as it was. Reads and writes go through a buffer and may be mixed freely;
// what is written reaches the system with Flush, Close or a full buffer.
// One thread at a time uses a file object; a file has one owner and is not copied.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>

#include "platform/export.h"
#include "platform/framework/cstring.h"

/// An I/O error; what() is "<path>: <operation>: <cause>" in UTF-8. Without a system error there is no cause, and the
/// operation says it all.
class ZORPLATFORM_API CFileException : public std::runtime_error {
 public:
  /// `systemError` is the system's number, whose text becomes the cause; 0 for none.
  CFileException(const CString& path, const char* operation, int systemError);
  ~CFileException() override;
  /// As the caller of the file gave it.
  const CString& GetPath() const noexcept { return path_; }
  /// The system's error number (errno); 0 when the cause is not the system's.
  int GetSystemError() const noexcept { return systemError_; }

 private:
  CString path_;
  int systemError_;
};

class ZORPLATFORM_API CFile {
 public:
  /// How a file is opened: one of the first three, and what is to be made.
  enum openflags_t : unsigned {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,
    modeCreate = 0x1000,      ///< make the file, or empty one that is there
    modeNoTruncate = 0x2000,  ///< with modeCreate: keep what is there
  };
  /// What an offset counts from: the beginning, the current position, the end.
  enum seek_t : int { begin = 0, current = 1, end = 2 };

  /// A file object without a file.
  CFile();
  /// Opens, or throws CFileException. Of files that are not regular ones, a directory is refused, and one without
  /// positions (a pipe, a terminal) is read or written from its beginning to its end.
  CFile(const CString& path, unsigned flags);
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;
  /// Closes; errors at this point are lost, so call Close or Flush first where they matter.
  virtual ~CFile();

  /// False, with the exception in `error` when that is given, if the file cannot be opened. An open file is closed
  /// first.
  bool Open(const CString& path, unsigned flags, std::unique_ptr<CFileException>* error = nullptr);
  virtual bool IsOpen() const noexcept;
  /// The path as it was given; it stays after Close. Empty before the first Open.
  virtual const CString& GetFilePath() const noexcept;

  /// Up to `count` bytes from the current position; returns how many there were, less than `count` only at the end.
  virtual unsigned Read(void* buffer, unsigned count);
  /// Writes all of it at the current position. Behind the end, the gap reads as zeros.
  virtual void Write(const void* buffer, unsigned count);
  /// Returns the new position. A position before the beginning throws; one behind the end is taken. Costs nothing:
  /// what is buffered stays.
  virtual std::uint64_t Seek(std::int64_t offset, seek_t from);
  /// Position 0.
  void SeekToBegin() { Seek(0, begin); }
  /// The end; returns that position.
  std::uint64_t SeekToEnd() { return Seek(0, end); }
  /// The position of the next byte read or written, from the beginning.
  virtual std::uint64_t GetPosition() const;
  /// Bytes in the file, those included that are still buffered.
  virtual std::uint64_t GetLength() const;
  /// Cuts the file, or lengthens it with zeros. The position stays, and may then lie behind the end.
  virtual void SetLength(std::uint64_t length);
  /// Gives what is buffered to the system. `toDisk`: returns only when the device has it. After a failure the rest
  /// is still buffered.
  virtual void Flush(bool toDisk = false);
  /// Flushes and closes; the file is closed even when that throws. Nothing happens without an open file.
  virtual void Close();

 private:
  struct ZORUTIL_HIDDEN state_t;
  state_t& GetOpen(const char* operation) const;
  std::unique_ptr<state_t> state_;
};
