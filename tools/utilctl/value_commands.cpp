// utilctl value: converting and formatting values as the library does.
#include <memory>
#include <string>

#include "platform/framework/string_array.h"
#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/fill.h"
#include "tools/utilctl/vartype_names.h"
#include "util/i18n/message_template.h"
#include "util/json/json_text.h"
#include "util/values/variant.h"
#include "util/values/variant_helpers.h"

namespace utilctl {

namespace json = zorutil::json;

namespace {

VARTYPE GetType(const CCall& call, const char* option) {
  const std::string name = call.Get(option, "BSTR");
  if (const auto type = VartypeFromName(name)) return *type;
  std::string names;
  for (const std::string& each : GetVartypeNames()) names += ' ' + each;
  throw usage_error_t(std::string(option) + ": unknown type \"" + name + "\"; there are" + names +
                      ", and each with \" Array\" behind it");
}

std::string CauseOf(HRESULT result) {
  switch (result) {
    case DISP_E_OVERFLOW: return "the value does not fit into the type";
    case DISP_E_TYPEMISMATCH: return "the text or type cannot be converted to this type";
    default: return "the conversion failed with code " + std::to_string(result);
  }
}

// False, with a problem, when the value has no such form.
bool Convert(CCall& call, CVariant& value, VARTYPE type, bool checkSign) {
  const VARTYPE from = value.vt;
  const HRESULT result = value.ConvertTypeEx(type, 0, checkSign);
  if (result >= 0) return true;
  call.report.Add(
      {"", 0, 0, call.Get("TEXT"), NameOfVartype(from) + " to " + NameOfVartype(type) + ": " + CauseOf(result)});
  return false;
}

// The text as a value of the type; that of an array is a JSON array.
bool Read(CCall& call, VARTYPE type, CVariant& value) {
  const std::string text = call.Get("TEXT");
  value = text;
  if ((type & VT_ARRAY) == 0) return Convert(call, value, type, false);
  std::shared_ptr<json::IValue> parsed;
  const auto error = json::ReadText(text, parsed);
  const auto* const array = dynamic_cast<const json::array_t*>(parsed.get());
  if (error || array == nullptr) {
    call.report.Add({"", 0, 0, text, "expected an array, such as [1, 2, 3]" + (error ? ": " + error.ToString() : "")});
    return false;
  }
  CStringArray texts;
  for (const auto& each : array->elements) {
    const auto* const scalar = dynamic_cast<const json::scalar_t*>(each.get());
    texts.Add(scalar == nullptr ? json::WriteText(*each, {.indent = 0}) : scalar->value.ToString());
  }
  value.Clear();
  variant_helpers::Set(value, texts);
  return Convert(call, value, type, false);
}

void Show(CCall& call, const CVariant& value, const CString& text) {
  // The text of an array ends with a line break of its own.
  call.report.text = (text.Right(2) == u"\r\n" ? text.Left(text.GetLength() - 2) : text).ToUtf8() + '\n';
  AddMember(call.report.result, u"type", CVariant(NameOfVartype(value.vt)));
  AddMember(call.report.result, u"text", CVariant(text));
  AddMember(call.report.result, u"value", value);
}

}  // namespace

exit_t ConvertValue(CCall& call) {
  VARTYPE from = GetType(call, "--from");
  const VARTYPE to = GetType(call, "--to");
  const std::string text = call.Get("TEXT");
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  const bool isArray = first != std::string::npos && text[first] == '[';
  // Text becomes an array as the array of texts that it shows.
  if (!call.Has("--from") && (to & VT_ARRAY) != 0 && isArray) from = VT_ARRAY | VT_BSTR;
  CVariant value;
  if (!Read(call, from, value) || !Convert(call, value, to, call.Has("--check-sign"))) return EXIT_FINDINGS;
  Show(call, value, value.ToString());
  return EXIT_FINE;
}

exit_t FormatValue(CCall& call) {
  CVariant value;
  if (!Read(call, GetType(call, "--type"), value)) return EXIT_FINDINGS;
  CString text;
  if (call.Has("--template")) {
    text = Fill([&] { return i18n::ExpandTemplate(CString(call.Get("--template")), {&value, 1}); });
  } else {
    value.Format(text, call.Has("--full") ? CVariant::FORMAT_FULL : CVariant::FORMAT_NORMAL);
  }
  Show(call, value, text);
  return EXIT_FINE;
}

}  // namespace utilctl
