// For tests and benchmarks: a folder of their own. No two are the same, those of processes that run at once included.
//
//   CTempFolder folder;
//   folder.Put("a.txt", "old");
//   CFile file(folder.PathOf("a.txt"), CFile::modeRead);
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/framework/cstring.h"
#include "platform/framework/native_path.h"

inline std::string FileText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Empty at first; removed in the end with all that is in it. A name may lead into a subfolder.
class CTempFolder {
 public:
  CTempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "zorutil test XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the files of a test");
    path_ = name;
  }
  CTempFolder(const CTempFolder&) = delete;
  CTempFolder& operator=(const CTempFolder&) = delete;
  ~CTempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& Native() const { return path_; }
  std::filesystem::path Native(const std::string& name) const { return path_ / name; }
  /// In the family's form; that of the folder itself ends in "\".
  CString GetPath() const { return zorplatform::FromNativePath(path_) + u'\\'; }
  CString PathOf(const std::string& name) const { return zorplatform::FromNativePath(path_ / name); }

  void Put(const std::string& name, std::string_view bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
  }
  std::string Get(const std::string& name) const { return FileText(path_ / name); }

 private:
  std::filesystem::path path_;
};
