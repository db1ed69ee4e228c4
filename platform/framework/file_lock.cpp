#include "platform/framework/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"

namespace zorplatform {

CFileLock::CFileLock(const CString& path) {
  using std::chrono::steady_clock;
  constexpr std::chrono::seconds kPatience{10};
  constexpr std::chrono::milliseconds kPause{1};
  const std::filesystem::path named = ToNativePath(path);
  std::error_code error;
  const std::filesystem::path file = std::filesystem::weakly_canonical(named, error);
  if (error) throw CFileException(path, "open", error.value());  // the folder that others lock is not known
  const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
  do folder_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  while (folder_ < 0 && errno == EINTR);
  if (folder_ < 0) throw CFileException(path, "open", errno);
  const auto deadline = steady_clock::now() + kPatience;
  while (::flock(folder_, LOCK_EX | LOCK_NB) != 0 && (errno == EWOULDBLOCK || errno == EINTR)) {
    if (steady_clock::now() >= deadline) {
      ::close(folder_);
      throw CFileException(path, "lock: another program is changing it", 0);
    }
    std::this_thread::sleep_for(kPause);
  }
}

CFileLock::~CFileLock() { ::close(folder_); }

}  // namespace zorplatform
