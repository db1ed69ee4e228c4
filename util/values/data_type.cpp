#include "util/values/data_type.h"

#include <cfloat>
#include <iterator>

#include "platform/ole/ole_types.h"
#include "platform/text/collation.h"
#include "util/values/variant.h"
#include "util/values/vartype_internal.h"

namespace {

struct type_row_t {
  const char16_t* name;
  const char16_t* arrayName;
  VARTYPE vt;
  int size;
  double lowest;
  double highest;
};

// One row for each type, in the order of the enumeration from DT_STRING on.
constexpr type_row_t kTypes[] = {
    {u"String", u"String Array", VT_BSTR, 0, 0, 0},
    {u"Boolean", u"Boolean Array", VT_BOOL, 2, 0, 1},
    {u"Char", u"Char Array", VT_I1, 1, -128, 127},
    {u"Byte", u"Byte Array", VT_UI1, 1, 0, 255},
    {u"Short", u"Short Array", VT_I2, 2, -32768, 32767},
    {u"Word", u"Word Array", VT_UI2, 2, 0, 65535},
    {u"Long", u"Long Array", VT_I4, 4, -2147483648.0, 2147483647},
    {u"DWord", u"DWord Array", VT_UI4, 4, 0, 4294967295},
    {u"Float", u"Float Array", VT_R4, 4, -FLT_MAX, FLT_MAX},
    {u"Double", u"Double Array", VT_R8, 8, -DBL_MAX, DBL_MAX},
    {u"BCD", u"BCD Array", VT_UI2, 2, 0, 9999},
    {u"LBCD", u"LBCD Array", VT_UI4, 4, 0, 99999999},
    {u"Date", u"Date Array", VT_DATE, 8, -DBL_MAX, DBL_MAX},
    {u"LLong", u"LLong Array", VT_I8, 8, -9223372036854775808.0, 9223372036854775808.0},
    {u"QWord", u"QWord Array", VT_UI8, 8, 0, 18446744073709551616.0},
};
static_assert(std::size(kTypes) == DT_QWORD + 1);

constexpr type_row_t kDefault = {u"Default", u"Default", VT_EMPTY, 0, -DBL_MAX, DBL_MAX};
constexpr type_row_t kNoType = {u"Default", u"Default", VT_EMPTY, 0, 0, 0};

// The row of an identifier's element type. -1 is "Default"; 19, its array form, is no type.
const type_row_t& RowOf(DATATYPE type) {
  if (type == DT_DEFAULT) return kDefault;
  const DATATYPE basic = CDataType::MakeBasicType(type);
  return basic >= DT_STRING && basic <= DT_QWORD ? kTypes[basic] : kNoType;
}

}  // namespace

int CDataType::SizeOf(DATATYPE type) noexcept { return RowOf(type).size; }

const char16_t* CDataType::TextFromType(DATATYPE type) noexcept {
  const type_row_t& row = RowOf(type);
  return IsArrayType(type) ? row.arrayName : row.name;
}

DATATYPE CDataType::TypeFromText(const char16_t* text) noexcept {
  if (text == nullptr) return DT_DEFAULT;
  for (std::int32_t i = DT_STRING; i <= DT_QWORD; ++i) {
    if (collation::CompareNoCase(text, kTypes[i].name) == 0) return static_cast<DATATYPE>(i);
    if (collation::CompareNoCase(text, kTypes[i].arrayName) == 0) return MakeArrayType(static_cast<DATATYPE>(i));
  }
  return DT_DEFAULT;
}

double CDataType::MinVal(DATATYPE type) noexcept { return RowOf(type).lowest; }
double CDataType::MaxVal(DATATYPE type) noexcept { return RowOf(type).highest; }

VARTYPE CVariant::ConvertDataType(DATATYPE type) noexcept {
  const VARTYPE vt = RowOf(type).vt;
  const bool isArray = vt != VT_EMPTY && CDataType::IsArrayType(type);
  return static_cast<VARTYPE>(isArray ? vt | VT_ARRAY : vt);
}

DATATYPE CVariant::ConvertVarType(VARTYPE vt) noexcept {
  const VARTYPE element = vartype::ElementOf(vt);
  // The first row of a VARTYPE counts: the decimal types come back as the plain ones they travel as.
  for (std::int32_t i = DT_STRING; i <= DT_QWORD; ++i) {
    if (kTypes[i].vt != element) continue;
    const auto type = static_cast<DATATYPE>(i);
    return vt & VT_ARRAY ? CDataType::MakeArrayType(type) : type;
  }
  return DT_DEFAULT;
}
