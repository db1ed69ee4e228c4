#include "tools/utilctl/project_input.h"

#include <optional>
#include <utility>
#include <vector>

#include "tools/utilctl/files.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"

namespace utilctl {

namespace project = zorutil::project;

namespace {

// Faults of the text of an XML document begin with what it is called, line and column, which stand in front already.
std::string CauseOf(const project::load_error_t& error, unsigned short languageId) {
  std::string cause = error.message->GetMessageText(languageId).ToUtf8();
  const auto* const message = dynamic_cast<const i18n::CLocalizedMessage*>(error.message.get());
  if (message == nullptr || error.column == 0 || message->GetArguments().size() < 3) return cause;
  const auto& arguments = message->GetArguments();
  const auto place =
      i18n::MakeLocalizedMessage(i18n::IDS_XML_FAULT, {arguments[0], arguments[1], arguments[2], CVariant(u"")});
  const std::string begin = place->GetMessageText(languageId).ToUtf8();
  return cause.starts_with(begin) ? cause.substr(begin.size()) : cause;
}

}  // namespace

void LoadTypes(CCall& call) {
  for (const std::string& path : call.GetAll("--types")) call.typeLibraries.emplace_back(FileText(path));
}

project_input_t ReadProject(CCall& call, const std::string& path, bool isLenient) {
  project_input_t input{path, ReadWholeFile(path), {}, nullptr};
  const std::optional<project::form_t> form = project::FormOf(BytesOf(input.content));
  if (!form) {
    call.report.Add({path, 0, 0, "", "this is no project: neither a binary one, nor XML or JSON"});
    return input;
  }
  input.form = *form;
  project::load_report_t report;
  input.root = project::LoadProject(BytesOf(input.content), report, {.form = form, .isLenient = isLenient});
  for (const project::load_error_t& error : report.GetErrors()) {
    call.report.Add({path, error.line, error.column, error.path.ToUtf8(), CauseOf(error, call.GetLanguage())});
  }
  if (const std::size_t more = report.GetCount() - report.GetErrors().size(); more != 0) {
    call.report.Add({path, 0, 0, "", "and " + std::to_string(more) + " more errors"});
  }
  return input;
}

project::form_t FormOfOption(const CCall& call, std::string_view option) {
  const std::string name = call.Get(option);
  // Not the end of a file name: "--to plant.xml" was not meant.
  for (const project::form_t form : {project::form_t::BINARY, project::form_t::XML, project::form_t::JSON}) {
    if (CString(name).CompareNoCase(project::FormName(form)) == 0) return form;
  }
  throw usage_error_t(std::string(option) + ": expected xml, json or bin, not \"" + name + "\"");
}

void WriteProjectTo(CCall& call, const CTableObj& root, const std::string& path, project::form_t form) {
  if (!path.empty() && path != "-") return project::SaveProject(root, FileText(path), form);
  const std::vector<std::byte> bytes = project::WriteProject(root, form);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (form != project::form_t::BINARY) {
    AddMember(call.report.result, u"text", CVariant(std::string(text)));
  } else if (call.Has("--json")) {
    throw usage_error_t("a binary project cannot stand in JSON; give its file with --out");
  }
  call.report.text += text;
}

}  // namespace utilctl
