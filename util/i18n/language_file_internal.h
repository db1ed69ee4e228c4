// One language file, read whole: its texts, and what is wrong with it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/framework/cstring.h"
#include "util/i18n/language_module.h"

namespace i18n {

/// A longer file is not read, and a longer text not used: both are no texts for people.
inline constexpr std::uint64_t kMaxLanguageFileBytes = 4 << 20;
inline constexpr int kMaxTextUnits = 16 * 1024;

struct language_text_t {
  unsigned id;
  CString text;
  std::uint32_t line;
};

struct language_file_t {
  CString path;
  CString name;  ///< the language's name in itself
  CString tag;
  std::vector<language_text_t> texts;  ///< rising numbers, each once
  std::vector<language_problem_t> problems;

  const language_text_t* Find(unsigned id) const;
  void Report(std::uint32_t line, std::string what) { problems.push_back({path, line, std::move(what)}); }
};

/// Any bytes are taken; what cannot be used is reported. `path` is for the reports.
language_file_t ParseLanguageFile(const CString& path, std::string_view utf8);
/// A file that cannot be read has no texts, and says why.
language_file_t ReadLanguageFile(const CString& path);

}  // namespace i18n
