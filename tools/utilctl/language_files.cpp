#include "tools/utilctl/language_files.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "platform/framework/string_array.h"
#include "platform/zorplatform/ini_file.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/files.h"
#include "util/i18n/language.h"

namespace utilctl {

namespace {

constexpr char kExtension[] = ".lang";
constexpr char kRemark[] = "; Made by utilctl defs compile: changes here are lost.\n";

// The tag in the name of each language file.
std::map<std::string, std::string> FindTags(const std::string& folder, const std::string& stem) {
  std::map<std::string, std::string> files;
  const std::size_t first = stem.size() + 1;
  for (const std::string& name : FindFiles(folder, stem + ".*" + kExtension)) {
    if (name.size() < first + sizeof kExtension) continue;
    const std::string tag = name.substr(first, name.size() - first - (sizeof kExtension - 1));
    if (i18n::LanguageIdFromTag(tag) != 0) files.emplace(tag, JoinPath(folder, name));
  }
  return files;
}

std::string NameOfLanguage(const std::string& tag) {
  for (const i18n::language_t& language : i18n::GetAvailableLanguages()) {
    if (language.tag == tag) return language.name.ToUtf8();
  }
  return tag;
}

}  // namespace

std::string LanguageFileText(const std::string& tag, const std::map<unsigned, CString>& texts) {
  zorplatform::CIniFile file;
  file.FromText(kRemark);
  file.WriteValue(u"Language", u"Name", CString(NameOfLanguage(tag)));
  file.WriteValue(u"Language", u"Tag", CString(tag));
  for (const auto& [number, text] : texts) file.WriteValue(u"Texts", CString(std::to_string(number)), text);
  CString all;
  file.ToText(all);
  return all.ToUtf8();
}

text_table_t ReadLanguageFiles(const std::string& folder, const std::string& stem) {
  text_table_t table;
  for (const auto& [tag, path] : FindTags(folder, stem)) {
    zorplatform::CIniFile file;
    file.Load(FileText(path));
    CStringArray keys;
    file.QueryKeys(u"Texts", keys);
    for (int i = 0; i < keys.GetSize(); ++i) {
      const std::string key = keys.GetAt(i).ToUtf8();
      unsigned number = 0;
      if (std::from_chars(key.data(), key.data() + key.size(), number).ptr != key.data() + key.size()) continue;
      file.ReadValue(u"Texts", keys.GetAt(i), table[tag][number]);
    }
  }
  return table;
}

std::vector<std::string> FindLanguageFiles(const std::string& folder, const std::string& stem, bool isMade) {
  std::vector<std::string> tags;
  for (const auto& [tag, path] : FindTags(folder, stem)) {
    if (ReadWholeFile(path).starts_with(kRemark) == isMade) tags.push_back(tag);
  }
  return tags;
}

CString FindText(const text_table_t& texts, unsigned number, unsigned short language) {
  const std::string tag = i18n::TagFromLanguageId(language);
  for (const std::string& each : {tag, tag.substr(0, tag.find('-')), std::string("en")}) {
    const auto table = texts.find(each);
    if (table == texts.end()) continue;
    const auto text = table->second.find(number);
    if (text != table->second.end()) return text->second;
  }
  return {};
}

void UseLanguageFolder(const std::string& folder) {
  const char* const before = std::getenv("ZORUTIL_LANG_DIR");
  const std::string list = folder + (before == nullptr ? "" : std::string(":") + before);
  setenv("ZORUTIL_LANG_DIR", list.c_str(), 1);
}

}  // namespace utilctl
