#include "platform/ole/variant_conversion.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "platform/ole/string.h"

namespace {

// A record that frees its string; made from a value, it is of the value's type.
struct value_t : tagVARIANT {
  value_t() : tagVARIANT{} {}
  explicit value_t(double value) : value_t() { vt = VT_R8, dblVal = value; }
  explicit value_t(float value) : value_t() { vt = VT_R4, fltVal = value; }
  explicit value_t(std::int32_t value) : value_t() { vt = VT_I4, lVal = value; }
  explicit value_t(std::u16string_view text) : value_t() {
    vt = VT_BSTR;
    bstrVal = SysAllocStringLen(text.data(), static_cast<std::uint32_t>(text.size()));
  }
  value_t(const value_t&) = delete;
  ~value_t() { VariantClear(this); }
};

HRESULT Change(tagVARIANT& value, VARTYPE target) { return VariantChangeTypeEx(&value, &value, 0, 0, target); }

// ---- The file of reference results

struct type_name_t {
  const char* name;
  VARTYPE vt;
};
constexpr type_name_t kTypes[] = {
    {"VT_EMPTY", VT_EMPTY}, {"VT_NULL", VT_NULL},       {"VT_I2", VT_I2},     {"VT_I4", VT_I4},
    {"VT_R4", VT_R4},       {"VT_R8", VT_R8},           {"VT_CY", VT_CY},     {"VT_DATE", VT_DATE},
    {"VT_BSTR", VT_BSTR},   {"VT_ERROR", VT_ERROR},     {"VT_BOOL", VT_BOOL}, {"VT_I1", VT_I1},
    {"VT_UI1", VT_UI1},     {"VT_DECIMAL", VT_DECIMAL}, {"VT_UI2", VT_UI2},   {"VT_UI4", VT_UI4},
    {"VT_I8", VT_I8},       {"VT_UI8", VT_UI8},         {"VT_INT", VT_INT},   {"VT_UINT", VT_UINT}};

bool ReadType(const std::string& name, VARTYPE& vt) {
  for (const auto& type : kTypes) {
    if (name == type.name) return vt = type.vt, true;
  }
  return false;
}

std::u16string Unescape(const std::string& quoted) {
  std::u16string text;
  for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
    char unit = quoted[i];
    if (unit == '\\') unit = quoted[++i] == 't' ? '\t' : quoted[i] == 'n' ? '\n' : quoted[i] == 'r' ? '\r' : '\\';
    text += static_cast<char16_t>(unit);
  }
  return text;
}

DECIMAL ReadDecimal(const std::string& text) {
  unsigned scale = 0, sign = 0, high = 0;
  unsigned long long low = 0;
  std::sscanf(text.c_str(), "dec:%u:%u:%8x%16llx", &scale, &sign, &high, &low);
  return {VT_DECIMAL, static_cast<std::uint8_t>(scale), static_cast<std::uint8_t>(sign), high, low};
}

void Read(VARTYPE vt, const std::string& text, value_t& out) {
  out.vt = vt;
  const auto bits = std::strtoull(text.c_str(), nullptr, 0);
  switch (vt) {
    case VT_EMPTY:
    case VT_NULL: break;
    case VT_BSTR: out.bstrVal = text == "null" ? nullptr : SysAllocString(Unescape(text).c_str()); break;
    case VT_DECIMAL: SetDecimal(out, ReadDecimal(text)); break;
    case VT_I1:
    case VT_UI1: out.bVal = static_cast<std::uint8_t>(bits); break;
    case VT_I2:
    case VT_BOOL:
    case VT_UI2: out.uiVal = static_cast<std::uint16_t>(bits); break;
    case VT_I8:
    case VT_UI8:
    case VT_CY:
    case VT_R8:
    case VT_DATE: out.ullVal = bits; break;
    default: out.ulVal = static_cast<std::uint32_t>(bits); break;
  }
}

// The whole record, the unused bytes included; strings by content, a null string being none.
bool Same(const tagVARIANT& a, const tagVARIANT& b) {
  if (a.vt != VT_BSTR || b.vt != VT_BSTR) return std::memcmp(&a, &b, sizeof a) == 0;
  return (a.bstrVal == nullptr) == (b.bstrVal == nullptr) && SysStringView(a.bstrVal) == SysStringView(b.bstrVal);
}

std::vector<std::string> SplitAtTabs(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char unit : line) unit == '\t' ? fields.emplace_back() : fields.back() += unit;
  return fields;
}

// Once into another record, once in place, where a failure must leave the source.
std::string CheckRow(const std::vector<std::string>& fields) {
  VARTYPE from = 0, target = 0;
  if (fields.size() != 5 || !ReadType(fields[0], from) || !ReadType(fields[2], target)) return "unreadable";
  const auto status = static_cast<HRESULT>(std::strtoul(fields[3].c_str(), nullptr, 16));
  value_t source, expected, result(7), inPlace;
  Read(from, fields[1], source);
  Read(from, fields[1], inPlace);
  if (status == S_OK) {
    Read(target, fields[4], expected);
  } else {
    VariantCopy(&expected, &inPlace);
  }
  const HRESULT got = VariantChangeTypeEx(&result, &source, 0, 0, target);
  if (got != status) {
    char text[32];
    std::snprintf(text, sizeof text, "status %08x", static_cast<unsigned>(got));
    return text;
  }
  if (!Same(result, status == S_OK ? static_cast<const tagVARIANT&>(expected) : value_t(7))) return "wrong value";
  return Change(inPlace, target) == status && Same(inPlace, expected) ? "" : "differs in place";
}

TEST(VariantChangeType, GivesTheReferenceResultOfEveryRow) {
  std::ifstream file(ZORUTIL_SOURCE_DIR "/tests/data/ole_conversions.tsv");
  int rows = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    ++rows;
    const std::string fault = CheckRow(SplitAtTabs(line));
    if (!fault.empty()) ADD_FAILURE() << line << ": " << fault;
  }
  EXPECT_EQ(rows, 7928);
}

}  // namespace
