// What a program is called, and its version.
//
//   zorplatform::SetApplicationName(u"Plant Gateway");                    // at the beginning of main
//   zorplatform::CVersionInfo::SetProgramVersion({6, 14, 263, 0});
//
// Other systems keep these in the program's file, where its build puts them. Here the program says them, before anybody
// asks: they are where a product's name and version come from when its settings name none.
//
// Any number of threads.
#pragma once

#include <cstdint>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

/// The name of the running program's file, with its extension and without its folder: "Server.Tool.exe". Empty when the
/// system does not tell.
ZORPLATFORM_API CString GetExeName();

/// The name that the program gave itself; empty until it did.
ZORPLATFORM_API CString GetApplicationName();
ZORPLATFORM_API void SetApplicationName(const CString& name);

/// A version of four numbers. A value.
class ZORPLATFORM_API CVersionInfo {
 public:
  constexpr CVersionInfo() noexcept = default;
  /// The four numbers, from the most significant one on.
  constexpr CVersionInfo(std::uint16_t major, std::uint16_t minor, std::uint16_t build, std::uint16_t revision) noexcept
      : major_(major), minor_(minor), build_(build), revision_(revision) {}

  /// That of the running program; all numbers are 0 until it was set.
  static CVersionInfo GetProgramVersion() noexcept;
  static void SetProgramVersion(CVersionInfo version) noexcept;

  /// 0 to 65535, compared as numbers by whoever orders versions.
  /// @{
  constexpr std::uint16_t GetMajor() const noexcept { return major_; }
  constexpr std::uint16_t GetMinor() const noexcept { return minor_; }
  constexpr std::uint16_t GetBuild() const noexcept { return build_; }
  constexpr std::uint16_t GetRevision() const noexcept { return revision_; }
  /// @}
  constexpr bool operator==(const CVersionInfo&) const noexcept = default;

 private:
  std::uint16_t major_ = 0, minor_ = 0, build_ = 0, revision_ = 0;
};

}  // namespace zorplatform
