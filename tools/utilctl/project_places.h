// Where the objects of a project stand in its text: for messages that come later than reading.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/framework/cstring.h"
#include "tools/utilctl/project_input.h"
#include "util/docs/xml_document.h"
#include "util/json/value.h"

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
  int FindInJson(std::u16string_view path, std::u16string_view setting) const;
  int FindInXml(std::u16string_view path, std::u16string_view setting);
  void* FindXmlRecord(void* parent, std::u16string_view name);

  const project_input_t& input_;
  bool isRead_ = false;
  std::shared_ptr<zorutil::json::IValue> json_;
  CXmlDocument xml_;
};

}  // namespace utilctl
