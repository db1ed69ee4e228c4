// A folder that is kept open so that names that were made, changed or removed in it reach the device.
#pragma once

#include <filesystem>
#include <system_error>

namespace zorplatform {

class CFolderHandle {
 public:
  CFolderHandle() = default;
  CFolderHandle(const CFolderHandle&) = delete;
  CFolderHandle& operator=(const CFolderHandle&) = delete;
  ~CFolderHandle();

  /// Once. 0, or the system's error. An empty path is the current folder. A folder that may be written but not read
  /// cannot be synchronised by us, which is no error.
  int Open(const std::filesystem::path& folder) noexcept;
  /// 0, or the system's error. Some file systems know no such thing, which is none.
  int Sync() noexcept;

 private:
  int handle_ = -1;
};

/// Makes a folder and those above it, and the device knows of them. The system's error, if there is one; then none is
/// left of those that the device does not know of.
std::error_code MakeFolders(const std::filesystem::path& folder);

}  // namespace zorplatform
