#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/mem_file.h"
#include "platform/framework/string_array.h"
#include "util/i18n/interim_ini_internal.h"
#include "util/i18n/language_file_internal.h"

namespace i18n {

namespace {

constexpr char16_t kLanguageSection[] = u"Language";
constexpr char16_t kTextSection[] = u"Texts";

// Decimal digits of a number of 32 bits, and nothing else.
bool ToId(std::u16string_view key, unsigned& id) {
  std::uint64_t number = 0;
  for (const char16_t unit : key) {
    if (unit < u'0' || unit > u'9') return false;
    number = number * 10 + static_cast<unsigned>(unit - u'0');
    if (number > 0xFFFFFFFF) return false;
  }
  id = static_cast<unsigned>(number);
  return !key.empty();
}

void ReadTexts(const CInterimIni& ini, language_file_t& file) {
  CStringArray keys;
  ini.QueryKeys(kTextSection, keys);
  for (int i = 0; i < static_cast<int>(keys.GetSize()); ++i) {
    const CString& key = keys.GetAt(i);
    const std::uint32_t line = ini.GetLine(kTextSection, key);
    language_text_t text{0, {}, line};
    // The document has told already what is wrong with this line.
    const bool isDamaged = std::any_of(ini.GetProblems().begin(), ini.GetProblems().end(),
                                       [line](const CInterimIni::problem_t& problem) { return problem.line == line; });
    if (isDamaged) continue;
    ini.ReadValue(kTextSection, key, text.text);
    if (!ToId(key, text.id)) {
      file.Report(line, "the key is not a number of 32 bits");
    } else if (text.text.GetLength() > kMaxTextUnits) {
      file.Report(line, "the text is longer than " + std::to_string(kMaxTextUnits) + " characters");
    } else {
      file.texts.push_back(std::move(text));
    }
  }
  std::stable_sort(file.texts.begin(), file.texts.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
  const auto isSame = [&file](const language_text_t& a, const language_text_t& b) {
    if (a.id == b.id) file.Report(b.line, "the number " + std::to_string(b.id) + " is given twice");
    return a.id == b.id;
  };
  file.texts.erase(std::unique(file.texts.begin(), file.texts.end(), isSame), file.texts.end());
}

void Parse(const CInterimIni& ini, language_file_t& file) {
  for (const CInterimIni::problem_t& problem : ini.GetProblems()) file.Report(problem.line, problem.what);
  ini.ReadValue(kLanguageSection, u"Name", file.name);
  ini.ReadValue(kLanguageSection, u"Tag", file.tag);
  ReadTexts(ini, file);
}

}  // namespace

const language_text_t* language_file_t::Find(unsigned id) const {
  const auto at = std::lower_bound(texts.begin(), texts.end(), id,
                                   [](const language_text_t& text, unsigned wanted) { return text.id < wanted; });
  return at != texts.end() && at->id == id ? &*at : nullptr;
}

language_file_t ParseLanguageFile(const CString& path, std::string_view utf8) {
  language_file_t file;
  file.path = path;
  CMemFile bytes(std::as_bytes(std::span(utf8)));
  CInterimIni ini;
  ini.Load(&bytes);
  Parse(ini, file);
  return file;
}

language_file_t ReadLanguageFile(const CString& path) {
  language_file_t file;
  file.path = path;
  try {
    CFile bytes(path, CFile::modeRead);
    std::string content(kMaxLanguageFileBytes + 1, '\0');
    content.resize(bytes.Read(content.data(), static_cast<unsigned>(content.size())));
    if (content.size() <= kMaxLanguageFileBytes) return ParseLanguageFile(path, content);
    file.Report(0, "the file is longer than " + std::to_string(kMaxLanguageFileBytes) + " bytes");
  } catch (const CFileException& error) {
    file.Report(0, error.what());
  }
  return file;
}

}  // namespace i18n
