#include "tools/utilctl/project_input.h"

#include <optional>
#include <utility>
#include <vector>

#include "tools/utilctl/files.h"

namespace utilctl {

namespace project = zorutil::project;

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
    call.report.Add({path, error.line, error.column, error.path.ToUtf8(),
                     error.message->GetMessageText(call.GetLanguage()).ToUtf8()});
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
