#include "platform/framework/module_path.h"

#include <dlfcn.h>
#include <link.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/framework/native_path.h"

namespace zorplatform {

CString GetModuleFolder(const void* addressInside) {
  Dl_info info{};
  link_map* module = nullptr;
  if (dladdr1(addressInside, &info, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP) == 0) return {};
  std::error_code error;
  std::filesystem::path path;
  // The program has no name in this list, and the one that it was started by may be relative to a former folder.
  if (module == nullptr || module->l_name == nullptr || *module->l_name == '\0') {
    path = std::filesystem::read_symlink("/proc/self/exe", error);
  } else {
    path = std::filesystem::absolute(module->l_name, error);
  }
  if (error) return {};
  return FromNativePath(path.lexically_normal().parent_path());
}

std::vector<CString> GetEnvironmentFolders(const char* variable) {
  std::vector<CString> folders;
  const char* const value = secure_getenv(variable);
  std::string_view rest = value == nullptr ? std::string_view() : std::string_view(value);
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    if (end != 0) folders.push_back(FromNativePath(std::filesystem::path(rest.substr(0, end))));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return folders;
}

}  // namespace zorplatform
