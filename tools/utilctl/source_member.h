// Reading the members of an object of a definition source: each is asked for once, and what nobody asked for is
// reported.
#pragma once

#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/utilctl/definition_source.h"
#include "util/json/object.h"

namespace utilctl {

inline json_path_t operator/(json_path_t path, std::size_t step) {
  path.push_back(static_cast<std::uint32_t>(step));
  return path;
}

class CMemberReader {
 public:
  /// Reports, when the value is no object.
  CMemberReader(CDefinitionSource& source, const std::shared_ptr<zorutil::json::IValue>& value, json_path_t path);
  CMemberReader(const CMemberReader&) = delete;
  CMemberReader& operator=(const CMemberReader&) = delete;

  bool IsObject() const noexcept { return object_ != nullptr; }
  const json_path_t& GetPath() const noexcept { return path_; }
  const std::map<std::u16string, std::uint32_t>& GetPlaces() const noexcept { return places_; }
  json_path_t PathOf(const char16_t* name) const;
  void Remark(const char16_t* name, std::string cause) { source_.Remark(PathOf(name), std::move(cause)); }

  bool Has(const char16_t* name) const { return places_.contains(name); }
  /// Null without the member.
  std::shared_ptr<zorutil::json::IValue> Get(const char16_t* name);
  // A member of another type is reported, and counts as missing.
  std::optional<CString> GetText(const char16_t* name);
  std::optional<bool> GetFlag(const char16_t* name);
  std::optional<int> GetInt(const char16_t* name, int min = std::numeric_limits<int>::min(),
                            int max = std::numeric_limits<int>::max());
  /// The elements of an array; none for a missing member.
  const std::vector<std::shared_ptr<zorutil::json::IValue>>& GetArray(const char16_t* name);
  /// Reports a member that must be there.
  void Require(const char16_t* name);
  /// Reports what was not asked for; "comment" is nobody's.
  void Finish();

 private:
  CDefinitionSource& source_;
  std::shared_ptr<zorutil::json::IValue> value_;
  const zorutil::json::object_t* object_;
  json_path_t path_;
  std::map<std::u16string, std::uint32_t> places_;
  std::vector<const zorutil::json::member_t*> members_;
  std::vector<bool> isAsked_;
};

}  // namespace utilctl
