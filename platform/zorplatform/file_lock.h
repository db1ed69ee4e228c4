// One process at a time reads a small file, changes it and writes it back, so that nobody's change gets lost.
//
//   const zorplatform::CFileLock lock(u"\\etc\\plant\\settings.ini");      // waits for the others
//   settings.Load(path);
//   settings.WriteValue(u"Scan", u"RateMs", u"250");
//   settings.Save(path);                                                // replaces the file: the lock is not in it
//
// The lock is that of the folder in which the file lies, or into which a link leads: files that are replaced whole have
// none of their own that lasts. It leaves nothing behind, and ends with the object or the process. It binds those who
// take it; others may write all the same. Where the file system has no such locks nothing is held.
// A resource with one owner, neither copied nor moved. Threads of one process wait for each other, too; one that asks
// for a second lock in the same folder waits for ever.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

class ZORPLATFORM_API CFileLock {
 public:
  /// Waits until nobody else holds it. The file need not be there. CFileException when its folder cannot be opened.
  explicit CFileLock(const CString& path);
  CFileLock(const CFileLock&) = delete;
  CFileLock& operator=(const CFileLock&) = delete;
  ~CFileLock();

 private:
  int folder_;
};

}  // namespace zorplatform
