// utilctl project check, convert: projects as files.
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/files.h"
#include "tools/utilctl/project_input.h"
#include "tools/utilctl/project_places.h"
#include "tools/utilctl/tree_view.h"
#include "util/project/tree_validation.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"

namespace utilctl {

namespace json = zorutil::json;
namespace project = zorutil::project;
using zorutil::properties::CDefinitionStore;

namespace {

constexpr std::size_t kMaxFailures = 1000;

// The settings of the tree's types that nobody checks, because they have no definition: "Pump.Mode".
std::set<std::string> FindUndefined(const CTableObj& root, CDefinitionStore& definitions, std::size_t& objects) {
  std::set<std::string> names;
  std::set<int> types;
  const auto visit = [&](const CTableObj& object, const std::string&, int) {
    ++objects;
    if (!types.insert(object.GetFullType()).second) return true;
    for (const zorutil::field_t& field : FieldsOf(object)) {
      if (definitions.FindDefinition(field.id) != nullptr) continue;
      names.insert(TypeNameOf(object) + '.' + CString(field.name).ToUtf8());
    }
    return true;
  };
  WalkTree(root, {}, 0, visit);
  return names;
}

// The name by which a setting stands in the text of the project; empty for what is no field.
std::u16string_view FieldNameOf(const CTableObj& root, const project::object_failure_t& failure) {
  const zorutil::ref_counted_obj_ptr object = root.FindObject(failure.path.GetString());
  if (!object) return {};
  for (const zorutil::field_t& field : FieldsOf(*object)) {
    if (field.id == failure.failure.id || failure.failure.name == field.name) return field.name;
  }
  return {};
}

void Validate(CCall& call, const project_input_t& input, CDefinitionStore& definitions) {
  CProjectPlaces places(input);
  const std::vector<project::object_failure_t> failures =
      project::ValidateTree(*input.root, kMaxFailures, &definitions);
  for (const project::object_failure_t& each : failures) {
    const std::string setting = each.failure.name.ToUtf8();
    const int line = places.FindLine(each.path, FieldNameOf(*input.root, each));
    call.report.Add({input.path, line, 0, each.path.ToUtf8() + (setting.empty() ? "" : ", " + setting),
                     each.failure.message->GetMessageText(call.GetLanguage()).ToUtf8()});
  }
  if (failures.size() == kMaxFailures) call.report.Add({input.path, 0, 0, "", "there may be more; these are enough"});
}

}  // namespace

exit_t CheckProject(CCall& call) {
  LoadTypes(call);
  const std::string folder = call.Get("--definitions", GetDefaultFolder());
  if (call.Has("--definitions")) RequireDefinitions(folder);
  CDefinitionStore definitions(FolderText(folder));
  json::array_t checked;
  for (const std::string& path : call.GetAll("PROJECT")) {
    const std::size_t before = call.report.GetProblems().size();
    const project_input_t input = ReadProject(call, path, true);
    if (input.root == nullptr) continue;
    Validate(call, input, definitions);
    std::size_t objects = 0;
    const std::set<std::string> undefined = FindUndefined(*input.root, definitions, objects);
    json::object_t entry;
    AddMember(entry, u"file", CVariant(path));
    AddMember(entry, u"form", CVariant(project::FormName(input.form)));
    AddMember(entry, u"objects", CVariant::FromInt64(static_cast<std::int64_t>(objects)));
    json::array_t names;
    std::string list;
    for (const std::string& name : undefined) {
      names.elements.push_back(std::make_shared<json::scalar_t>(CVariant(name)));
      list += (list.empty() ? "" : ", ") + name;
    }
    AddMember(entry, u"undefined", std::move(names));
    checked.AddObject(std::move(entry));
    if (call.report.GetProblems().size() != before) continue;
    call.report.text +=
        path + ": " + std::to_string(objects) + (objects == 1 ? " object is fine\n" : " objects are fine\n");
    if (list.empty()) continue;
    if (!call.Has("--definitions")) list = std::to_string(undefined.size()) + " settings; --definitions names a folder";
    call.report.text += path + ": not checked, for there is no definition: " + list + '\n';
  }
  AddMember(call.report.result, u"checked", std::move(checked));
  return call.GetExit();
}

exit_t ConvertProject(CCall& call) {
  const project::form_t form = FormOfOption(call, "--to");
  LoadTypes(call);
  const project_input_t input = ReadProject(call, call.Get("PROJECT"));
  if (input.root == nullptr) return EXIT_FINDINGS;
  WriteProjectTo(call, *input.root, call.Get("--out"), form);
  return EXIT_FINE;
}

}  // namespace utilctl
