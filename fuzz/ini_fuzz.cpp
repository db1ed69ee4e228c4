// Any bytes are an INI document: it is saved as it came, every name that it lists is found, and a value that is written
// is read back after a reload, with every other value as it was.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/framework/mem_file.h"
#include "platform/framework/string_array.h"
#include "platform/zorplatform/ini_file.h"

namespace {

constexpr std::size_t kWritten = 4;  // keys of one document, and as many that are new

using bytes_t = std::vector<std::byte>;
using values_t = std::map<std::pair<std::u16string, std::u16string>, std::u16string>;

void Require(bool claim) {
  if (!claim) std::abort();
}

CIniFile Loaded(std::span<const std::byte> bytes) {
  CMemFile file(bytes);
  CIniFile ini;
  ini.Load(&file);
  Require(!ini.IsModified());
  return ini;
}

bytes_t Saved(CIniFile ini) {
  CMemFile file;
  ini.Save(&file);
  return {file.GetContent().begin(), file.GetContent().end()};
}

std::u16string Text(const CString& text) { return std::u16string(text.View()); }

values_t ValuesOf(const CIniFile& ini) {
  values_t values;
  CStringArray sections, keys;
  CString value;
  ini.QuerySections(sections);
  for (const CString& section : sections) {
    ini.QueryKeys(section, keys);
    for (const CString& key : keys) {
      Require(ini.ReadValue(section, key, value) && ini.GetLine(section, key) != 0);
      Require(values.emplace(std::pair(Text(section), Text(key)), Text(value)).second);
    }
  }
  return values;
}

// Text from the bytes, as a caller could give it: without a NUL.
std::u16string Taken(std::span<const std::byte>& bytes, std::size_t most) {
  std::u16string text;
  while (bytes.size() >= 2 && text.size() < most) {
    const auto high = static_cast<unsigned>(bytes[0]), low = static_cast<unsigned>(bytes[1]);
    bytes = bytes.subspan(2);
    const auto unit = static_cast<char16_t>(high % 3 == 0 ? high << 8 | low : low);  // ASCII and more
    if (unit == 0) break;
    text += unit;
  }
  return text;
}

void Write(CIniFile& ini, values_t& values, const std::u16string& section, const std::u16string& key,
           const std::u16string& value, bool mustTake) {
  const bytes_t before = Saved(ini);
  if (!ini.WriteValue(section.c_str(), key.c_str(), value.c_str())) {
    Require(!mustTake && Saved(ini) == before);
    return;
  }
  CString read;
  Require(ini.ReadValue(section.c_str(), key.c_str(), read) && read.View() == value);
  // A new key stands under its own name, one that is there under the first spelling of its.
  const values_t after = ValuesOf(ini);
  Require(after == ValuesOf(Loaded(Saved(ini))));
  std::size_t changed = 0;
  for (const auto& [name, now] : after) {
    const auto old = values.find(name);
    if (old != values.end() && old->second == now) continue;
    Require(++changed == 1 && now == value);
  }
  Require(after.size() - values.size() <= 1);
  values = after;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  CIniFile ini = Loaded(bytes);
  Require(Saved(ini) == bytes_t(bytes.begin(), bytes.end()));
  Require(ini.GetProblems().size() <= 1000);
  values_t values = ValuesOf(ini);

  CString text, again;
  ini.ToText(text);
  CIniFile fromText;
  fromText.FromText(text);
  if (text.IsEmpty() || text[0] != u'\uFEFF') {
    fromText.ToText(again);
    Require(again == text && ValuesOf(fromText) == values);
  }

  std::span<const std::byte> rest = bytes;
  std::vector<std::pair<std::u16string, std::u16string>> names;
  for (const auto& [name, value] : values) {
    if (names.size() < kWritten) names.push_back(name);
  }
  for (const auto& [section, key] : names) Write(ini, values, section, key, Taken(rest, 12), true);
  for (std::size_t i = 0; i < kWritten; ++i) {
    const std::u16string section = Taken(rest, i % 4), key = Taken(rest, 3);
    Write(ini, values, section, key, Taken(rest, 12), false);
  }
  for (const auto& [section, key] : names) {
    const bytes_t before = Saved(ini);
    Require(ini.DeleteValue(section.c_str(), key.c_str()) && !ini.DeleteValue(section.c_str(), key.c_str()));
    values.erase({section, key});
    Require(ValuesOf(ini) == values && ValuesOf(Loaded(Saved(ini))) == values &&
            Saved(ini).size() <= before.size() + 3);
    if (section.empty()) continue;
    Require(ini.DeleteSection(section.c_str()));
    std::erase_if(values, [&, &name = section](const auto& value) { return value.first.first == name; });
    Require(ValuesOf(ini) == values && ValuesOf(Loaded(Saved(ini))) == values);
    break;
  }
  return 0;
}
