// An index of any bytes is read to its end; the lines that are written of what was read give the same entries again,
// where the index can say them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "util/properties/definition_writer.h"
#include "util/properties/namespace_index_internal.h"

namespace {

void Require(bool claim) {
  if (!claim) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zorutil::properties;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const namespace_map_t map = ReadIndexText(text);

  std::string lines;
  namespace_map_t written;
  for (const auto& [number, entry] : map) {
    Require(entry.fileName.FindOneOf(u",\n") < 0 && entry.namespaceName.Find(u'\n') < 0);
    if (number < 0 || !IsIndexable(entry.fileName) || entry.namespaceName.FindOneOf(u"\r\n") >= 0) continue;
    lines += MakeIndexLine(number, entry.fileName, entry.namespaceName);
    written.emplace(number, entry);
  }
  const namespace_map_t again = ReadIndexText(lines);
  Require(again.size() == written.size());
  for (const auto& [number, entry] : again) {
    Require(entry.fileName == written.at(number).fileName);
    Require(entry.namespaceName.CompareNoCase(written.at(number).namespaceName) == 0);
  }
  return 0;
}
