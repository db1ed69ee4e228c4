#include "examples/gateway/gateway_options.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "platform/framework/string_array.h"
#include "util/i18n/language.h"

namespace gateway {

void CGatewayOptions::QueryKeys(CStringArray& keys) const {
  for (const setting_t& setting : kSettings) keys.Add(setting.key);
}

// Empty when the value will do.
std::string CGatewayOptions::WhatIsExpected(const CString& key, const std::string& value) {
  const auto setting = std::find_if(std::begin(kSettings), std::end(kSettings),
                                    [&](const setting_t& each) { return key.CompareNoCase(each.key) == 0; });
  if (setting == std::end(kSettings)) return "the gateway knows no such setting";
  if (value.empty()) return {};  // the default
  if (setting->most != 0) {
    std::uint32_t number = 0;
    const char* const end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, number);
    if (stop == end && error == std::errc() && number >= setting->least && number <= setting->most) return {};
    return "expected a number, " + std::to_string(setting->least) + " to " + std::to_string(setting->most);
  }
  if (setting->key == kLanguage && i18n::LanguageIdFromTag(value) == 0) return "expected a language, such as de";
  return {};
}

std::vector<std::string> CGatewayOptions::Check(const CIniFile& document, const std::string& file) const {
  std::vector<std::string> problems;
  for (const zorplatform::ini_problem_t& each : document.GetProblems()) {
    problems.push_back(file + ':' + std::to_string(each.line) + ':' + std::to_string(each.column) + ": " + each.what);
  }
  CString text;
  document.ToText(text);
  if (!text.View().ends_with(u'\n')) problems.push_back(file + ": cut: the last line has no end");
  CStringArray keys;
  document.QueryKeys(GetSection(), keys);
  for (const CString& key : keys) {
    CString value;
    document.ReadValue(GetSection(), key, value);
    const std::string expected = WhatIsExpected(key, value.ToUtf8());
    if (expected.empty()) continue;
    problems.push_back(file + ':' + std::to_string(document.GetLine(GetSection(), key)) + ": [" +
                       GetSection().ToUtf8() + "] " + key.ToUtf8() + ": '" + value.ToUtf8() + "': " + expected);
  }
  return problems;
}

}  // namespace gateway
