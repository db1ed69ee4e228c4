// For tests: values written as short texts, so that a case of a table stays one line.
//
//   Value("i4:-5")   Value("r8:nan")   Value("s:text")   Value("[i4:1 2 3]")
//
// Types: i1 to i8, ui1 to ui8, i, ui, r4, r8, date, cy (in ten-thousandths), bool, err, s, and null; "" is VT_EMPTY.
// "[i4]" has no elements, "{i4}" is a null array, "~" a null string. Numbers as strtod and strtoll read them.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/framework/rows_testing.h"
#include "platform/text/classic_locale_testing.h"
#include "util/values/safe_array.h"
#include "util/values/variant.h"

namespace value_testing {

inline VARTYPE TypeOf(const std::string& name) {
  static const std::map<std::string, VARTYPE> types = {
      {"", VT_EMPTY},  {"null", VT_NULL}, {"i1", VT_I1},     {"ui1", VT_UI1},   {"i2", VT_I2},
      {"ui2", VT_UI2}, {"i4", VT_I4},     {"ui4", VT_UI4},   {"i8", VT_I8},     {"ui8", VT_UI8},
      {"i", VT_INT},   {"ui", VT_UINT},   {"r4", VT_R4},     {"r8", VT_R8},     {"date", VT_DATE},
      {"cy", VT_CY},   {"s", VT_BSTR},    {"err", VT_ERROR}, {"bool", VT_BOOL}, {"var", VT_VARIANT}};
  return types.at(name);
}

inline CVariant Scalar(VARTYPE vt, const std::string& text) {
  if (vt == VT_BSTR && text != "~") return CVariant(text);
  CVariant value;
  value.vt = vt;
  const long long number = std::strtoll(text.c_str(), nullptr, 0);
  switch (vt) {
    case VT_R4: value.fltVal = classic_testing::Float(text); break;
    case VT_R8:
    case VT_DATE: value.dblVal = classic_testing::Double(text); break;
    case VT_UI8: value.ullVal = std::strtoull(text.c_str(), nullptr, 0); break;
    case VT_BOOL: value.boolVal = number != 0 ? VARIANT_TRUE : VARIANT_FALSE; break;
    case VT_ERROR: value.scode = static_cast<SCODE>(number); break;
    default: {
      const std::size_t size = vt == VT_BSTR ? 0 : CVariant::SizeOf(vt);
      const std::size_t skipped = std::endian::native == std::endian::big ? sizeof number - size : 0;
      std::memcpy(&value.ullVal, reinterpret_cast<const char*>(&number) + skipped, size);
    }
  }
  return value;
}

inline CVariant Value(std::string text) {
  const char bracket = text.empty() ? '\0' : text[0];
  const bool isArray = bracket == '[' || bracket == '{';
  if (isArray) text = text.substr(1, text.size() - 2);
  const std::size_t colon = std::min(text.find(':'), text.size());
  const VARTYPE vt = TypeOf(text.substr(0, colon));
  const std::string rest = colon < text.size() ? text.substr(colon + 1) : "";
  if (!isArray) return Scalar(vt, rest);
  CVariant array;
  array.vt = static_cast<VARTYPE>(vt | VT_ARRAY);
  if (bracket == '{') return array;
  std::istringstream words(rest);
  std::vector<CVariant> elements;
  for (std::string word; words >> word;) elements.push_back(vt == VT_VARIANT ? Value(word) : Scalar(vt, word));
  array = CVariant(static_cast<unsigned>(elements.size()), vt, nullptr);
  for (unsigned i = 0; i < elements.size(); ++i) {
    if (elements[i].vt != VT_BSTR || elements[i].bstrVal != nullptr) array.GetArray()->SetElement(i, elements[i]);
  }
  return array;
}

using rows_testing::Rows;

}  // namespace value_testing
