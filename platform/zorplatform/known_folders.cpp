#include "platform/zorplatform/known_folders.h"

#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/framework/native_path.h"
#include "platform/zorplatform/user_dirs_internal.h"

namespace zorplatform {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFolders = 3;
constexpr const char* kRedirections[kFolders] = {"ZORUTIL_USER_DATA_DIR", "ZORUTIL_DOCUMENTS_DIR",
                                                 "ZORUTIL_MACHINE_DATA_DIR"};
constexpr char kDocuments[] = "XDG_DOCUMENTS_DIR";
constexpr std::streamsize kMostOfUserDirs = 64 * 1024;  // the file has some ten lines

struct redirections_t {
  std::mutex mutex;
  std::array<CString, kFolders> paths;
};

redirections_t& Redirections() {
  static redirections_t redirections;
  return redirections;
}

std::size_t IndexOf(known_folder_t folder) { return static_cast<std::size_t>(folder); }

// Empty for a path that no path text names.
CString AsFolder(const fs::path& path) {
  CString text = FromNativePath(path);
  if (ToNativePath(text) != path) return {};
  while (text.GetLength() > 1 && text[text.GetLength() - 1] == u'\\') text.Delete(text.GetLength() - 1);
  return text;
}

fs::path FromEnvironment(const char* variable) {
  const char* const value = ::secure_getenv(variable);
  return value == nullptr ? fs::path() : fs::path(value);
}

// The rules of these variables: a relative path counts as none.
fs::path AbsoluteFromEnvironment(const char* variable) {
  fs::path path = FromEnvironment(variable);
  return path.is_absolute() ? path : fs::path();
}

fs::path HomeFolder() {
  if (fs::path home = AbsoluteFromEnvironment("HOME"); !home.empty()) return home;
  std::vector<char> memory(16 * 1024);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::geteuid(), &entry, memory.data(), memory.size(), &found) != 0 || found == nullptr ||
      found->pw_dir == nullptr) {
    return {};
  }
  fs::path home = found->pw_dir;
  return home.is_absolute() ? home : fs::path();
}

// A path in the home folder; empty without one.
fs::path InHome(const char* name) {
  const fs::path home = HomeFolder();
  return home.empty() ? home : home / name;
}

std::string ReadUserDirs(const fs::path& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return {};
  std::string text(kMostOfUserDirs, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(text.data(), kMostOfUserDirs);
  text.resize(static_cast<std::size_t>(file.gcount()));
  return text;
}

// Takes the first candidate that is a folder of ours.
class CChoice {
 public:
  void Offer(const fs::path& path, std::string_view source) {
    if (!place_.path.IsEmpty() || path.empty()) return;
    place_.path = AsFolder(path);
    if (!place_.path.IsEmpty()) place_.source = source;
  }
  known_folder_place_t Take() { return std::move(place_); }

 private:
  known_folder_place_t place_;
};

void OfferUserData(CChoice& choice) {
  choice.Offer(AbsoluteFromEnvironment("XDG_DATA_HOME"), "XDG_DATA_HOME");
  choice.Offer(InHome(".local/share"), "the home folder");
}

void OfferDocuments(CChoice& choice) {
  choice.Offer(AbsoluteFromEnvironment(kDocuments), kDocuments);
  fs::path config = AbsoluteFromEnvironment("XDG_CONFIG_HOME");
  if (config.empty()) config = InHome(".config");
  if (!config.empty()) {
    const fs::path file = config / "user-dirs.dirs";
    choice.Offer(user_dirs::Find(ReadUserDirs(file), kDocuments, HomeFolder().native()), file.native());
  }
  choice.Offer(InHome("Documents"), "the home folder");
}

}  // namespace

known_folder_place_t FindKnownFolder(known_folder_t folder) {
  const std::size_t index = IndexOf(folder);
  {
    redirections_t& redirections = Redirections();
    const std::lock_guard guard(redirections.mutex);
    if (!redirections.paths[index].IsEmpty()) return {redirections.paths[index], "the program"};
  }
  CChoice choice;
  if (const fs::path asked = FromEnvironment(kRedirections[index]); !asked.empty()) {
    std::error_code error;
    choice.Offer(fs::absolute(asked, error), kRedirections[index]);
  }
  switch (folder) {
    case known_folder_t::userData: OfferUserData(choice); break;
    case known_folder_t::documents: OfferDocuments(choice); break;
    case known_folder_t::machineData: choice.Offer("/var/lib", "the system"); break;
  }
  return choice.Take();
}

void SetKnownFolder(known_folder_t folder, const CString& path) {
  CString text;
  if (!path.IsEmpty()) {
    std::error_code error;
    text = AsFolder(fs::absolute(ToNativePath(path), error));
  }
  redirections_t& redirections = Redirections();
  const std::lock_guard guard(redirections.mutex);
  redirections.paths[IndexOf(folder)].Swap(text);
}

}  // namespace zorplatform
