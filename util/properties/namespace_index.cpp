#include "util/properties/namespace_index_internal.h"

#include <cstdint>

namespace zorutil::properties {
namespace {

void ReadLine(std::string_view line, namespace_map_t& map) {
  std::uint32_t number = 0;
  std::size_t at = 0;
  for (; at < line.size() && line[at] >= '0' && line[at] <= '9'; ++at) {
    number = number * 10 + static_cast<std::uint32_t>(line[at] - '0');
  }
  const std::string_view names = at < line.size() ? line.substr(at + 1) : std::string_view();
  const std::size_t comma = names.find(',');
  metadata_t entry;
  entry.fileName = CString(names.substr(0, comma));
  entry.namespaceName = comma == std::string_view::npos ? entry.fileName : CString(names.substr(comma + 1));
  map.emplace(static_cast<int>(number), std::move(entry));
}

}  // namespace

std::string MakeIndexLine(int number, const CString& fileName, const CString& namespaceName) {
  std::string line = std::to_string(number) + "=" + fileName.ToUtf8();
  if (fileName.CompareNoCase(namespaceName) != 0) line += "," + namespaceName.ToUtf8();
  return line + "\r\n";
}

namespace_map_t ReadIndexText(std::string_view text) {
  namespace_map_t map;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!line.empty()) ReadLine(line, map);
  }
  return map;
}

}  // namespace zorutil::properties
