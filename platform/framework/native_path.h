// The door between the family's path texts and the system's paths. It is passed at the moment a file is touched;
// everything else knows path texts only.
//
//   std::filesystem::exists(zorplatform::ToNativePath(u"\\var\\lib\\plant"));      // looks for /var/lib/plant
//   CString home = zorplatform::FromNativePath("/home/operator");                  // "\home\operator"
//
// No state; any number of threads.
#pragma once

#include <filesystem>
#include <string_view>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

/// A path text separates by "\" on every platform; "/" is taken too. Unpaired surrogates become U+FFFD. Nothing is
/// resolved or tidied: ".", ".." and doubled separators stay.
ZORPLATFORM_API std::filesystem::path ToNativePath(std::u16string_view pathText);

/// The path text of a path of the system. Whatever ToNativePath gives comes back as the same path; a name of the
/// system's that is not UTF-8, or holds a "\", has no path text and comes back as another one.
ZORPLATFORM_API CString FromNativePath(const std::filesystem::path& path);

}  // namespace zorplatform
