// For the tests and benchmarks of definitions: files, and definitions in few words.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/framework/cstring.h"
#include "platform/framework/file.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/file_search.h"
#include "util/properties/definition_writer.h"
#include "util/properties/property_definition.h"

namespace definition_testing {

using zorutil::properties::property_condition_t;
using zorutil::properties::property_def_t;
using zorutil::properties::property_type_t;

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
