// Any bytes are a file of user folders: what is found is an absolute path without NUL, and a line that names it is read
// back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/zorplatform/user_dirs_internal.h"

using zorplatform::user_dirs::Find;

namespace {

constexpr char kName[] = "XDG_DOCUMENTS_DIR";

void Require(bool claim) {
  if (!claim) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const char* const home : {"/home/u", ""}) {
    const std::string path = Find(text, kName, home);
    if (path.empty()) continue;
    Require(path.front() == '/' && path.find_first_of(std::string("\0\n", 2)) == std::string::npos);
    std::string line = std::string(kName) + "=\"";
    for (const char each : path) (each == '"' || each == '\\' ? line += '\\' : line) += each;
    Require(Find(line + '"', kName, "") == path);
  }
  return 0;
}
