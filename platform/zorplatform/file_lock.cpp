#include "platform/zorplatform/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"

namespace zorplatform {

CFileLock::CFileLock(const CString& path) {
  const std::filesystem::path named = ToNativePath(path.View());
  std::error_code error;
  std::filesystem::path file = std::filesystem::weakly_canonical(named, error);
  if (error) file = named;
  const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
  do {
    folder_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  } while (folder_ < 0 && errno == EINTR);
  if (folder_ < 0) throw CFileException(path, "open", errno);
  while (::flock(folder_, LOCK_EX) != 0 && errno == EINTR) {
  }
}

CFileLock::~CFileLock() { ::close(folder_); }

}  // namespace zorplatform
