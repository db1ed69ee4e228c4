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

constexpr char kVariable[] = "ZORUTIL_APP_DIR";

// Null when the environment does not say.
const char* AskedDirectory() {
  const char* const asked = ::secure_getenv(kVariable);
  return asked != nullptr && *asked != '\0' ? asked : nullptr;
}

CString StandardDirectory() {
  std::error_code error;
  if (const char* const asked = AskedDirectory()) return AsDirectory(std::filesystem::absolute(asked, error));
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

std::string GetAppDirSource() {
  redirection_t& redirection = Redirection();
  {
    const std::lock_guard guard(redirection.mutex);
    if (!redirection.directory.IsEmpty()) return "the program";
  }
  return AskedDirectory() != nullptr ? kVariable : "the folder of the program's file";
}

void SetAppDir(const CString& directory) {
  CString text = directory.IsEmpty() ? CString() : AsDirectory(ToNativePath(directory));
  redirection_t& redirection = Redirection();
  const std::lock_guard guard(redirection.mutex);
  redirection.directory.Swap(text);
}

}  // namespace zorplatform
