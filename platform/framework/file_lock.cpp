#include "platform/framework/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"

namespace zorplatform {
namespace {

enum class outcome_t { locked, heldByAnother, replaced, impossible };

outcome_t TryToLock(int handle, const std::filesystem::path& path) {
  if (::flock(handle, LOCK_EX | LOCK_NB) != 0) {
    return errno == EWOULDBLOCK || errno == EINTR ? outcome_t::heldByAnother : outcome_t::impossible;
  }
  // The one before may have put another file in its place.
  struct stat locked {};
  struct stat there {};
  const bool isSame = ::fstat(handle, &locked) == 0 && ::stat(path.c_str(), &there) == 0 &&
                      locked.st_dev == there.st_dev && locked.st_ino == there.st_ino;
  return isSame ? outcome_t::locked : outcome_t::replaced;
}

}  // namespace

CFileLock::CFileLock(const CString& path) {
  using std::chrono::steady_clock;
  constexpr std::chrono::seconds kPatience{10};
  constexpr std::chrono::milliseconds kPause{1};
  const std::filesystem::path native = ToNativePath(path);
  for (const auto deadline = steady_clock::now() + kPatience; steady_clock::now() < deadline;) {
    handle_ = ::open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);  // which does not wait for a pipe's writer
    if (handle_ < 0) return;
    const outcome_t outcome = TryToLock(handle_, native);
    if (outcome == outcome_t::locked) return;
    ::close(handle_);
    handle_ = -1;
    if (outcome == outcome_t::impossible) return;
    if (outcome == outcome_t::heldByAnother) std::this_thread::sleep_for(kPause);
  }
  throw CFileException(path, "lock: another program is changing it", 0);
}

CFileLock::~CFileLock() {
  if (handle_ >= 0) ::close(handle_);
}

}  // namespace zorplatform
