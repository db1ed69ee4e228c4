// utilctl project show, find: what is in a project.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/language_files.h"
#include "tools/utilctl/project_input.h"
#include "tools/utilctl/tree_view.h"
#include "util/project/json_mapping.h"

namespace utilctl {

namespace json = zorutil::json;
namespace project = zorutil::project;

namespace {

constexpr std::string_view kNameStyle = "1", kTypeStyle = "36", kTableStyle = "35", kSettingStyle = "2";

int DepthOf(const CCall& call) {
  if (!call.Has("--depth")) return std::numeric_limits<int>::max();
  const std::string text = call.Get("--depth");
  int depth = -1;
  const auto got = std::from_chars(text.data(), text.data() + text.size(), depth);
  if (got.ec != std::errc() || got.ptr != text.data() + text.size() || depth < 0) {
    throw usage_error_t("--depth: expected a number from 0 on");
  }
  return depth;
}

// What people call the values of enumerations, from the definitions of --definitions and the language files beside
// them.
class CValueTexts {
 public:
  explicit CValueTexts(const CCall& call) {
    if (!call.Has("--definitions")) return;
    const std::string folder = call.Get("--definitions");
    RequireFolder(folder);
    for (const definition_file_content_t& file : ReadDefinitionFolder(folder)) {
      const text_table_t texts = ReadLanguageFiles(folder, file.stem);
      for (const definition_ptr_t& definition : file.definitions) {
        for (const auto& each : definition->GetEnumValues()) {
          const auto number = static_cast<unsigned>(each->GetMetaDataNumber());
          texts_[{definition->GetId(), each->GetValue()}] = FindText(texts, number, call.GetLanguage()).ToUtf8();
        }
      }
    }
  }

  /// " (Ramp)"; empty when there is no text.
  std::string Find(const CTableObj& object, const zorutil::field_t& field) const {
    if (texts_.empty()) return {};
    zorutil::field_value_t value;
    field.get(object, value);
    const auto found = texts_.find({field.id, value.integer});
    return found == texts_.end() || found->second.empty() ? std::string() : " (" + found->second + ')';
  }

 private:
  std::map<std::pair<int, std::int64_t>, std::string> texts_;
};

// The tree as lines:
//
//   North Station "in the woods"
//   │  Address  40001
//   └─ Pumps
//      ├─ P1 Pump
class CTreeWriter {
 public:
  CTreeWriter(std::string& out, const CCall& call)
      : out_(out),
        texts_(call),
        maxDepth_(DepthOf(call)),
        isBrief_(call.Has("--brief")),
        hasColours_(call.hasColours) {}

  /// `first` stands before the object's own line, `rest` before those below.
  void Write(const CTableObj& object, const std::string& first, const std::string& rest, int depth) {
    out_ += first + Styled(kNameStyle, NameOf(object)) + ' ' + Styled(kTypeStyle, TypeNameOf(object));
    if (object.HaveDescription()) out_ += " \"" + Printable(object.GetDescription().ToUtf8()) + '"';
    out_ += '\n';
    const std::vector<children_t> tables = ChildrenOf(object);
    if (!isBrief_) WriteFields(object, rest + (tables.empty() ? "   " : "│  "));
    for (const children_t& table : tables) {
      const bool isLast = &table == &tables.back();
      WriteTable(table, rest + (isLast ? "└─ " : "├─ "), rest + (isLast ? "   " : "│  "), depth);
    }
  }

 private:
  std::string Styled(std::string_view style, const std::string& text) const {
    const std::string shown = Printable(text);
    return hasColours_ ? "\033[" + std::string(style) + 'm' + shown + "\033[0m" : shown;
  }

  void WriteFields(const CTableObj& object, const std::string& before) {
    std::size_t width = 0;
    for (const zorutil::field_t& field : FieldsOf(object)) {
      width = std::max(width, std::u16string_view(field.name).size());
    }
    for (const zorutil::field_t& field : FieldsOf(object)) {
      const std::string name = CString(field.name).ToUtf8();
      const std::string gap(width + 2 - std::min(width, name.size()), ' ');
      out_ += before + Styled(kSettingStyle, name) + gap +
              Printable(FieldTextOf(object, field) + texts_.Find(object, field)) + '\n';
    }
  }

  void WriteTable(const children_t& table, const std::string& first, const std::string& rest, int depth) {
    out_ += first + Styled(kTableStyle, table.name.ToUtf8());
    if (depth >= maxDepth_) {
      out_ += " (" + std::to_string(table.objects.size()) + ")\n";
      return;
    }
    out_ += '\n';
    for (const CTableObj* const each : table.objects) {
      const bool isLast = each == table.objects.back();
      Write(*each, rest + (isLast ? "└─ " : "├─ "), rest + (isLast ? "   " : "│  "), depth + 1);
    }
  }

  std::string& out_;
  CValueTexts texts_;
  int maxDepth_;
  bool isBrief_;
  bool hasColours_;
};

json::object_t TreeToJson(const CTableObj& object, int depth) {
  json::object_t result = project::ObjectToJson(object, false);
  if (depth == 0) return result;
  for (const children_t& table : ChildrenOf(object)) {
    json::object_t records;
    for (const CTableObj* const each : table.objects) {
      AddMember(records, each->GetName(), TreeToJson(*each, depth - 1));
    }
    AddMember(result, table.name, std::move(records));
  }
  return result;
}

// Whether a name, or a path, is what a pattern means: "*" is any run of characters, "?" one. Both are folded.
bool Matches(std::u16string_view pattern, std::u16string_view text) {
  std::size_t at = 0, in = 0, star = pattern.npos, from = 0;
  while (in < text.size()) {
    if (at < pattern.size() && pattern[at] == u'*') {
      star = at++;
      from = in;
    } else if (at < pattern.size() && (pattern[at] == u'?' || pattern[at] == text[in])) {
      ++at;
      ++in;
    } else if (star != pattern.npos) {
      at = star + 1;
      in = ++from;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(u'*', at) == pattern.npos;
}

}  // namespace

exit_t ShowProject(CCall& call) {
  LoadTypes(call);
  CTreeWriter writer(call.report.text, call);
  const project_input_t input = ReadProject(call, call.Get("PROJECT"), true);
  if (input.root == nullptr) return EXIT_FINDINGS;
  zorutil::ref_counted_obj_ptr shown = input.root.get();
  if (const std::string path = call.Get("OBJECT"); !path.empty()) {
    shown = input.root->FindObject(CString(path).GetString());
    if (!shown) {
      call.report.Add({input.path, 0, 0, path, "there is no such object"});
      return EXIT_FINDINGS;
    }
  }
  if (call.Has("--json")) {
    json::object_t tree;
    AddMember(tree, shown->GetName(), TreeToJson(*shown, DepthOf(call)));
    AddMember(call.report.result, u"project", std::move(tree));
  } else {
    writer.Write(*shown, "", "", 0);
  }
  return call.GetExit();
}

exit_t FindInProject(CCall& call) {
  LoadTypes(call);
  const project_input_t input = ReadProject(call, call.Get("PROJECT"), true);
  if (input.root == nullptr) return EXIT_FINDINGS;
  const std::u16string pattern = FoldedName(CString(call.Get("NAME|PATH")));
  const std::u16string type = FoldedName(CString(call.Get("--type")));
  const bool isPath = pattern.find(u'.') != pattern.npos;
  const std::string root = NameOf(*input.root);
  json::array_t found;
  const auto visit = [&](const CTableObj& object, const std::string& path, int depth) {
    const std::string typeName = TypeNameOf(object);
    if (!type.empty() && FoldedName(CString(typeName)) != type) return true;
    // A path counts with and without the name of the project before it.
    const bool isSought = !isPath
                              ? Matches(pattern, FoldedName(object.GetName()))
                              : Matches(pattern, FoldedName(CString(path))) ||
                                    (depth > 0 && Matches(pattern, FoldedName(CString(path.substr(root.size() + 1)))));
    if (!isSought) return true;
    call.report.text += Printable(path) + "  " + typeName + '\n';
    json::object_t entry;
    AddMember(entry, u"path", CVariant(path));
    AddMember(entry, u"type", CVariant(typeName));
    found.AddObject(std::move(entry));
    return true;
  };
  WalkTree(*input.root, root, 0, visit);
  const bool isEmpty = found.elements.empty();
  AddMember(call.report.result, u"objects", std::move(found));
  if (isEmpty) call.report.Add({input.path, 0, 0, call.Get("NAME|PATH"), "there is no such object"});
  return call.GetExit();
}

}  // namespace utilctl
