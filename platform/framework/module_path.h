// Where a library lies, and where the environment says that its files lie.
//
//   CString folder = zorplatform::GetModuleFolder(&SomethingInThisLibrary);         // "\opt\plant\lib"
//
// Path texts use "\" (see native_path.h). No state; any number of threads, as long as none changes the environment.
#pragma once

#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

/// The folder, without a separator at its end, of the library whose code or data lies at the address; of the program,
/// for what is linked into it statically. Empty when the address belongs to neither.
ZORPLATFORM_API CString GetModuleFolder(const void* addressInside);

/// The folders that an environment variable lists, separated as PATH is, empty ones left out. None for a program that
/// runs with more rights than its user.
ZORPLATFORM_API std::vector<CString> GetEnvironmentFolders(const char* variable);

}  // namespace zorplatform
