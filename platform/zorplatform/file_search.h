// Which files are there, and making and removing them by name.
//
//   class CList : public zorplatform::CFileSearch::ICallback {
//     bool OnFile(const zorplatform::found_file_t& file) override { return Offer(file.name); }
//   };
//   CList list;
//   zorplatform::CFileSearch::FindFile(folder + u"*.prop", list);
//
// Path texts use "\" (framework/native_path.h). No state; any number of threads.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

/// A file that was found.
struct found_file_t {
  CString name;  ///< without the folder
  CString path;  ///< the folder as it was asked for, and the name
};

/// Which files of a folder are there.
class ZORPLATFORM_API CFileSearch {
 public:
  /// Hears of each file. It outlives the search.
  class ZORPLATFORM_API ICallback {
   public:
    virtual ~ICallback();
    /// False ends the search. What it throws passes through the search.
    virtual bool OnFile(const found_file_t& file) = 0;
  };

  /// Calls for each file, in the order of their names (by code units), so that one folder always gives one order. What
  /// stands behind the last "\" of `mask` is the pattern: "*" is any run of units, "?" one unit, letter case counts.
  /// Folders, pipes and devices are left out, and files with a "\" in their name, which no path text names. False when
  /// there is no such file, or no such folder. CFileException, and no call, when the folder cannot be read to its end.
  static bool FindFile(const CString& mask, ICallback& callback);
};

/// Whether a file lies there, or a link to one: a folder is none, nor is a pipe, which would make its reader wait.
ZORPLATFORM_API bool FileExists(const CString& path);
/// The same for those to whom a file that cannot be looked at is no missing one: CFileException then.
ZORPLATFORM_API bool CheckFileExists(const CString& path);
/// Makes a folder and those above it, and the device knows of them. CFileException, and none is left of those that it
/// does not know of.
ZORPLATFORM_API void MakePath(const CString& path);
/// The same without an exception. True when it is there in the end.
ZORPLATFORM_API bool CreatePath(const CString& path);
/// False when there was no file. CFileException when it cannot be removed; a folder is not.
ZORPLATFORM_API bool RemoveFile(const CString& path);

}  // namespace zorplatform
