#include "platform/zorplatform/shared_library.h"

#include <dlfcn.h>
#include <link.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"
#include "platform/zorplatform/file_search.h"

namespace zorplatform {
namespace {

// The loader's words, which often begin with the path that stands in the exception anyway.
std::string CauseOf(const char* words, const std::string& path) {
  if (words == nullptr) return "cannot load the library";
  std::string_view cause = words;
  if (cause.starts_with(path + ": ")) cause.remove_prefix(path.size() + 2);
  return "cannot load the library: " + std::string(cause);
}

// The loader takes a library's word for where its parts lie, and dies of one that was copied half.
bool IsWhole(const CString& path) {
  CFile file(path, CFile::modeRead);
  ElfW(Ehdr) head;
  if (file.Read(&head, sizeof head) != sizeof head || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0 ||
      head.e_phentsize != sizeof(ElfW(Phdr))) {
    return true;  // of which the loader says what it is
  }
  const std::uint64_t length = file.GetLength();
  for (std::uint64_t i = 0; i < head.e_phnum; ++i) {
    ElfW(Phdr) part;
    if (head.e_phoff > length) return false;
    file.Seek(static_cast<std::int64_t>(head.e_phoff + i * sizeof part), CFile::begin);
    if (file.Read(&part, sizeof part) != sizeof part) return false;
    if (part.p_type == PT_LOAD && (part.p_offset > length || part.p_filesz > length - part.p_offset)) return false;
  }
  return true;
}

}  // namespace

CSharedLibrary::CSharedLibrary(const CString& path) : path_(path) {
  // A pipe would keep the loader waiting.
  if (!CheckFileExists(path)) {
    std::error_code error;
    if (std::filesystem::exists(ToNativePath(path), error))
      throw CFileException(path, "cannot load the library: this is no file", 0);
    throw CFileException(path, "cannot load the library", ENOENT);
  }
  if (!IsWhole(path)) throw CFileException(path, "cannot load the library: the file is cut off", 0);
  // A path without folder would be looked for where the system keeps its libraries.
  const std::string file = std::filesystem::absolute(ToNativePath(path)).string();
  handle_ = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) throw CFileException(path, CauseOf(::dlerror(), file).c_str(), 0);
}

CSharedLibrary::CSharedLibrary(CSharedLibrary&& other) noexcept
    : path_(std::exchange(other.path_, CString())), handle_(std::exchange(other.handle_, nullptr)) {}

CSharedLibrary& CSharedLibrary::operator=(CSharedLibrary&& other) noexcept {
  std::swap(path_, other.path_);
  std::swap(handle_, other.handle_);
  return *this;
}

CSharedLibrary::~CSharedLibrary() {
  if (handle_ != nullptr) ::dlclose(handle_);
}

void* CSharedLibrary::FindSymbol(const char* name) const noexcept {
  if (handle_ == nullptr) return nullptr;
  void* const found = ::dlsym(handle_, name);
  ::link_map* own = nullptr;
  ::link_map* holder = nullptr;
  ::Dl_info info;
  // The loader goes on to the libraries that this one needs.
  const bool isOwn = found != nullptr && ::dlinfo(handle_, RTLD_DI_LINKMAP, &own) == 0 &&
                     ::dladdr1(found, &info, reinterpret_cast<void**>(&holder), RTLD_DL_LINKMAP) != 0 && own == holder;
  return isOwn ? found : nullptr;
}

}  // namespace zorplatform
