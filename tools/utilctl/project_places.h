// Where the objects of a project stand in its text: for messages that come later than reading.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/framework/cstring.h"
#include "tools/utilctl/project_input.h"
#include "util/docs/xml_document.h"
#include "util/json/object.h"

namespace utilctl {

class CProjectPlaces {
 public:
  /// Reads the text again when it is first asked.
  explicit CProjectPlaces(const project_input_t& input) : input_(input) {}

  /// The line of the setting of that name, or else of the object, whose path is as CTableObj::GetPath gives it; 0 when
  /// it is not known, as in binary projects.
  int FindLine(const CString& path, std::u16string_view setting);

 private:
  void Read();
  int FindInJson(std::u16string_view path, std::u16string_view setting);
  const zorutil::json::member_t* FindMember(const zorutil::json::IValue* object, std::u16string_view name);
  const zorutil::json::member_t* FindRecord(const zorutil::json::IValue* object, std::u16string_view name);
  int FindInXml(std::u16string_view path, std::u16string_view setting);
  void* FindXmlRecord(void* parent, std::u16string_view name);

  const project_input_t& input_;
  bool isRead_ = false;
  std::shared_ptr<zorutil::json::IValue> json_;
  // The members of objects that were looked into: many failures lie in one long table.
  std::unordered_map<const zorutil::json::IValue*,
                     std::unordered_map<std::u16string_view, const zorutil::json::member_t*>>
      indexes_;
  CXmlDocument xml_;
};

}  // namespace utilctl
