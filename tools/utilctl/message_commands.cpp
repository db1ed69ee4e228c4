// utilctl message: the texts of the library and of modules in each language, and the files they come from.
#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/files.h"
#include "tools/utilctl/fill.h"
#include "tools/utilctl/language_files.h"
#include "util/i18n/language.h"
#include "util/i18n/language_module.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"

namespace utilctl {

using i18n::CLanguageModule;
using module_ptr_t = std::shared_ptr<const CLanguageModule>;

namespace {

constexpr char kExtension[] = ".lang";

struct name_row_t {
  unsigned id;
  const char* name;
};
#define UTILCTL_ROW(name, number, arguments) {number, #name},
constexpr name_row_t kNames[] = {ZORUTIL_MESSAGE_IDS(UTILCTL_ROW)};
#undef UTILCTL_ROW

// A number, or the name of a message of the library.
std::optional<unsigned> IdFromText(const std::string& text) {
  for (const name_row_t& row : kNames) {
    if (text == row.name) return row.id;
  }
  unsigned id = 0;
  const char* const end = text.data() + text.size();
  const auto got = std::from_chars(text.data(), end, id);
  return got.ec == std::errc() && got.ptr == end ? std::optional(id) : std::nullopt;
}

// "channel.de.lang" is the file of the module "channel" in the language "de".
struct file_name_t {
  std::string folder;
  std::string module;
  std::string tag;
};

std::optional<file_name_t> SplitFileName(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  file_name_t name;
  name.folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
  if (!file.ends_with(kExtension)) return std::nullopt;
  const std::string stem = file.substr(0, file.size() - (sizeof kExtension - 1));
  const std::size_t stop = stem.find_last_of('.');
  if (stop == std::string::npos || i18n::LanguageIdFromTag(stem.substr(stop + 1)) == 0) return std::nullopt;
  name.module = stem.substr(0, stop);
  name.tag = stem.substr(stop + 1);
  return name;
}

// The module whose language files lie in the folder.
module_ptr_t OpenModule(const std::string& folder, const std::string& name) {
  UseLanguageFolder(folder);
  if (name == CLanguageModule::GetOwn()->GetName().ToUtf8()) return CLanguageModule::GetOwn();
  if (!CLanguageModule::IsName(CString(name))) throw usage_error_t("\"" + name + "\" is no name of a module");
  return CLanguageModule::Register(CString(name), ReadWholeFile(JoinPath(folder, name + ".en" + kExtension)), nullptr);
}

void Lint(CCall& call, const CLanguageModule& module, const std::string& tag) {
  for (const auto& problem : module.GetProblems(i18n::LanguageIdFromTag(tag))) {
    call.report.Add({NativePath(problem.file), static_cast<int>(problem.line), 0, "", problem.what});
  }
}

}  // namespace

exit_t ShowMessage(CCall& call) {
  const auto id = IdFromText(call.Get("ID"));
  if (!id) throw usage_error_t("ID: expected a number, or a name such as IDS_VALUE_OUT_OF_RANGE");
  const std::string moduleName = call.Get("--module", CLanguageModule::GetOwn()->GetName().ToUtf8());
  const bool isOwn = moduleName == CLanguageModule::GetOwn()->GetName().ToUtf8();
  const module_ptr_t module =
      isOwn && !call.Has("--folder") ? CLanguageModule::GetOwn() : OpenModule(call.Get("--folder", "."), moduleName);
  CString text = module->GetText(*id, call.GetLanguage());
  if (text.IsEmpty()) {
    call.report.Add({moduleName, 0, 0, "", "there is no message " + std::to_string(*id)});
    return EXIT_FINDINGS;
  }
  AddMember(call.report.result, u"id", CVariant::FromInt64(*id));
  AddMember(call.report.result, u"template", CVariant(text));
  if (call.Has("ARGUMENT")) {
    std::vector<CVariant> arguments;
    for (const std::string& each : call.GetAll("ARGUMENT")) arguments.emplace_back(each);
    i18n::CLocalizedMessage message(i18n::CLocalizedResource(module, *id), std::move(arguments));
    text = Fill([&] { return message.GetMessageText(call.GetLanguage()); });
  }
  AddMember(call.report.result, u"text", CVariant(text));
  call.report.text = text.ToUtf8() + '\n';
  return EXIT_FINE;
}

exit_t LintMessages(CCall& call) {
  const std::string given = call.Get("FILE.lang|MODULE");
  if (const auto file = SplitFileName(given)) {
    ReadWholeFile(given);  // a file that is not there is no finding
    Lint(call, *OpenModule(file->folder, file->module), file->tag);
  } else {
    const std::string folder = call.Get("--folder", ".");
    const module_ptr_t own = CLanguageModule::GetOwn();
    const module_ptr_t module =
        given == own->GetName().ToUtf8() && !call.Has("--folder") ? own : OpenModule(folder, given);
    for (const i18n::language_t& language : module->GetLanguages()) Lint(call, *module, language.tag);
  }
  if (call.report.GetProblems().empty()) call.report.text = given + ": fine\n";
  return call.GetExit();
}

}  // namespace utilctl
