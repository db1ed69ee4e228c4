#include "tools/utilctl/project_places.h"

#include <algorithm>

#include "platform/framework/mem_file.h"
#include "util/json/json_text.h"

namespace utilctl {

namespace json = zorutil::json;
using zorutil::project::form_t;

namespace {

// Takes the first name from a path.
std::u16string_view TakeName(std::u16string_view& path) {
  const std::u16string_view name = path.substr(0, path.find(u'.'));
  path.remove_prefix(std::min(path.size(), name.size() + 1));
  return name;
}

}  // namespace

int CProjectPlaces::FindLine(const CString& path, std::u16string_view setting) {
  if (!isRead_) Read();
  if (json_ != nullptr) return FindInJson(path, setting);
  return xml_.IsValid() != 0 ? FindInXml(path, setting) : 0;
}

void CProjectPlaces::Read() {
  isRead_ = true;
  if (input_.form == form_t::JSON && json::ReadText(input_.content, json_)) json_ = nullptr;
  if (input_.form == form_t::XML) {
    CMemFile file;
    file.Write(input_.content.data(), static_cast<unsigned>(input_.content.size()));
    file.SeekToBegin();
    xml_.LoadFrom(file);
  }
}

int CProjectPlaces::FindInJson(std::u16string_view path, std::u16string_view setting) {
  const json::member_t* found = FindMember(json_.get(), TakeName(path));
  while (found != nullptr && !path.empty()) found = FindRecord(found->value.get(), TakeName(path));
  if (found == nullptr) return 0;
  const json::member_t* const inner = FindMember(found->value.get(), setting);
  return inner != nullptr ? inner->line : found->line;
}

// Names as they stand in the tree, so letter case counts.
const json::member_t* CProjectPlaces::FindMember(const json::IValue* object, std::u16string_view name) {
  const auto* const members = dynamic_cast<const json::object_t*>(object);
  if (members == nullptr) return nullptr;
  const auto [index, isNew] = indexes_.try_emplace(object);
  if (isNew) {
    for (const json::member_t& each : members->members) index->second.emplace(each.name, &each);
  }
  const auto found = index->second.find(name);
  return found == index->second.end() ? nullptr : found->second;
}

// In whichever of the object's tables it is.
const json::member_t* CProjectPlaces::FindRecord(const json::IValue* object, std::u16string_view name) {
  const auto* const members = dynamic_cast<const json::object_t*>(object);
  if (members == nullptr) return nullptr;
  for (const json::member_t& each : members->members) {
    if (const json::member_t* const found = FindMember(each.value.get(), name)) return found;
  }
  return nullptr;
}

int CProjectPlaces::FindInXml(std::u16string_view path, std::u16string_view setting) {
  void* element = xml_.GetElementByName(nullptr, nullptr, u"", false);
  TakeName(path);
  while (element != nullptr && !path.empty()) element = FindXmlRecord(element, TakeName(path));
  if (element == nullptr) return 0;
  void* const inner = xml_.GetElementByName(element, nullptr, CString(setting).GetString(), false);
  const auto line = static_cast<int>(xml_.GetLine(inner != nullptr ? inner : element));
  xml_.ReleaseElement(inner);
  xml_.ReleaseElement(element);
  return line;
}

// Releases the parent.
void* CProjectPlaces::FindXmlRecord(void* parent, std::u16string_view name) {
  CString text;
  for (void* table = xml_.FindFirstChild(parent, true); table != nullptr; table = xml_.FindNext(table, true)) {
    for (void* record = xml_.FindFirstChild(table, false); record != nullptr; record = xml_.FindNext(record, true)) {
      if (xml_.ReadElement(record, nullptr, u"Name", true, text) == nullptr || text != name) continue;
      xml_.ReleaseElement(table);
      return record;
    }
  }
  return nullptr;
}

}  // namespace utilctl
