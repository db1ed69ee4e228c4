#include "platform/registry/value.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace registry {

namespace {

struct type_name_t {
  type_t type;
  const char* name;
};
constexpr type_name_t kTypes[] = {{REG_SZ, "REG_SZ"},
                                  {REG_EXPAND_SZ, "REG_EXPAND_SZ"},
                                  {REG_BINARY, "REG_BINARY"},
                                  {REG_DWORD, "REG_DWORD"},
                                  {REG_MULTI_SZ, "REG_MULTI_SZ"}};

void AppendUnits(std::vector<std::uint8_t>& data, std::u16string_view units) {
  for (const char16_t unit : units) {
    data.push_back(static_cast<std::uint8_t>(unit));
    data.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
}

void AppendTerminated(std::vector<std::uint8_t>& data, std::u16string_view text) {
  AppendUnits(data, text);
  data.insert(data.end(), 2, std::uint8_t{0});
}

// The units of data that ends in a NUL, which is not among them; nothing when it does not, or is half a unit too long.
std::optional<std::u16string> Units(const std::vector<std::uint8_t>& data) {
  if (data.size() % 2 != 0 || data.size() < 2 || data.back() != 0 || data[data.size() - 2] != 0) return std::nullopt;
  std::u16string units(data.size() / 2 - 1, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) units[i] = static_cast<char16_t>(data[2 * i] | data[2 * i + 1] << 8);
  return units;
}

}  // namespace

const char* GetTypeName(std::uint32_t type) noexcept {
  const auto* const found = std::ranges::find(kTypes, type, &type_name_t::type);
  return found == std::end(kTypes) ? nullptr : found->name;
}

std::optional<type_t> FindType(std::string_view name) noexcept {
  const auto* const found = std::ranges::find(kTypes, name, &type_name_t::name);
  return found == std::end(kTypes) ? std::nullopt : std::optional(found->type);
}

value_t value_t::FromDword(std::uint32_t number) {
  value_t value{REG_DWORD, {}};
  for (int shift = 0; shift < 32; shift += 8) value.data.push_back(static_cast<std::uint8_t>(number >> shift));
  return value;
}

value_t value_t::FromBinary(std::span<const std::uint8_t> bytes) { return {REG_BINARY, {bytes.begin(), bytes.end()}}; }

value_t value_t::FromText(std::u16string_view text, type_t textType) {
  value_t value{textType, {}};
  value.data.reserve(2 * text.size() + 2);
  AppendTerminated(value.data, text);
  return value;
}

std::optional<value_t> value_t::FromList(std::span<const CString> texts) {
  value_t value{REG_MULTI_SZ, {}};
  for (const CString& text : texts) {
    if (text.IsEmpty() || text.Find(u'\0') >= 0) return std::nullopt;
    AppendTerminated(value.data, text);
  }
  AppendTerminated(value.data, {});
  return value;
}

bool value_t::ToDword(std::uint32_t& number) const noexcept {
  if (type != REG_DWORD || data.size() != 4) return false;
  number = data[0] | data[1] << 8 | data[2] << 16 | static_cast<std::uint32_t>(data[3]) << 24;
  return true;
}

bool value_t::ToText(CString& text) const {
  if (type != REG_SZ && type != REG_EXPAND_SZ) return false;
  if (data.empty()) {
    text.Empty();
    return true;
  }
  const std::optional<std::u16string> units = Units(data);
  if (!units || units->size() > CString::kMaxLength) return false;
  text = std::u16string_view(*units);
  return true;
}

bool value_t::ToList(std::vector<CString>& texts) const {
  if (type != REG_MULTI_SZ) return false;
  std::vector<CString> found;
  if (!data.empty()) {
    const std::optional<std::u16string> units = Units(data);
    if (!units) return false;
    for (std::u16string_view rest = *units; !rest.empty();) {
      const std::size_t end = rest.find(u'\0');
      if (end == 0 || end == std::u16string_view::npos) return false;
      found.emplace_back(rest.substr(0, end));
      rest.remove_prefix(end + 1);
    }
  }
  texts = std::move(found);
  return true;
}

}  // namespace registry
