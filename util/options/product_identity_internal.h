// How the identity of the product is worked out, without keeping anything or making folders.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorutil::identity {

/// A text that was worked out or found, and where it came from, for people. What is kept already is given as it is.
struct found_t {
  CString text;
  std::string source;
};

// The product file is read for each of these that has to.
found_t FindProductName();
found_t FindCompanyName();
found_t FindAppVersion();
/// Whether a company was set or asked for.
bool IsCompanyHeld();

found_t FindProductIniFile();
found_t FindAppProfileDir();
found_t FindSharedAppProfileDir();
found_t FindUserProfileDir();
found_t FindSharedProfileDir();

/// The files in the shared application profile directory.
enum class file_t { adminSettings, runtimeIni, uaEndpoints, uaGateway };
found_t FindFile(file_t file);

/// "Project Backups" below the shared application profile directory.
CString BackupDir(const CString& sharedAppProfileDir);

/// Everything that was set and worked out, for tests: the next call works out anew.
ZORUTIL_TEST_API void Forget();

}  // namespace zorutil::identity
