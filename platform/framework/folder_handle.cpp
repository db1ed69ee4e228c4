#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/framework/folder_handle_internal.h"

namespace zorplatform {

namespace fs = std::filesystem;

namespace {

// Calls until no signal gets in between.
template <class Call>
int Retry(Call call) {
  int result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace

CFolderHandle::~CFolderHandle() {
  if (handle_ >= 0) ::close(handle_);
}

int CFolderHandle::Open(const std::filesystem::path& folder) noexcept {
  const char* const path = folder.empty() ? "." : folder.c_str();
  handle_ = Retry([&] { return ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  return handle_ >= 0 || errno == EACCES ? 0 : errno;
}

int CFolderHandle::Sync() noexcept {
  if (handle_ < 0) return 0;
  return Retry([&] { return ::fsync(handle_); }) == 0 || errno == EINVAL ? 0 : errno;
}

std::error_code MakeFolders(const fs::path& folder) {
  std::error_code error;
  if (folder.empty() || fs::is_directory(folder, error)) return {};
  const fs::path above = folder.parent_path();
  if (above == folder) return error;  // not even the root can be looked at
  if (const std::error_code failed = MakeFolders(above)) return failed;
  if (!folder.has_filename()) return {};  // "a/" is "a"
  error.clear();
  if (!fs::create_directory(folder, error)) return error;
  CFolderHandle handle;
  int unsynced = handle.Open(above);
  if (unsynced == 0) unsynced = handle.Sync();
  if (unsynced == 0) return {};
  fs::remove(folder, error);
  return {unsynced, std::generic_category()};
}

}  // namespace zorplatform
