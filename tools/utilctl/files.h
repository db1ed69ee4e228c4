// Files as the user names them, by the paths of the system.
#pragma once

#include <string>
#include <string_view>

#include "platform/framework/cstring.h"

namespace utilctl {

/// The whole file; "-" is standard input. CFileException when it cannot be read, or is longer than 4 GiB.
std::string ReadWholeFile(const std::string& path);
/// Puts the content in the file's place, whole or not at all. CFileException when it cannot be written.
void ReplaceWholeFile(const std::string& path, std::string_view content);
/// False for a folder, a pipe, a device; a link counts as what it leads to.
bool IsRegularOrMissing(const std::string& path);
/// Makes the folder if it is not there; CFileException when it cannot be made.
void MakeFolder(const std::string& path);

/// The path text that the library takes; that of a folder ends in "\".
CString FileText(const std::string& path);
CString FolderText(const std::string& path);
/// And back.
std::string NativePath(const CString& pathText);
/// The last part of a path, without folder and extension.
std::string StemOf(const std::string& path);
std::string JoinPath(const std::string& folder, const std::string& name);

}  // namespace utilctl
