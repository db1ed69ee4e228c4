#include "platform/zorplatform/app_dir.h"

#include <stdlib.h>

#include <filesystem>
#include <mutex>
#include <system_error>

#include "platform/framework/native_path.h"

namespace zorplatform {
namespace {

struct redirection_t {
  std::mutex mutex;
  CString directory;
};

redirection_t& Redirection() {
  static redirection_t redirection;
  return redirection;
}

CString AsDirectory(const std::filesystem::path& path) {
  CString text = FromNativePath(path);
  if (text.IsEmpty() || text[text.GetLength() - 1] != u'\\') text += u'\\';
  return text;
}

CString StandardDirectory() {
  std::error_code error;
  if (const char* const asked = ::secure_getenv("ZORUTIL_APP_DIR"); asked != nullptr && *asked != '\0') {
    return AsDirectory(std::filesystem::absolute(asked, error));
  }
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return AsDirectory(error ? std::filesystem::current_path(error) : program.parent_path());
}

}  // namespace

CString GetAppDir() {
  redirection_t& redirection = Redirection();
  {
    const std::lock_guard guard(redirection.mutex);
    if (!redirection.directory.IsEmpty()) return redirection.directory;
  }
  return StandardDirectory();
}

void SetAppDir(const CString& directory) {
  CString text = directory.IsEmpty() ? CString() : AsDirectory(ToNativePath(directory));
  redirection_t& redirection = Redirection();
  const std::lock_guard guard(redirection.mutex);
  redirection.directory.Swap(text);
}

}  // namespace zorplatform
