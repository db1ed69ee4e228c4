// A file as a source of bytes.
#pragma once

#include <string>

#include "examples/readings/csv_reader.h"
#include "platform/framework/file.h"

namespace readings {

class CFileSource : public CByteSource {
 public:
  /// std::runtime_error with path and cause when the file cannot be opened, and later when it cannot be read.
  explicit CFileSource(const std::string& path) : file_(CString(path), CFile::modeRead) {}
  std::size_t Read(char* buffer, std::size_t count) override {
    return file_.Read(buffer, static_cast<unsigned>(count));
  }

 private:
  CFile file_;
};

}  // namespace readings
