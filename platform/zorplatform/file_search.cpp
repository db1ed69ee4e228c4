#include "platform/zorplatform/file_search.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/framework/file.h"
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

}  // namespace

CFileSearch::ICallback::~ICallback() = default;

bool CFileSearch::FindFile(const CString& mask, ICallback& callback) {
  const int folderLength = mask.ReverseFind(u'\\') + 1;
  const CString folder = mask.Left(folderLength);
  const CString pattern = mask.Mid(folderLength);

  std::vector<CString> names;
  std::error_code error, unknown;
  fs::directory_iterator entry(folder.IsEmpty() ? fs::path(".") : ToNativePath(folder), error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    CString name = FromNativePath(entry->path().filename());
    if (!IsName(name) || !Matches(name, pattern) || !entry->is_regular_file(unknown)) continue;
    names.push_back(std::move(name));
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

bool CreatePath(const CString& path) {
  std::error_code error;
  const fs::path native = ToNativePath(path);
  fs::create_directories(native, error);
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
