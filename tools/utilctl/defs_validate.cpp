// utilctl defs validate: settings as a JSON object of names and values, checked against definitions.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/files.h"
#include "tools/utilctl/json_places.h"
#include "tools/utilctl/source_member.h"
#include "tools/utilctl/source_values.h"
#include "util/json/json_text.h"
#include "util/properties/definition_store.h"
#include "util/properties/property_list.h"
#include "util/properties/validation.h"

namespace utilctl {

namespace json = zorutil::json;
using namespace zorutil::properties;

namespace {

class CSettings {
 public:
  CSettings(CCall& call, const std::string& folder)
      : path_(call.Get("FILE.json")), text_(ReadWholeFile(path_)), call_(call), store_(FolderText(folder)) {
    for (auto& file : ReadDefinitionFolder(folder)) {
      if (!file.failure.empty()) call.report.Add({file.path, 0, 0, "", file.failure});
      namespaces_.emplace(FoldedName(file.namespaceName), file.number);
      for (const definition_ptr_t& each : file.definitions) {
        definitions_.push_back(each);
        byName_.emplace(FoldedName(each->GetName()), each);
        byName_.emplace(FoldedName(each->GetQualifiedName()), each);
        byName_.emplace(FoldedName(CString(std::to_string(each->GetId()))), each);
      }
    }
  }

  void Validate() {
    const std::string space = call_.Get("--namespace");
    if (!space.empty() && !namespaces_.contains(FoldedName(CString(space)))) {
      throw usage_error_t("--namespace: there is no namespace \"" + space + "\"");
    }
    std::shared_ptr<json::IValue> document;
    if (const auto error = json::ReadText(text_, document)) {
      call_.report.Add({path_, error.line, error.column, "", error.cause});
      return;
    }
    if (const auto* object = dynamic_cast<const json::object_t*>(document.get())) {
      Read(*object, {}, CString(call_.Get("--namespace")));
    } else {
      remarks_.push_back({{}, "expected an object of names and values"});
    }
    for (const validation_failure_t& failure : CollectValidationFailures(list_, context_)) {
      remarks_.push_back({paths_[failure.id], failure.message->GetMessageText(call_.GetLanguage()).ToUtf8()});
    }
    if (call_.Has("--complete")) FindMissing();
    call_.report.Add(LocateRemarks(path_, text_, document, std::move(remarks_)));
    AddMember(call_.report.result, u"checked", CVariant::FromInt32(static_cast<int>(list_.size())));
    if (call_.report.GetProblems().empty()) {
      call_.report.text = path_ + ": " + std::to_string(list_.size()) + " properties are valid\n";
    }
  }

 private:
  void Read(const json::object_t& object, const json_path_t& path, const CString& space) {
    std::uint32_t at = 0;
    for (const json::member_t& member : object.members) {
      const json_path_t place = path / at++;
      const auto* inner = dynamic_cast<const json::object_t*>(member.value.get());
      if (inner != nullptr && path.empty() && namespaces_.contains(FoldedName(member.name))) {
        Read(*inner, place, member.name);
        continue;
      }
      const CString name = space.IsEmpty() ? member.name : space + u'.' + member.name;
      const auto [first, end] = byName_.equal_range(FoldedName(name));
      if (first == end) {
        remarks_.push_back({place, "unknown property \"" + name.ToUtf8() + "\"", true});
      } else if (std::next(first) != end) {
        remarks_.push_back({place, "several namespaces have this property; write \"namespace.property\"", true});
      } else {
        Take(*first->second, member.value, place);
      }
    }
  }

  // A value in a form that sources know is taken as that; what is none goes to the library as it is, for its message.
  void Take(const IPropertyDefinition& definition, const std::shared_ptr<json::IValue>& given,
            const json_path_t& place) {
    CVariant value;
    std::string cause;
    if (!ValueFromJson(given, definition.GetType(), value_use_t::value, value, cause)) {
      const auto* scalar = dynamic_cast<const json::scalar_t*>(given.get());
      value = scalar == nullptr ? CVariant(json::WriteText(*given, {.indent = 0})) : scalar->value;
      if (scalar == nullptr && IsStringProperty(definition.GetType())) value = CVariant::Null();
    }
    if (!paths_.emplace(definition.GetId(), place).second) {
      remarks_.push_back({place, "the property is given twice", true});
      return;
    }
    // Without definition the library would let everything pass.
    if (store_.FindDefinition(definition.GetId()) == nullptr) {
      remarks_.push_back({place, "the index of the definitions does not lead here; try defs check", true});
    }
    list_.push_back(CProperty::Create(definition.GetId(), std::move(value)));
  }

  // Of all namespaces, for settings that say nothing of one lack everything it requires; or of the one that is asked
  // for.
  void FindMissing() {
    const auto wanted = namespaces_.find(FoldedName(CString(call_.Get("--namespace"))));
    for (const definition_ptr_t& each : definitions_) {
      if (!each->IsRequired() || paths_.contains(each->GetId())) continue;
      if (wanted != namespaces_.end() && wanted->second != GetNamespaceNumber(each->GetId())) continue;
      if (!IsAllowed(CProperty::Create(each->GetId()), list_, context_)) continue;
      remarks_.push_back({{}, "the required property \"" + each->GetQualifiedName().ToUtf8() + "\" is missing"});
    }
  }

  const std::string path_;
  const std::string text_;
  CCall& call_;
  CDefinitionStore store_;
  CValidationContext context_{store_};
  std::map<std::u16string, int> namespaces_;
  std::vector<definition_ptr_t> definitions_;
  std::multimap<std::u16string, definition_ptr_t> byName_;
  std::vector<json_remark_t> remarks_;
  std::map<int, json_path_t> paths_;
  property_list_t list_;
};

}  // namespace

exit_t ValidateSettings(CCall& call) {
  const std::string folder = call.Get("--definitions", GetDefaultFolder());
  RequireFolder(folder);
  CSettings(call, folder).Validate();
  return call.GetExit();
}

}  // namespace utilctl
