// For the tests and benchmarks of definitions: a directory of their own, and definitions in few words.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/framework/cstring.h"
#include "platform/framework/file.h"
#include "platform/framework/native_path.h"
#include "platform/zorplatform/file_search.h"
#include "util/properties/definition_writer.h"
#include "util/properties/property_definition.h"

namespace definition_testing {

using zorutil::properties::property_condition_t;
using zorutil::properties::property_def_t;
using zorutil::properties::property_type_t;

/// An empty folder, removed in the end.
class CTempFolder {
 public:
  explicit CTempFolder(const std::string& name)
      : path_(std::filesystem::temp_directory_path() /
              (name + "." + std::to_string(reinterpret_cast<std::uintptr_t>(this)))) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  CTempFolder(const CTempFolder&) = delete;
  CTempFolder& operator=(const CTempFolder&) = delete;
  ~CTempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  /// Ends in "\".
  CString GetPath() const { return zorplatform::FromNativePath(path_) + u'\\'; }

 private:
  std::filesystem::path path_;
};

inline void WriteText(const CString& path, std::string_view bytes) {
  CFile file(path, CFile::modeCreate | CFile::modeWrite);
  file.Write(bytes.data(), static_cast<unsigned>(bytes.size()));
}

inline std::string ReadText(const CString& path) {
  CFile file(path, CFile::modeRead);
  std::string bytes(static_cast<std::size_t>(file.GetLength()), '\0');
  bytes.resize(file.Read(bytes.data(), static_cast<unsigned>(bytes.size())));
  return bytes;
}

inline std::shared_ptr<property_def_t> Define(int id, const char16_t* name, property_type_t type, CVariant min = {},
                                              CVariant max = {}) {
  auto definition = std::make_shared<property_def_t>(id, name, type);
  definition->SetLimits(std::move(min), std::move(max));
  return definition;
}

inline std::shared_ptr<property_condition_t> When(int watchedId, CVariantCompare::comparison_t operation,
                                                  CVariant value) {
  return std::make_shared<property_condition_t>(watchedId, operation, std::move(value));
}

}  // namespace definition_testing
