// Where a library lies, and what the environment and the disk say about its files.
//
//   CString folder = zorplatform::GetModuleFolder(&SomethingInThisLibrary);         // "\opt\plant\lib"
//   for (const CString& name : zorplatform::FindFileNames(folder, u"libutil.", u".lang")) Offer(name);
//
// Path texts use "\" (see native_path.h). No state; any number of threads, as long as none changes the environment.
#pragma once

#include <string_view>
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

/// The names of the files (see FileIsThere) of a folder that begin and end with these texts, sorted by code units. None
/// when the folder cannot be read.
ZORPLATFORM_API std::vector<CString> FindFileNames(const CString& folder, std::u16string_view begin,
                                                   std::u16string_view end);
/// Whether a file lies there, or a link to one: a pipe, which would make its reader wait, is none.
ZORPLATFORM_API bool FileIsThere(const CString& path);

}  // namespace zorplatform
