// utilctl defs list, show, decompile: what definition files hold.
#include <algorithm>
#include <charconv>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "platform/framework/file.h"
#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/files.h"
#include "tools/utilctl/language_files.h"
#include "tools/utilctl/source_writer.h"
#include "util/json/json_text.h"
#include "util/json/value_conversions.h"
#include "util/properties/definition_store.h"
#include "util/properties/property_types.h"

namespace utilctl {

namespace json = zorutil::json;
using namespace zorutil::properties;

namespace {

constexpr std::size_t kLabelWidth = 12;

std::string Padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size() + 1, width), ' ');
  return text;
}

// What a person reads of a value: text as it is, everything else as JSON.
std::string PlainText(const std::shared_ptr<json::IValue>& value) {
  const auto* scalar = dynamic_cast<const json::scalar_t*>(value.get());
  if (scalar != nullptr && scalar->IsString()) return scalar->value.ToString().ToUtf8();
  return json::WriteText(*value, {.indent = 0});
}

std::optional<int> IdOf(const std::string& text) {
  int id = 0;
  const char* const end = text.data() + text.size();
  const auto got = std::from_chars(text.data(), end, id);
  return got.ec == std::errc() && got.ptr == end ? std::optional(id) : std::nullopt;
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

void ReportUnreadable(CCall& call, const definition_file_content_t& file) {
  if (!file.failure.empty()) call.report.Add({file.path, 0, 0, "", file.failure});
}

// "Medium == 0", of a condition of a source.
std::string ConditionText(const std::shared_ptr<json::IValue>& value) {
  const auto& condition = dynamic_cast<const json::object_t&>(*value);
  const json::member_t& watched = condition.members.front();
  const json::member_t& operand = condition.members.back();
  return PlainText(watched.value) + (operand.name == u"is" ? " == " : " != ") + PlainText(operand.value);
}

// The definitions that other namespaces of a folder have. Lives as long as what it returns is used.
class COthers {
 public:
  explicit COthers(const std::string& folder) : store_(FolderText(folder)) {}
  find_by_id_t GetFind() {
    return [this](int id) -> definition_ptr_t {
      try {
        return store_.GetDefinition(id);
      } catch (const std::exception&) {
        return nullptr;  // its file cannot be read: the id stands for it
      }
    };
  }

 private:
  CDefinitionStore store_;
};

void ShowProperty(CCall& call, const text_table_t& texts, const IPropertyDefinition& definition, json::object_t source,
                  json::array_t& shown) {
  std::string& text = call.report.text;
  text += definition.GetQualifiedName().ToUtf8() + '\n';
  text += "  " + Padded("id", kLabelWidth) + std::to_string(definition.GetId()) + "\n";
  const CString label = FindText(texts, static_cast<unsigned>(definition.GetMetaDataNumber()), call.GetLanguage());
  if (!label.IsEmpty()) text += "  " + Padded("label", kLabelWidth) + label.ToUtf8() + '\n';
  for (const json::member_t& member : source.members) {
    if (member.name == u"name" || member.name == u"text" || member.name == u"textNumber") continue;
    const auto* list = dynamic_cast<const json::array_t*>(member.value.get());
    if (member.name == u"allow" || member.name == u"enable") {
      for (const auto& each : list->elements) {
        text += "  " + Padded(member.name.ToUtf8(), kLabelWidth) + ConditionText(each) + '\n';
      }
    } else if (member.name != u"values") {
      text += "  " + Padded(member.name.ToUtf8(), kLabelWidth) + PlainText(member.value) + '\n';
    }
  }
  for (const auto& each : definition.GetEnumValues()) {
    const CString name = FindText(texts, static_cast<unsigned>(each->GetMetaDataNumber()), call.GetLanguage());
    text += "  " + Padded("value", kLabelWidth) + std::to_string(each->GetValue()) + ' ' + name.ToUtf8() + '\n';
  }
  AddMember(source, u"id", CVariant::FromInt32(definition.GetId()));
  AddMember(source, u"qualifiedName", CVariant(definition.GetQualifiedName()));
  shown.AddObject(std::move(source));
}

}  // namespace

exit_t ListDefinitions(CCall& call) {
  const std::string folder = call.Get("DIR", GetDefaultFolder());
  RequireFolder(folder);
  json::array_t list;
  for (const auto& file : ReadDefinitionFolder(folder)) {
    ReportUnreadable(call, file);
    if (!file.failure.empty()) continue;
    json::object_t entry;
    AddMember(entry, u"number", CVariant::FromInt32(file.number));
    AddMember(entry, u"namespace", CVariant(file.namespaceName));
    AddMember(entry, u"file", CVariant(file.path));
    AddMember(entry, u"count", CVariant::FromInt32(static_cast<int>(file.definitions.size())));
    call.report.text += Padded(std::to_string(file.number), 5) + Padded(file.namespaceName.ToUtf8(), 24) +
                        Padded(std::to_string(file.definitions.size()), 7) + file.path + '\n';
    if (call.Has("--properties")) {
      json::array_t names;
      for (const definition_ptr_t& each : file.definitions) {
        const CString type = PropertyTypeToText(each->GetType());
        call.report.text += "     " + Padded(each->GetName().ToUtf8(), 24) + Padded(std::to_string(each->GetId()), 11) +
                            type.ToUtf8() + '\n';
        json::object_t property;
        AddMember(property, u"id", CVariant::FromInt32(each->GetId()));
        AddMember(property, u"name", CVariant(each->GetName()));
        AddMember(property, u"type", CVariant(type));
        names.AddObject(std::move(property));
      }
      AddMember(entry, u"properties", std::move(names));
    }
    list.AddObject(std::move(entry));
  }
  AddMember(call.report.result, u"namespaces", std::move(list));
  return call.GetExit();
}

exit_t ShowDefinition(CCall& call) {
  const std::string folder = call.Get("--definitions", GetDefaultFolder());
  RequireFolder(folder);
  const std::string sought = call.Get("ID|NAME");
  const std::optional<int> id = IdOf(sought);
  const std::u16string name = FoldedName(CString(sought));
  COthers others(folder);
  const find_by_id_t find = others.GetFind();
  json::array_t shown;
  for (const auto& file : ReadDefinitionFolder(folder)) {
    const text_table_t texts = ReadLanguageFiles(folder, file.stem);
    const bool isNamespace = FoldedName(file.namespaceName) == name;
    json::object_t source;
    for (std::size_t i = 0; i < file.definitions.size(); ++i) {
      const IPropertyDefinition& each = *file.definitions[i];
      const bool isSought =
          id ? each.GetId() == *id
             : isNamespace || FoldedName(each.GetQualifiedName()) == name || FoldedName(each.GetName()) == name;
      if (!isSought) continue;
      if (source.members.empty()) source = MakeSource(file, texts, find);
      const auto& properties = json::ValueAsArray(source.members.back().value).elements;
      ShowProperty(call, texts, each, json::ValueAsObject(properties[i]), shown);
    }
  }
  if (shown.elements.empty()) {
    call.report.Add({folder, 0, 0, "", "no definition has the " + std::string(id ? "id " : "name ") + sought});
  }
  AddMember(call.report.result, u"properties", std::move(shown));
  return call.GetExit();
}

exit_t DecompileDefinitions(CCall& call) {
  const std::string path = call.Get("FILE.prop");
  const definition_file_content_t file = ReadDefinitions(path);
  ReportUnreadable(call, file);
  if (!file.failure.empty()) return EXIT_FINDINGS;
  COthers others(FolderOf(path));
  json::object_t source = MakeSource(file, ReadLanguageFiles(FolderOf(path), file.stem), others.GetFind());
  const std::string text = json::WriteText(source) + '\n';
  if (call.Has("--out")) {
    ReplaceWholeFile(call.Get("--out"), text);
  } else {
    call.report.text = text;
  }
  AddMember(call.report.result, u"source", std::move(source));
  return EXIT_FINE;
}

}  // namespace utilctl
