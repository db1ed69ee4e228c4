#include "platform/zorplatform/program_info.h"

#include <atomic>
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

constinit std::atomic<CVersionInfo> programVersion{CVersionInfo()};
static_assert(std::atomic<CVersionInfo>::is_always_lock_free);

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

CVersionInfo CVersionInfo::GetProgramVersion() noexcept { return programVersion.load(); }
void CVersionInfo::SetProgramVersion(CVersionInfo version) noexcept { programVersion.store(version); }

}  // namespace zorplatform
