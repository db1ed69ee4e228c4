// Writing a file so that nobody ever sees half of it: the new content is written beside the old file and takes its
// place whole.
//
//   zorplatform::CReplaceFile file(u"\\etc\\plant\\settings.ini");
//   file.GetFile().Write(text.data(), static_cast<unsigned>(text.size()));
//   file.Commit();                                   // flushed to the device, then renamed over the old file
//
// Without Commit the old file stays as it was and the new one is removed. A file that is replaced keeps its
// permissions, and its owner and group where this process may give them (access lists and other attributes are the new
// file's own); a symbolic link keeps pointing at the file it points at, which is replaced, or made if it is missing.
// Until Commit nobody else may read the new content of a file that is to be replaced. Two writers at once: the last one
// to commit wins, and neither sees the other's bytes. After a crash a file `.<name>.<16 hexadecimal digits>.new` may
// be left beside the old one. Errors are CFileException, which names the path the caller gave.
// A resource with one owner; one thread at a time.
#pragma once

#include <memory>

#include "platform/export.h"
#include "platform/framework/cstring.h"

class CFile;

namespace zorplatform {

class ZORPLATFORM_API CReplaceFile {
 public:
  /// Opens the new file, in the folder of `path`, which must exist. What cannot be replaced is refused: a folder, a
  /// device, a file that this process may not write.
  explicit CReplaceFile(const CString& path);
  CReplaceFile(const CReplaceFile&) = delete;
  CReplaceFile& operator=(const CReplaceFile&) = delete;
  ~CReplaceFile();

  /// Open for writing until Commit; its path is the one that the caller gave. Who closes it gives up: there is nothing
  /// left to commit.
  CFile& GetFile() noexcept;
  /// Puts the new file in the old one's place, once. After an exception the old file stands, and the new one is gone.
  /// One failure comes later, "sync folder": the new file stands, but the device may not know it yet.
  void Commit();

 private:
  struct ZORUTIL_HIDDEN state_t;
  std::unique_ptr<state_t> state_;
};

}  // namespace zorplatform
