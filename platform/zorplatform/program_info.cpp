#include "platform/zorplatform/program_info.h"

#include <atomic>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <system_error>

#include "platform/framework/native_path.h"

namespace zorplatform {
namespace {

struct application_t {
  std::mutex mutex;
  CString name;
};

application_t& Application() {
  static application_t application;
  return application;
}

constinit std::atomic<std::uint64_t> programVersion{0};  // the four numbers
static_assert(sizeof(CVersionInfo) == sizeof programVersion);

}  // namespace

CString GetExeName() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return {};
  const CString name = FromNativePath(program.filename());
  // The system's mark of a program whose file was replaced while it runs.
  constexpr std::u16string_view kDeleted = u" (deleted)";
  const bool isMarked = name.View().ends_with(kDeleted) && !std::filesystem::exists(program, error);
  return isMarked ? name.Left(name.GetLength() - static_cast<int>(kDeleted.size())) : name;
}

CString GetApplicationName() {
  application_t& application = Application();
  const std::lock_guard guard(application.mutex);
  return application.name;
}

void SetApplicationName(const CString& name) {
  application_t& application = Application();
  const std::lock_guard guard(application.mutex);
  application.name = name;
}

CVersionInfo CVersionInfo::GetProgramVersion() noexcept {
  return std::bit_cast<CVersionInfo>(programVersion.load(std::memory_order_relaxed));
}
void CVersionInfo::SetProgramVersion(CVersionInfo version) noexcept {
  programVersion.store(std::bit_cast<std::uint64_t>(version), std::memory_order_relaxed);
}

}  // namespace zorplatform
