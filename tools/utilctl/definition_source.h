// A definition source: the properties of one namespace, as a person writes them in JSON. README.md shows the form.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/framework/cstring.h"
#include "tools/utilctl/json_places.h"
#include "tools/utilctl/report.h"
#include "util/json/value.h"
#include "util/properties/definition_writer.h"
#include "util/properties/property_definition.h"
#include "util/values/variant_compare.h"

namespace utilctl {

using definition_ptr_t = std::shared_ptr<zorutil::properties::IPropertyDefinition>;

/// The texts of a namespace: by the tag of the language, then by number.
using text_table_t = std::map<std::string, std::map<unsigned, CString>>;

/// A condition before the property that it watches is known.
struct condition_source_t {
  json_path_t path;
  bool isEnable = false;
  CString watchedName;  ///< empty: watchedId counts
  json_path_t namePath;
  int watchedId = 0;
  CVariantCompare::comparison_t operation = CVariantCompare::EQUAL;
  std::shared_ptr<zorutil::json::IValue> value;
  json_path_t valuePath;
};

struct property_source_t {
  json_path_t path;
  std::map<std::u16string, std::uint32_t> members;  ///< where each stands
  std::shared_ptr<zorutil::properties::property_def_t> definition;
  std::vector<condition_source_t> conditions;

  /// The place of a member, or else of the property.
  json_path_t PathOf(std::u16string_view member) const;
};

/// Gives the definition that a name stands for: "property" of the same namespace, or "namespace.property".
using find_by_name_t = std::function<definition_ptr_t(const CString& name)>;

class CDefinitionSource {
 public:
  /// What is wrong is in GetProblems then, all of it. CFileException when the file cannot be read.
  explicit CDefinitionSource(const std::string& path);

  /// Makes the conditions, once the properties of all sources are known.
  void ResolveConditions(const find_by_name_t& findOther);
  void Remark(json_path_t path, std::string cause, bool isName = false) {
    remarks_.push_back({std::move(path), std::move(cause), isName});
  }
  /// A remark on the member of the outermost object.
  void RemarkMember(std::u16string_view member, std::string cause);
  std::vector<problem_t> GetProblems() const;

  const std::string& GetPath() const noexcept { return path_; }
  /// The name of the definition file, without folder and extension.
  const std::string& GetStem() const noexcept { return stem_; }
  const zorutil::properties::definition_file_t& GetContent() const noexcept { return content_; }
  const std::vector<property_source_t>& GetProperties() const noexcept { return properties_; }
  const text_table_t& GetTexts() const noexcept { return texts_; }
  /// By its name within the namespace, letter case aside; null when there is none.
  definition_ptr_t Find(const CString& name) const;

 private:
  class CReader;

  std::string path_;
  std::string stem_;
  std::string text_;
  std::shared_ptr<zorutil::json::IValue> document_;
  std::vector<problem_t> textProblems_;
  std::vector<json_remark_t> remarks_;
  zorutil::properties::definition_file_t content_;
  std::vector<property_source_t> properties_;
  std::map<std::u16string, std::size_t> byName_;
  text_table_t texts_;
};

/// Letter case away, for look-ups.
std::u16string FoldedName(const CString& name);

}  // namespace utilctl
