#include "platform/zorplatform/user_dirs_internal.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace zorplatform::user_dirs {
namespace {

void SkipBlanks(std::string_view& text) { text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size())); }

bool Take(std::string_view& text, std::string_view part) {
  if (!text.starts_with(part)) return false;
  text.remove_prefix(part.size());
  return true;
}

// The path of one line; empty for one that gives none.
std::string Parse(std::string_view line, std::string_view name, std::string_view home) {
  SkipBlanks(line);
  if (!Take(line, name)) return {};
  SkipBlanks(line);
  if (!Take(line, "=")) return {};
  SkipBlanks(line);
  if (!Take(line, "\"")) return {};
  std::string path;
  if (Take(line, "$HOME")) {
    if (home.empty() || !(line.starts_with('/') || line.starts_with('"'))) return {};
    path = home;
  } else if (!line.starts_with('/')) {
    return {};
  }
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '"') return path;
    if (line[i] == '\\' && ++i == line.size()) break;
    if (line[i] == '\0') break;
    path += line[i];
  }
  return {};  // without its second quotation mark
}

}  // namespace

std::string Find(std::string_view fileText, std::string_view name, std::string_view home) {
  std::string found;
  while (!fileText.empty()) {
    const std::size_t end = std::min(fileText.find('\n'), fileText.size());
    if (std::string path = Parse(fileText.substr(0, end), name, home); !path.empty()) found = std::move(path);
    fileText.remove_prefix(std::min(end + 1, fileText.size()));
  }
  return found;
}

}  // namespace zorplatform::user_dirs
