#include "platform/ole/variant_conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

bool ReadType(const std::string& name, VARTYPE& vt) {
  constexpr const char* kNames[] = {"VT_EMPTY", "VT_NULL", "VT_I2",      "VT_I4",  "VT_R4",    "VT_R8",
                                    "VT_CY",    "VT_DATE", "VT_BSTR",    "",       "VT_ERROR", "VT_BOOL",
                                    "",         "",        "VT_DECIMAL", "",       "VT_I1",    "VT_UI1",
                                    "VT_UI2",   "VT_UI4",  "VT_I8",      "VT_UI8", "VT_INT",   "VT_UINT"};
  const auto* const found = std::find(std::begin(kNames), std::end(kNames), name);
  vt = static_cast<VARTYPE>(found - std::begin(kNames));
  return found != std::end(kNames);
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
  status == S_OK ? Read(target, fields[4], expected) : Read(from, fields[1], expected);
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

// ---- Beyond the file

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(VariantChangeType, RefusesWhatDoesNotFitInsteadOfReinterpretingBits) {
  const struct {
    VARTYPE from;
    std::uint64_t bits;
    VARTYPE target;
  } cases[] = {{VT_I1, 0x80, VT_UI1},       {VT_UI1, 0x80, VT_I1},     {VT_I2, 0x8000, VT_UI2},
               {VT_UI2, 0x8000, VT_I2},     {VT_I4, 1U << 31, VT_UI4}, {VT_INT, 1U << 31, VT_UINT},
               {VT_UI4, 1U << 31, VT_I4},   {VT_I8, ~0ULL, VT_UI8},    {VT_UI8, ~0ULL, VT_I8},
               {VT_I8, 1ULL << 32, VT_UI2}, {VT_UI8, 65536, VT_UI2},   {VT_UI8, ~0ULL, VT_CY}};
  for (const auto& c : cases) {
    value_t value, before;
    Read(c.from, std::to_string(c.bits), value);
    Read(c.from, std::to_string(c.bits), before);
    EXPECT_EQ(Change(value, c.target), DISP_E_OVERFLOW) << c.from << " to " << c.target;
    EXPECT_TRUE(Same(value, before)) << c.from << " to " << c.target;
  }
}

TEST(VariantChangeType, TakesNanAsAnOverflowUnlessTheTargetHoldsIt) {
  for (const VARTYPE target :
       {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8, VT_INT, VT_UINT, VT_CY, VT_DATE, VT_DECIMAL}) {
    value_t fromDouble(kNan), fromFloat(static_cast<float>(kNan));
    EXPECT_EQ(Change(fromDouble, target), DISP_E_OVERFLOW) << target;
    EXPECT_EQ(Change(fromFloat, target), DISP_E_OVERFLOW) << target;
  }
  value_t value(kNan);
  EXPECT_EQ(Change(value, VT_R4), S_OK);
  EXPECT_TRUE(std::isnan(value.fltVal));
  EXPECT_EQ(Change(value, VT_R8), S_OK);
  EXPECT_TRUE(std::isnan(value.dblVal));
}

// What a text is as a number: its double, and the same text as a 64-bit integer where that is asked.
TEST(VariantChangeType, ReadsNumbersAsPeopleWriteThem) {
  const struct {
    const char16_t* text;
    double value;  // NaN: refused
  } cases[] = {{u"-$5", -5},      {u"$ -5", -5},       {u"($1,234.50)", -1234.5},
               {u"5 -", -5},      {u"5+", 5},          {u"5 $", 5},
               {u"1,2,3", 123},   {u"1,", 1},          {u"1,000e3", 1e6},
               {u"-.5e+1", -5},   {u"&hfF", 255},      {u"&O17", 15},
               {u" &H0 ", 0},     {u"0e999999999", 0}, {u"1e-999", 0},
               {u"-5-", kNan},    {u"(-5)", kNan},     {u"-(5)", kNan},
               {u"(5", kNan},     {u"5)", kNan},       {u"$5$", kNan},
               {u",5", kNan},     {u"1.2.3", kNan},    {u"1.2,3", kNan},
               {u"5e", kNan},     {u"5e+", kNan},      {u".", kNan},
               {u"-", kNan},      {u"$", kNan},        {u"()", kNan},
               {u"&H", kNan},     {u"&H1G", kNan},     {u"&O8", kNan},
               {u"-&H1", kNan},   {u"- - 5", kNan},    {u"1\u00A0", kNan},
               {u"\u0665", kNan}, {u"\xD835", kNan},   {u"\uFF15", kNan},
               {u"&", kNan}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(std::u16string(c.text)));
    value_t real{std::u16string_view(c.text)}, integer{std::u16string_view(c.text)};
    EXPECT_EQ(Change(real, VT_R8), std::isnan(c.value) ? DISP_E_TYPEMISMATCH : S_OK);
    EXPECT_EQ(Change(integer, VT_I8), std::isnan(c.value) ? DISP_E_TYPEMISMATCH : S_OK);
    if (std::isnan(c.value)) continue;
    EXPECT_EQ(real.dblVal, c.value);
    EXPECT_EQ(integer.llVal, std::llrint(c.value));
  }
}

TEST(VariantChangeType, RoundsATextOnceAtAnyLength) {
  const std::u16string zeros(1'000'000, u'0');
  const struct {
    std::u16string text;
    VARTYPE target;
    std::uint64_t bits;
    HRESULT status = S_OK;
  } cases[] = {
      {u"9223372036854775806.5", VT_I8, 9223372036854775806},
      {u"9223372036854775807.5", VT_I8, 0, DISP_E_OVERFLOW},
      {u"-9223372036854775808.5", VT_I8, 1ULL << 63},
      {u"18446744073709551614.5" + zeros + u"1", VT_UI8, ~0ULL},
      {u"2.5" + zeros, VT_I4, 2},
      {u"2.5" + zeros + u"1", VT_I4, 3},
      {zeros + u"42", VT_I4, 42},
      {u"0." + zeros + u"42e1000002", VT_I4, 42},
      {u"1" + zeros, VT_I4, 0, DISP_E_OVERFLOW},
      {u"1" + zeros + u"e-1000000", VT_R8, std::bit_cast<std::uint64_t>(1.0)},
      {u"9,007,199,254,740,993", VT_R8, std::bit_cast<std::uint64_t>(9007199254740992.0)},
      {u"9,007,199,254,740,993." + zeros + u"1", VT_R8, std::bit_cast<std::uint64_t>(9007199254740994.0)},
      {u"1.00000005960464477539062500", VT_R4, std::bit_cast<std::uint32_t>(1.0F)},  // half-way to the next float
      {u"1.00000005960464477539062500" + zeros + u"1", VT_R4, std::bit_cast<std::uint32_t>(1.00000012F)},
      {u"3.4028235e38", VT_R4, std::bit_cast<std::uint32_t>(std::numeric_limits<float>::max())},
      {u"3.4028236e38", VT_R4, 0, DISP_E_OVERFLOW},
      {u"-1e999", VT_R4, 0, DISP_E_OVERFLOW},
      {u"0.00005" + zeros + u"1", VT_CY, 1},
      {u"0.00005", VT_CY, 0},
      {u"-922,337,203,685,477.5808", VT_CY, 1ULL << 63},
      {u"922337203685477.5808", VT_CY, 0, DISP_E_OVERFLOW},
      {u"&HFFFFFFFFFFFFFFFF", VT_UI8, ~0ULL},
      {u"&H10000000000000000", VT_UI8, 0, DISP_E_OVERFLOW},
      {u"&HFFFF", VT_I2, 0, DISP_E_OVERFLOW}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text.substr(0, 40)));
    value_t value(c.text);
    EXPECT_EQ(Change(value, c.target), c.status);
    if (c.status != S_OK) continue;
    value_t expected;
    Read(c.target, std::to_string(c.bits), expected);
    EXPECT_EQ(value.ullVal, expected.ullVal);
  }
  value_t decimal(u"0.99999999999999999999999999995" + zeros + u"1");
  ASSERT_EQ(Change(decimal, VT_DECIMAL), S_OK);
  ASSERT_EQ(Change(decimal, VT_BSTR), S_OK);
  EXPECT_EQ(SysStringView(decimal.bstrVal), u"1");
}

TEST(VariantChangeType, KnowsOnlyItsOwnTypes) {
  const struct {
    VARTYPE from, target;
    HRESULT status;
  } cases[] = {{VT_VARIANT, VT_VARIANT, S_OK},
               {VT_DISPATCH, VT_DISPATCH, S_OK},
               {VT_VARIANT, VT_I4, DISP_E_TYPEMISMATCH},
               {VT_I4, VT_VARIANT, DISP_E_TYPEMISMATCH},
               {VT_I4, 15, DISP_E_BADVARTYPE},
               {VT_I4, 24, DISP_E_BADVARTYPE},
               {VT_I4, VT_I8 | VT_BYREF, DISP_E_BADVARTYPE},
               {VT_I4, VT_I4 | VT_ARRAY, DISP_E_TYPEMISMATCH},
               {VT_I4 | VT_ARRAY, VT_I4 | VT_ARRAY, DISP_E_TYPEMISMATCH},
               {VT_I4 | VT_ARRAY, VT_EMPTY, DISP_E_TYPEMISMATCH}};
  for (const auto& c : cases) {
    tagVARIANT source{}, result{};
    source.vt = c.from;
    EXPECT_EQ(VariantChangeTypeEx(&result, &source, 0, 0, c.target), c.status) << c.from << " to " << c.target;
    EXPECT_EQ(result.vt, c.status == S_OK ? c.target : VARTYPE{VT_EMPTY});
  }
}

TEST(VariantClear, LeavesArraysToTheirOwner) {
  tagVARIANT array{};
  array.vt = VT_I4 | VT_ARRAY;
  EXPECT_EQ(VariantClear(&array), DISP_E_BADVARTYPE);
  EXPECT_EQ(array.vt, VT_I4 | VT_ARRAY);
}

}  // namespace
