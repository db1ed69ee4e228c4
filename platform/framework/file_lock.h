// One program at a time changes a small file: for those that read it, change what they read, and replace it
// (replace_file.h).
//
//   const zorplatform::CFileLock lock(path);      // waits for others that do the same
//   settings.Load(path);
//   settings.WriteValue(u"Scan", u"RateMs", u"250");
//   settings.Save(path);                          // and nothing that another one saved meanwhile is lost
//
// The lock is that of the folder in which the file lies, or into which a link leads: files that are replaced whole have
// none of their own that lasts, and the file need not be there yet. It leaves nothing behind, and ends with the object
// or the process. It binds those who take it: others may write all the same, and readers need not take it, for they see
// the old file or the new one. Where the file system has no such locks nothing is held.
// A resource with one owner; threads of one program hold each other up as programs do, so a thread takes one at a time
// in a folder.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

class ZORPLATFORM_API CFileLock {
 public:
  /// CFileException when the folder cannot be opened, and after ten seconds of waiting: a lock is held for moments.
  explicit CFileLock(const CString& path);
  CFileLock(const CFileLock&) = delete;
  CFileLock& operator=(const CFileLock&) = delete;
  ~CFileLock();

 private:
  int folder_;
};

}  // namespace zorplatform
