// utilctl json: checking, formatting and patching JSON text.
#include <charconv>
#include <memory>
#include <string>

#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/files.h"
#include "util/json/json_text.h"
#include "util/json/patch.h"

namespace utilctl {

namespace json = zorutil::json;

namespace {

// A text is one value, or several objects one behind another.
struct document_t {
  std::shared_ptr<json::IValue> value;
  json::root_t objects;  ///< where there is no value

  std::string Write(const json::write_options_t& options, bool asArray) const {
    if (value != nullptr) return json::WriteText(*value, options) + '\n';
    return (asArray ? json::WriteTextAsArray(objects, options) : json::WriteText(objects, options)) + '\n';
  }
};

bool ReadDocument(CCall& call, const std::string& path, document_t& document) {
  const std::string text = ReadWholeFile(path);
  json::text_error_t error = json::ReadText(text, document.value);
  if (!error) return true;
  if (const auto other = json::ReadText(text, document.objects)) {
    // The reading that came further knows what was meant.
    if (other.offset > error.offset) error = other;
  } else if (document.objects.objects.size() > 1) {
    return true;
  }
  call.report.Add({path, error.line, error.column, "", error.cause});
  return false;
}

json::write_options_t GetOptions(const CCall& call) {
  json::write_options_t options;
  const std::string indent = call.Get("--indent", "2");
  const auto got = std::from_chars(indent.data(), indent.data() + indent.size(), options.indent);
  if (got.ec != std::errc() || got.ptr != indent.data() + indent.size() || options.indent < 0 || options.indent > 16) {
    throw usage_error_t("--indent: expected a number from 0 to 16");
  }
  return options;
}

void Deliver(CCall& call, const std::string& path, std::string text) {
  if (call.Has("--in-place")) {
    if (path == "-") throw usage_error_t("--in-place: standard input has no place");
    ReplaceWholeFile(path, text);
  } else {
    AddMember(call.report.result, u"text", CVariant(text));
    call.report.text += text;
  }
}

}  // namespace

exit_t CheckJson(CCall& call) {
  for (const std::string& path : call.GetAll("FILE")) {
    document_t document;
    if (ReadDocument(call, path, document)) call.report.text += path + ": fine\n";
  }
  return call.GetExit();
}

exit_t FormatJson(CCall& call) {
  const json::write_options_t options = GetOptions(call);
  const std::string path = call.Get("FILE");
  document_t document;
  if (!ReadDocument(call, path, document)) return EXIT_FINDINGS;
  Deliver(call, path, document.Write(options, call.Has("--array")));
  return EXIT_FINE;
}

exit_t PatchJson(CCall& call) {
  const std::string path = call.Get("FILE");
  const std::string patchPath = call.Get("PATCH");
  const json::write_options_t options = GetOptions(call);
  document_t document;
  document_t patch;
  const bool isRead = ReadDocument(call, path, document);
  if (!ReadDocument(call, patchPath, patch) || !isRead) return EXIT_FINDINGS;
  if (patch.value == nullptr) {
    call.report.Add({patchPath, 0, 0, "", "a patch is one array of operations"});
    return EXIT_FINDINGS;
  }
  if (document.value == nullptr) {
    call.report.Add({path, 0, 0, "", "there are several objects; a patch needs a document of exactly one value"});
    return EXIT_FINDINGS;
  }
  if (const auto error = json::ApplyPatch(*patch.value, document.value)) {
    const std::string place = error.operation == 0 ? "" : "operation " + std::to_string(error.operation);
    const std::string at = error.path.IsEmpty() ? "" : (place.empty() ? "" : ", ") + error.path.ToUtf8();
    call.report.Add({patchPath, 0, 0, place + at, error.cause});
    return EXIT_FINDINGS;
  }
  Deliver(call, path, document.Write(options, false));
  return EXIT_FINE;
}

}  // namespace utilctl
