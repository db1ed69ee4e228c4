#include "platform/framework/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <system_error>

#include "platform/framework/native_path.h"
#include "platform/framework/system_error_internal.h"

namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

// Positions stop here, so that the sum of a position and a count always fits the system's 64-bit offset.
constexpr std::uint64_t kMaxPosition = std::uint64_t{1} << 62;

std::string MessageText(const CString& path, const char* operation, int systemError) {
  std::string text = path.IsEmpty() ? "(no file)" : path.ToUtf8();
  text.append(": ").append(operation);
  if (systemError != 0) text.append(": ").append(TextOfSystemError(systemError));
  return text;
}

// Calls until no signal gets in between.
template <class Call>
auto Retry(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

int SystemFlags(unsigned flags) {
  int result = O_CLOEXEC | O_NOCTTY;
  if ((flags & CFile::modeReadWrite) != 0)
    result |= O_RDWR;
  else if ((flags & CFile::modeWrite) != 0)
    result |= O_WRONLY;
  if ((flags & CFile::modeCreate) != 0) {
    result |= O_CREAT | ((flags & CFile::modeNoTruncate) != 0 ? 0 : O_TRUNC);
  }
  return result;
}

}  // namespace

std::string TextOfSystemError(int error) {
#if defined(__GLIBC__) && defined(_GNU_SOURCE)
  if (const char* const text = strerrordesc_np(error)) return text;
#endif
  return std::generic_category().message(error);
}

CFileException::CFileException(const CString& path, const char* operation, int systemError)
    : std::runtime_error(MessageText(path, operation, systemError)), path_(path), systemError_(systemError) {}

CFileException::~CFileException() = default;

// One open file and one window of it: the bytes [start, start + used) of the file as its user sees them, of which the
// system has yet to be given [dirtyBegin, dirtyEnd). Everything outside the window is in the system's file, so reads
// and writes may be mixed in any order, and moving about inside the window costs no call.
struct CFile::state_t {
  CString path;
  int handle = -1;
  bool readable = false;
  bool writable = false;
  bool hasPositions = false;
  std::uint64_t position = 0;

  std::unique_ptr<std::byte[]> buffer;
  std::uint64_t start = 0;
  std::size_t used = 0;
  std::size_t dirtyBegin = 0;
  std::size_t dirtyEnd = 0;

  state_t(const CString& filePath, unsigned flags);
  ~state_t();
  [[noreturn]] void Fail(const char* operation, int systemError) const {
    throw CFileException(path, operation, systemError);
  }

  std::size_t CopyFromWindow(std::byte* out, std::size_t count) const noexcept;
  std::size_t ReadBeyondWindow(std::uint64_t at, std::byte* out, std::size_t count);
  std::size_t ReadSystem(std::uint64_t at, std::byte* out, std::size_t wanted, std::size_t room);
  bool FitsWindow(std::size_t count) const noexcept;
  void CopyToWindow(const std::byte* bytes, std::size_t count) noexcept;
  void OpenWindow();
  std::size_t WriteSystem(std::uint64_t at, const std::byte* bytes, std::size_t count);
  void FlushWindow();
};

CFile::state_t::state_t(const CString& filePath, unsigned flags) : path(filePath) {
  const unsigned access = flags & (modeWrite | modeReadWrite);
  // A NUL would cut the path short, and another file would be opened.
  if (access == (modeWrite | modeReadWrite) || path.Find(u'\0') >= 0) Fail("open", EINVAL);
  readable = access != modeWrite;
  writable = access != modeRead;

  const std::string native = zorplatform::ToNativePath(path.View()).string();
  handle = Retry([&] { return ::open(native.c_str(), SystemFlags(flags), 0666); });
  if (handle < 0) Fail("open", errno);
  struct stat info {};
  const int error = ::fstat(handle, &info) != 0 ? errno : S_ISDIR(info.st_mode) ? EISDIR : 0;
  if (error != 0) {
    ::close(handle);
    Fail("open", error);
  }
  hasPositions = ::lseek(handle, 0, SEEK_CUR) >= 0;
}

CFile::state_t::~state_t() {
  if (handle < 0) return;
  try {
    FlushWindow();
  } catch (const std::exception&) {
    // Nobody is left to hear of it; the header says to close first where it matters.
  }
  ::close(handle);
}

// --- reading -----------------------------------------------------------------------------------------------------

std::size_t CFile::state_t::CopyFromWindow(std::byte* out, std::size_t count) const noexcept {
  if (position < start || position - start >= used) return 0;
  const std::size_t offset = static_cast<std::size_t>(position - start);
  const std::size_t copied = std::min(count, used - offset);
  std::memcpy(out, buffer.get() + offset, copied);
  return copied;
}

// Large reads go straight to their reader; small ones move the window to where they begin.
std::size_t CFile::state_t::ReadBeyondWindow(std::uint64_t at, std::byte* out, std::size_t count) {
  FlushWindow();
  if (count >= kBufferSize) return ReadSystem(at, out, count, count);
  OpenWindow();
  start = at;
  used = ReadSystem(at, buffer.get(), count, kBufferSize);
  const std::size_t copied = std::min(count, used);
  std::memcpy(out, buffer.get(), copied);
  return copied;
}

// Reads on until `wanted` bytes are there or the file ends; takes up to `room` when the system has them at hand.
std::size_t CFile::state_t::ReadSystem(std::uint64_t at, std::byte* out, std::size_t wanted, std::size_t room) {
  std::size_t got = 0;
  while (got < wanted) {
    const ssize_t count = Retry([&] {
      return hasPositions ? ::pread(handle, out + got, room - got, static_cast<off_t>(at + got))
                          : ::read(handle, out + got, room - got);
    });
    if (count < 0) Fail("read", errno);
    if (count == 0) break;
    got += static_cast<std::size_t>(count);
  }
  return got;
}

// --- writing -----------------------------------------------------------------------------------------------------

bool CFile::state_t::FitsWindow(std::size_t count) const noexcept {
  return buffer != nullptr && position >= start && position - start <= used &&
         count <= kBufferSize - static_cast<std::size_t>(position - start);
}

void CFile::state_t::CopyToWindow(const std::byte* bytes, std::size_t count) noexcept {
  const std::size_t begin = static_cast<std::size_t>(position - start);
  const std::size_t end = begin + count;
  std::memcpy(buffer.get() + begin, bytes, count);
  // The window's bytes between two dirty parts are the file's own: writing them again changes nothing.
  dirtyBegin = dirtyBegin == dirtyEnd ? begin : std::min(dirtyBegin, begin);
  dirtyEnd = std::max(dirtyEnd, end);
  used = std::max(used, end);
}

// An empty window with memory behind it. Nothing may be dirty.
void CFile::state_t::OpenWindow() {
  used = 0;
  if (buffer == nullptr) buffer = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
}

// Writes some of the bytes, and returns how many.
std::size_t CFile::state_t::WriteSystem(std::uint64_t at, const std::byte* bytes, std::size_t count) {
  const ssize_t written = Retry([&] {
    return hasPositions ? ::pwrite(handle, bytes, count, static_cast<off_t>(at)) : ::write(handle, bytes, count);
  });
  if (written < 0) Fail("write", errno);
  if (written == 0) Fail("write", EIO);
  return static_cast<std::size_t>(written);
}

void CFile::state_t::FlushWindow() {
  while (dirtyBegin < dirtyEnd) {
    dirtyBegin += WriteSystem(start + dirtyBegin, buffer.get() + dirtyBegin, dirtyEnd - dirtyBegin);
  }
  dirtyBegin = dirtyEnd = 0;
}

// --- CFile -------------------------------------------------------------------------------------------------------

CFile::CFile() = default;

CFile::CFile(const CString& path, unsigned flags) : state_(std::make_unique<state_t>(path, flags)) {}

CFile::~CFile() = default;

CFile::state_t& CFile::GetOpen(const char* operation) const {
  if (state_ != nullptr && state_->handle >= 0) return *state_;
  throw CFileException(CFile::GetFilePath(), (std::string(operation) + ": the file is not open").c_str(), 0);
}

bool CFile::Open(const CString& path, unsigned flags, std::unique_ptr<CFileException>* error) {
  try {
    CFile::Close();
    state_ = std::make_unique<state_t>(path, flags);
    return true;
  } catch (const CFileException& failure) {
    if (error != nullptr) *error = std::make_unique<CFileException>(failure);
    return false;
  }
}

bool CFile::IsOpen() const noexcept { return state_ != nullptr && state_->handle >= 0; }

const CString& CFile::GetFilePath() const noexcept {
  static const CString none;
  return state_ == nullptr ? none : state_->path;
}

unsigned CFile::Read(void* buffer, unsigned count) {
  state_t& file = GetOpen("read");
  if (!file.readable) file.Fail("read", EBADF);
  auto* const out = static_cast<std::byte*>(buffer);
  std::size_t got = file.CopyFromWindow(out, count);
  if (got < count) got += file.ReadBeyondWindow(file.position + got, out + got, count - got);
  file.position += got;
  return static_cast<unsigned>(got);
}

void CFile::Write(const void* buffer, unsigned count) {
  state_t& file = GetOpen("write");
  if (!file.writable) file.Fail("write", EBADF);
  if (count > kMaxPosition - file.position) file.Fail("write", EFBIG);
  if (count == 0) return;
  const auto* const bytes = static_cast<const std::byte*>(buffer);
  if (!file.FitsWindow(count)) {
    file.FlushWindow();
    file.OpenWindow();
    file.start = file.position;
  }
  if (count <= kBufferSize) {
    file.CopyToWindow(bytes, count);
  } else {
    for (std::size_t done = 0; done < count;) {
      done += file.WriteSystem(file.position + done, bytes + done, count - done);
    }
  }
  file.position += count;
}

std::uint64_t CFile::Seek(std::int64_t offset, seek_t from) {
  state_t& file = GetOpen("seek");
  if (!file.hasPositions) file.Fail("seek", ESPIPE);
  const std::uint64_t base = from == begin ? 0 : from == current ? file.position : CFile::GetLength();
  // Modulo 2^64, a position before the beginning is one far behind the end.
  const std::uint64_t target = base + static_cast<std::uint64_t>(offset);
  if (target > kMaxPosition) file.Fail("seek", EINVAL);
  return file.position = target;
}

std::uint64_t CFile::GetPosition() const { return GetOpen("position").position; }

std::uint64_t CFile::GetLength() const {
  const state_t& file = GetOpen("length");
  struct stat info {};
  if (::fstat(file.handle, &info) != 0) file.Fail("length", errno);
  const auto length = static_cast<std::uint64_t>(info.st_size);
  return file.dirtyBegin < file.dirtyEnd ? std::max(length, file.start + file.dirtyEnd) : length;
}

void CFile::SetLength(std::uint64_t length) {
  state_t& file = GetOpen("set length");
  if (!file.writable) file.Fail("set length", EBADF);
  if (length > kMaxPosition) file.Fail("set length", EFBIG);
  file.FlushWindow();
  if (Retry([&] { return ::ftruncate(file.handle, static_cast<off_t>(length)); }) != 0) {
    file.Fail("set length", errno);
  }
  file.used = static_cast<std::size_t>(std::min<std::uint64_t>(file.used, length - std::min(length, file.start)));
}

void CFile::Flush(bool toDisk) {
  state_t& file = GetOpen("flush");
  file.FlushWindow();
  if (toDisk && Retry([&] { return ::fsync(file.handle); }) != 0) file.Fail("flush to disk", errno);
}

void CFile::Close() {
  if (!CFile::IsOpen()) return;
  state_t& file = *state_;
  // Closed whatever happens: a handle is given back once, and what could not be written is dropped.
  const auto giveBack = [&] {
    file.buffer.reset();
    file.used = file.dirtyBegin = file.dirtyEnd = 0;
    return ::close(std::exchange(file.handle, -1));
  };
  try {
    file.FlushWindow();
  } catch (...) {
    giveBack();
    throw;
  }
  // An interrupted close has closed.
  if (giveBack() != 0 && errno != EINTR) file.Fail("close", errno);
}
