#include "tools/utilctl/vartype_names.h"

#include <algorithm>
#include <iterator>

#include "platform/framework/cstring.h"
#include "util/values/data_type.h"
#include "util/values/variant.h"

namespace utilctl {

namespace {

struct row_t {
  VARTYPE type;
  const char* name;
};
constexpr row_t kTypes[] = {{VT_EMPTY, "EMPTY"}, {VT_NULL, "NULL"},   {VT_I2, "I2"},     {VT_I4, "I4"},
                            {VT_R4, "R4"},       {VT_R8, "R8"},       {VT_CY, "CY"},     {VT_DATE, "DATE"},
                            {VT_BSTR, "BSTR"},   {VT_ERROR, "ERROR"}, {VT_BOOL, "BOOL"}, {VT_DECIMAL, "DECIMAL"},
                            {VT_I1, "I1"},       {VT_UI1, "UI1"},     {VT_UI2, "UI2"},   {VT_UI4, "UI4"},
                            {VT_I8, "I8"},       {VT_UI8, "UI8"},     {VT_INT, "INT"},   {VT_UINT, "UINT"}};
constexpr std::u16string_view kArray = u" Array";

bool IsSame(const CString& a, const CString& b) { return a.CompareNoCase(b) == 0; }

}  // namespace

std::optional<VARTYPE> VartypeFromName(std::string_view name) {
  CString text(name);
  if (const DATATYPE type = CDataType::TypeFromText(text); type != DT_DEFAULT) return CVariant::ConvertDataType(type);
  if (IsSame(text.Left(3), u"VT_")) text = text.Mid(3);
  VARTYPE flags = 0;
  const int arrayAt = text.GetLength() - static_cast<int>(kArray.size());
  if (arrayAt > 0 && IsSame(text.Mid(arrayAt), kArray)) {
    flags = VT_ARRAY;
    text = text.Left(arrayAt);
  }
  const auto* const row =
      std::find_if(std::begin(kTypes), std::end(kTypes), [&](const row_t& r) { return IsSame(text, r.name); });
  if (row == std::end(kTypes) || (flags != 0 && CVariant::SizeOf(row->type) == 0)) return std::nullopt;
  return static_cast<VARTYPE>(row->type | flags);
}

std::string NameOfVartype(VARTYPE type) {
  const auto* const row =
      std::find_if(std::begin(kTypes), std::end(kTypes), [&](const row_t& r) { return r.type == (type & ~VT_ARRAY); });
  const std::string name = row == std::end(kTypes) ? std::to_string(type & ~VT_ARRAY) : row->name;
  return (type & VT_ARRAY) != 0 ? name + " Array" : name;
}

std::vector<std::string> GetVartypeNames() {
  std::vector<std::string> names;
  for (const row_t& row : kTypes) names.emplace_back(row.name);
  for (int type = DT_STRING; type <= DT_QWORD; ++type) {
    names.push_back(CString(CDataType::TextFromType(static_cast<DATATYPE>(type))).ToUtf8());
  }
  return names;
}

}  // namespace utilctl
