#include "platform/zorplatform/file_search.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/framework/file.h"
#include "platform/framework/folder_handle_internal.h"
#include "platform/framework/native_path.h"

namespace zorplatform {
namespace {

namespace fs = std::filesystem;

// Only the last "*" is ever tried again: what earlier ones took, a later one can take as well.
bool Matches(std::u16string_view name, std::u16string_view pattern) {
  std::size_t at = 0;
  std::size_t next = 0;
  std::size_t star = std::u16string_view::npos;
  std::size_t afterStar = 0;
  while (at < name.size()) {
    if (next < pattern.size() && pattern[next] == u'*') {
      star = next++;
      afterStar = at;
    } else if (next < pattern.size() && (pattern[next] == u'?' || pattern[next] == name[at])) {
      ++next;
      ++at;
    } else if (star != std::u16string_view::npos) {
      next = star + 1;
      at = ++afterStar;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(u'*', next) == std::u16string_view::npos;
}

// The system takes a "\" in a name, but a path text with it leads to a file in a folder.
bool IsName(const CString& name) { return name.Find(u'\\') < 0; }

bool IsFolder(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

struct close_t {
  void operator()(DIR* listing) const noexcept { ::closedir(listing); }
};

// Calls until no signal gets in between.
DIR* Open(const fs::path& folder) {
  DIR* listing = nullptr;
  do listing = ::opendir(folder.c_str());
  while (listing == nullptr && errno == EINTR);
  return listing;
}

// Or a link to one.
bool IsFile(const fs::path& folder, const dirent& entry) {
  if (entry.d_type == DT_REG) return true;
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return false;
  std::error_code error;
  return fs::is_regular_file(folder / entry.d_name, error);
}

}  // namespace

CFileSearch::ICallback::~ICallback() = default;

bool CFileSearch::FindFile(const CString& mask, ICallback& callback) {
  const int folderLength = mask.ReverseFind(u'\\') + 1;
  const CString folder = mask.Left(folderLength);
  const CString pattern = mask.Mid(folderLength);

  std::vector<CString> names;
  const fs::path native = folder.IsEmpty() ? fs::path(".") : ToNativePath(folder);
  // Not the standard library's iterator, which ends the program when there is no memory.
  const std::unique_ptr<DIR, close_t> listing(Open(native));
  if (listing == nullptr) {
    if (errno == ENOENT || errno == ENOTDIR) return false;
    throw CFileException(folder, "list", errno);
  }
  for (;;) {
    errno = 0;
    const dirent* const entry = ::readdir(listing.get());
    if (entry == nullptr && errno != 0) throw CFileException(folder, "list", errno);
    if (entry == nullptr) break;
    CString name = FromNativePath(entry->d_name);
    if (IsName(name) && Matches(name, pattern) && IsFile(native, *entry)) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end());
  for (const CString& name : names) {
    if (!callback.OnFile({name, folder + name})) break;
  }
  return !names.empty();
}

bool FileExists(const CString& path) {
  std::error_code error;
  return fs::is_regular_file(ToNativePath(path), error);
}

bool CheckFileExists(const CString& path) {
  std::error_code error;
  const fs::file_type type = fs::status(ToNativePath(path), error).type();
  if (type == fs::file_type::none || type == fs::file_type::unknown) throw CFileException(path, "open", error.value());
  return type == fs::file_type::regular;
}

void MakePath(const CString& path) {
  if (const std::error_code error = MakeFolders(ToNativePath(path))) {
    throw CFileException(path, "make the folder", error.value());
  }
}

bool CreatePath(const CString& path) {
  const fs::path native = ToNativePath(path);
  MakeFolders(native);
  return IsFolder(native);
}

bool RemoveFile(const CString& path) {
  const fs::path native = ToNativePath(path);
  std::error_code error;
  if (fs::is_directory(fs::symlink_status(native, error))) throw CFileException(path, "remove", EISDIR);
  const bool removed = fs::remove(native, error);
  if (error) throw CFileException(path, "remove", error.value());
  return removed;
}

}  // namespace zorplatform
