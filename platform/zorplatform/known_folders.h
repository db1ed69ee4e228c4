// The folders of the system under which programs keep their data.
//
//   CString data = zorplatform::GetKnownFolder(zorplatform::known_folder_t::machineData);        // "\var\lib"
//
// Each is the first of these that names an absolute path:
//
//   userData                          documents                            machineData
//   what SetKnownFolder was given     what SetKnownFolder was given        what SetKnownFolder was given
//   ZORUTIL_USER_DATA_DIR             ZORUTIL_DOCUMENTS_DIR                ZORUTIL_MACHINE_DATA_DIR
//   XDG_DATA_HOME                     XDG_DOCUMENTS_DIR                    \var\lib
//   .local\share in the home folder   the line of that name in user-dirs.dirs
//                                     Documents in the home folder
//
// The file user-dirs.dirs lies in XDG_CONFIG_HOME, or in .config of the home folder. That is HOME, or what the system's
// list of users says. A program that runs with more rights than its user does not look at the environment. A folder
// whose name no path text holds (see framework/native_path.h) counts as none.
//
// Nothing is made on the disk. What others derive from a folder and keep does not follow a later redirection, so a
// program redirects first of all. Any number of threads, as long as none changes the environment.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

/// What is kept there, and for whom.
enum class known_folder_t {
  userData,     ///< of programs, for the user who runs this one
  documents,    ///< of the user
  machineData,  ///< of programs, for all users of the machine
};

/// A folder, and how it was found.
struct known_folder_place_t {
  CString path;        ///< without "\" at its end; empty when there is no such folder
  std::string source;  ///< which row of the table above it came from, for people: "XDG_DATA_HOME"
};

/// As the table above says, looked up anew at each call.
ZORPLATFORM_API known_folder_place_t FindKnownFolder(known_folder_t folder);
/// The folder alone; empty when there is no such folder.
inline CString GetKnownFolder(known_folder_t folder) { return FindKnownFolder(folder).path; }

/// From now on the folder of the whole process. A relative path is taken from the current folder. An empty one takes
/// the redirection back.
ZORPLATFORM_API void SetKnownFolder(known_folder_t folder, const CString& path);

}  // namespace zorplatform
