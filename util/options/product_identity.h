// Who the running product is, and where it therefore keeps its settings and data.
//
//   zorutil::SetProductName(u"Plant Gateway");
//   zorutil::SetAppVersion(6);
//   CIniFile settings;
//   settings.Load(zorutil::GetAdminSettingsFile());        // "\var\lib\Velnora\Plant Gateway\V6\settings.ini"
//
// What the program does not set is read from the product file, "product.ini" in the application directory:
//
//   [Product]                     [Paths]
//   Name=Plant Gateway            AppData=\srv\plant        ; or INSTALLDIR: below the application directory
//   Company=Velnora
//   Version=6
//
// The folders of the system come from platform/zorplatform/known_folders.h, the application directory from app_dir.h;
// both can be redirected, before anything is asked here. A product file that cannot be read counts as none.
//
// Names become folders. In the whole path that they are part of, each of / , ? < > " | * becomes "_"; a "\" in a name
// separates folders. A folder whose name would be nothing but dots and blanks gets "_" for each dot, so that no name
// leads out of its base. An AppData that begins with "/" is written as the system writes paths, and is turned round
// first.
//
// Every text is worked out once, kept, and given out as a pointer, which stays valid, and its text what it was, for the
// life of the process. A directory ends in "\". Making one may fail, and nothing is said: who opens a file in it is
// told.
//
// A process sets its identity as it starts, before other threads ask. Asking takes no lock, and any number of threads
// may do so at once.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorutil {

// --- identity --------------------------------------------------------------------------------------------------------

/// The first 259 characters count. A name that differs in more than letter case from the one that is held is taken, and
/// GetAppProfileDir, GetSharedAppProfileDir and GetUserProfileDir are worked out anew; the other paths stay.
ZORUTIL_API void SetProductName(const CString& name);
/// What was set; else Name of the product file; else the application's name; else the name of the program's file
/// without its last extension (see platform/zorplatform/program_info.h).
ZORUTIL_API const char16_t* GetProductName();

/// A name that differs is taken, letter case included; all paths stay.
ZORUTIL_API void SetCompanyName(const CString& name);
/// What was set; else Company of the product file; else "Velnora". It is then the name that is held.
ZORUTIL_API const char16_t* GetCompanyName();

/// The text is "V" and the number, taken as an unsigned one. When it differs, the paths that SetProductName names are
/// worked out anew.
ZORUTIL_API void SetAppVersion(int version);
/// What was set; else Version of the product file, when that is not 0; else the first number of the program's version.
ZORUTIL_API const char16_t* GetAppVersion();

// --- directories -----------------------------------------------------------------------------------------------------

/// For the user who runs this program: the folder for user data, company, product, version. It is made. The company is
/// the one that is held, which is nobody (an empty name between two "\") until one was set or asked for. Without a
/// folder for user data this is the application directory itself.
ZORUTIL_API const char16_t* GetAppProfileDir();
/// For all users of the machine: base, company, product, version. The base is AppData of the product file, else the
/// folder for data of the machine, else the application directory. It is made only if `create` says so.
ZORUTIL_API const char16_t* GetSharedAppProfileDir(bool create);
/// As GetAppProfileDir, in the user's folder for documents.
ZORUTIL_API const char16_t* GetUserProfileDir();
/// For all products of the company: the base of GetSharedAppProfileDir, company, "common". It is made.
ZORUTIL_API const char16_t* GetSharedProfileDir();

/// This is GetSharedAppProfileDir(true).
/// @{
ZORUTIL_API const char16_t* GetProjectSaveDataDir();
ZORUTIL_API const char16_t* GetUserDataDir();
ZORUTIL_API const char16_t* GetBrimvaleDataDir();
/// @}
/// Empty: a project is loaded from where its user says.
ZORUTIL_API const char16_t* GetProjectLoadDataDir();
/// "Project Backups" in GetSharedAppProfileDir(true). It is made.
ZORUTIL_API const char16_t* GetProjectBackupDataDir();

// --- files -----------------------------------------------------------------------------------------------------------
// All but the product file lie in GetSharedAppProfileDir(true), as it was when the file was first asked for.

ZORUTIL_API const char16_t* GetProductIniFile();     ///< "product.ini" in the application directory
ZORUTIL_API const char16_t* GetAdminSettingsFile();  ///< "settings.ini"
ZORUTIL_API const char16_t* GetRuntimeIniFile();     ///< "runtime.ini"
ZORUTIL_API const char16_t* GetUAEndpointsFile();    ///< "ua_endpoints.json"
ZORUTIL_API const char16_t* GetUAGatewayFile();      ///< "ua_gateway.json"

}  // namespace zorutil
