// One program at a time changes a file: for those that read it, change what they read, and replace it (replace_file.h).
//
//   const zorplatform::CFileLock lock(path);      // waits for others that do the same
//   settings.Load(path);
//   settings.WriteValue(u"Scan", u"RateMs", u"250");
//   settings.Save(path);                          // and nothing that another one saved meanwhile is lost
//
// An agreement: who does not lock is not held up, and readers need not, for they see the old file or the new one. A
// file that is missing or that this process may not read is not locked, nor is one on a file system without locks.
// A resource with one owner; threads of one program hold each other up as programs do.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

class ZORPLATFORM_API CFileLock {
 public:
  /// Waits for up to ten seconds, then throws CFileException: a lock is held for moments.
  explicit CFileLock(const CString& path);
  CFileLock(const CFileLock&) = delete;
  CFileLock& operator=(const CFileLock&) = delete;
  ~CFileLock();

 private:
  int handle_ = -1;  // -1: not locked
};

}  // namespace zorplatform
