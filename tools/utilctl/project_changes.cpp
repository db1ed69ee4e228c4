// utilctl project diff, patch: what is different in two projects, and changing one.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/files.h"
#include "tools/utilctl/project_input.h"
#include "util/json/json_text.h"
#include "util/project/project_diff.h"
#include "util/project/project_patch.h"
#include "util/properties/definition_store.h"
#include "util/properties/validation.h"

namespace utilctl {

namespace json = zorutil::json;
namespace project = zorutil::project;

namespace {

struct kind_style_t {
  char mark;  // at the beginning of the line that tells it
  const char16_t* name;
  std::string_view colour;
};
// By project::change_t.
constexpr kind_style_t kKinds[] = {
    {'+', u"added", "32"}, {'-', u"removed", "31"}, {'~', u"changed", "33"}, {'>', u"moved", "36"}};

std::string InColours(std::string_view lines) {
  std::string text;
  while (!lines.empty()) {
    const std::string_view line = lines.substr(0, lines.find('\n'));
    lines.remove_prefix(std::min(lines.size(), line.size() + 1));
    std::string_view colour;
    for (const kind_style_t& kind : kKinds) {
      if (line.starts_with(kind.mark)) colour = kind.colour;
    }
    text += colour.empty() ? std::string(line) : "\033[" + std::string(colour) + 'm' + std::string(line) + "\033[0m";
    text += '\n';
  }
  return text;
}

json::array_t ChangesAsJson(const project::project_diff_t& diff) {
  json::array_t list;
  for (const project::object_change_t& change : diff.GetChanges()) {
    json::object_t entry;
    AddMember(entry, u"kind", CVariant(kKinds[static_cast<std::size_t>(change.kind)].name));
    AddMember(entry, u"path", CVariant(change.path));
    if (change.kind == project::change_t::MOVED) AddMember(entry, u"to", CVariant(change.toPath));
    if (change.below != 0) AddMember(entry, u"below", CVariant::FromInt64(static_cast<std::int64_t>(change.below)));
    json::array_t settings;
    for (const project::property_change_t& each : change.properties) {
      json::object_t setting;
      AddMember(setting, u"name", CVariant(each.name));
      if (!each.isPassword) {
        AddMember(setting, u"before", each.before);
        AddMember(setting, u"after", each.after);
      }
      settings.AddObject(std::move(setting));
    }
    if (!settings.elements.empty()) AddMember(entry, u"settings", std::move(settings));
    list.AddObject(std::move(entry));
  }
  return list;
}

}  // namespace

exit_t DiffProjects(CCall& call) {
  LoadTypes(call);
  const project_input_t before = ReadProject(call, call.Get("OLD"));
  const project_input_t after = ReadProject(call, call.Get("NEW"));
  // Not 1, which says that two good projects differ.
  if (before.root == nullptr || after.root == nullptr) return EXIT_IO;
  const project::project_diff_t diff = project::DiffTrees(*before.root, *after.root);
  AddMember(call.report.result, u"changes", ChangesAsJson(diff));
  if (call.Has("--patch")) {
    const std::shared_ptr<json::IValue> patch = diff.ToPatch();
    call.report.text = json::WriteText(*patch) + '\n';
    AddMember(call.report.result, u"patch", patch);
  } else {
    const std::string text = diff.ToString().ToUtf8();
    call.report.text = call.hasColours ? InColours(text) : text;
  }
  return diff.IsEmpty() ? EXIT_FINE : EXIT_FINDINGS;
}

exit_t PatchProject(CCall& call) {
  if (call.Has("--to")) FormOfOption(call, "--to");
  LoadTypes(call);
  const std::string folder = call.Get("--definitions", GetDefaultFolder());
  if (call.Has("--definitions")) RequireDefinitions(folder);
  zorutil::properties::CDefinitionStore definitions(FolderText(folder));
  zorutil::properties::CValidationContext context(definitions);
  const project_input_t input = ReadProject(call, call.Get("PROJECT"));
  const std::string patchPath = call.Get("PATCH");
  const std::string patch = ReadWholeFile(patchPath);
  if (input.root == nullptr) return EXIT_FINDINGS;
  const project::patch_result_t result = project::ApplyPatch(patch, *input.root, {.context = &context});
  for (const project::patch_failure_t& failure : result.failures) {
    std::string place = failure.operation == 0 ? "" : "operation " + std::to_string(failure.operation);
    if (!failure.path.IsEmpty()) place += (place.empty() ? "" : ", ") + failure.path.ToUtf8();
    call.report.Add({patchPath, 0, 0, place, failure.message->GetMessageText(call.GetLanguage()).ToUtf8()});
  }
  if (!result) return EXIT_FINDINGS;
  const std::pair<const char16_t*, std::size_t> counts[] = {
      {u"added", result.added}, {u"removed", result.removed}, {u"moved", result.moved}, {u"changed", result.changed}};
  for (const auto& [name, count] : counts) {
    AddMember(call.report.result, name, CVariant::FromInt64(static_cast<std::int64_t>(count)));
  }
  WriteProjectTo(call, *input.root, call.Get("--out"), call.Has("--to") ? FormOfOption(call, "--to") : input.form);
  return EXIT_FINE;
}

}  // namespace utilctl
