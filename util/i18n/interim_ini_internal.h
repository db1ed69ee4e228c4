// The few calls of zorplatform::CIniFile that language files need, for plain lines only, until that class is there.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/framework/cstring.h"
#include "platform/framework/mem_file.h"
#include "platform/framework/string_array.h"

namespace i18n {

class CInterimIni {
 public:
  struct problem_t {
    std::uint32_t line;
    std::uint32_t column;
    std::string what;
  };
  void Load(CMemFile* file) {
    const auto bytes = file->GetContent();
    std::string_view rest(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    CString section;
    for (std::uint32_t number = 1; !rest.empty(); ++number) {
      const std::size_t end = std::min(rest.find('\n'), rest.size());
      CString line(rest.substr(0, end));
      rest.remove_prefix(std::min(end + 1, rest.size()));
      line.Trim();
      const int equals = line.Find(u'=');
      if (line.IsEmpty() || line[0] == u';' || line[0] == u'#') continue;
      if (line[0] == u'[') {
        section = line.Mid(1, line.GetLength() - 2);
      } else if (equals > 0) {
        lines_.push_back({section, line.Left(equals).Trim(), line.Mid(equals + 1).Trim(), number});
      } else {
        problems_.push_back({number, 1, "no = behind the key"});
      }
    }
  }
  const std::vector<problem_t>& GetProblems() const { return problems_; }
  void QueryKeys(const char16_t* section, CStringArray& keys) const {
    for (const line_t& line : lines_) {
      if (line.section == section) keys.Add(line.key);
    }
  }
  bool ReadValue(const char16_t* section, const char16_t* key, CString& value) const {
    const line_t* const line = Find(section, key);
    if (line != nullptr) value = line->value;
    return line != nullptr;
  }
  std::uint32_t GetLine(const char16_t* section, const char16_t* key) const {
    const line_t* const line = Find(section, key);
    return line == nullptr ? 0 : line->number;
  }

 private:
  struct line_t {
    CString section, key, value;
    std::uint32_t number;
  };
  const line_t* Find(const char16_t* section, const char16_t* key) const {
    for (const line_t& line : lines_) {
      if (line.section == section && line.key == key) return &line;
    }
    return nullptr;
  }
  std::vector<line_t> lines_;
  std::vector<problem_t> problems_;
};

}  // namespace i18n
