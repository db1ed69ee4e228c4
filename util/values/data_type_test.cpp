#include "util/values/data_type.h"

#include <gtest/gtest.h>

#include <cfloat>

#include "platform/framework/cstring.h"
#include "util/values/variant.h"

namespace {

DATATYPE Id(int number) { return static_cast<DATATYPE>(number); }

struct row_t {
  int id;
  const char16_t* name;
  const char16_t* arrayName;
  VARTYPE vt;
  int size;
  double lowest, highest;
  int back;  // ConvertVarType of vt
};
const row_t kRows[] = {
    {0, u"String", u"String Array", VT_BSTR, 0, 0, 0, 0},
    {1, u"Boolean", u"Boolean Array", VT_BOOL, 2, 0, 1, 1},
    {2, u"Char", u"Char Array", VT_I1, 1, -128, 127, 2},
    {3, u"Byte", u"Byte Array", VT_UI1, 1, 0, 255, 3},
    {4, u"Short", u"Short Array", VT_I2, 2, -32768, 32767, 4},
    {5, u"Word", u"Word Array", VT_UI2, 2, 0, 65535, 5},
    {6, u"Long", u"Long Array", VT_I4, 4, -2147483648.0, 2147483647, 6},
    {7, u"DWord", u"DWord Array", VT_UI4, 4, 0, 4294967295, 7},
    {8, u"Float", u"Float Array", VT_R4, 4, -3.4028234663852886e38, 3.4028234663852886e38, 8},
    {9, u"Double", u"Double Array", VT_R8, 8, -1.7976931348623157e308, 1.7976931348623157e308, 9},
    {10, u"BCD", u"BCD Array", VT_UI2, 2, 0, 9999, 5},
    {11, u"LBCD", u"LBCD Array", VT_UI4, 4, 0, 99999999, 7},
    {12, u"Date", u"Date Array", VT_DATE, 8, -1.7976931348623157e308, 1.7976931348623157e308, 12},
    {13, u"LLong", u"LLong Array", VT_I8, 8, -9223372036854775808.0, 9223372036854775808.0, 13},
    {14, u"QWord", u"QWord Array", VT_UI8, 8, 0, 18446744073709551616.0, 14},
};

TEST(DataType, TellsNamesSizesAndRangesOfScalarAndArrayForms) {
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.id);
    for (const int offset : {0, 20}) {
      const DATATYPE type = Id(row.id + offset);
      const auto vt = static_cast<VARTYPE>(row.vt | (offset != 0 ? VT_ARRAY : 0));
      const CString name = offset != 0 ? row.arrayName : row.name;
      EXPECT_EQ(CDataType::TextFromType(type), name);
      EXPECT_EQ(CDataType::TypeFromText(name), type);
      EXPECT_EQ(CDataType::TypeFromText(CString(name).MakeLower()), type);
      EXPECT_EQ(CDataType::SizeOf(type), row.size);
      EXPECT_EQ(CDataType::MinVal(type), row.lowest);
      EXPECT_EQ(CDataType::MaxVal(type), row.highest);
      EXPECT_EQ(CVariant::ConvertDataType(type), vt);
      EXPECT_EQ(CVariant::ConvertVarType(vt), Id(row.back + offset));
      EXPECT_EQ(CDataType::MakeArrayType(type), Id(row.id + 20));
      EXPECT_EQ(CDataType::MakeBasicType(type), Id(row.id));
      EXPECT_EQ(CDataType::Is64BitIntegerType(type), row.id >= 13);
    }
  }
}

TEST(DataType, OutsideTheTableIsDefault) {
  for (const int number : {-1, -2, 15, 19, 35, 39, 1000, INT32_MIN, INT32_MAX}) {
    SCOPED_TRACE(number);
    EXPECT_EQ(CString(CDataType::TextFromType(Id(number))), u"Default");
    EXPECT_EQ(CDataType::SizeOf(Id(number)), 0);
    EXPECT_EQ(CDataType::MaxVal(Id(number)), number == -1 ? DBL_MAX : 0);
    EXPECT_EQ(CDataType::MinVal(Id(number)), number == -1 ? -DBL_MAX : 0);
    EXPECT_EQ(CVariant::ConvertDataType(Id(number)), VT_EMPTY);
  }
  EXPECT_EQ(CDataType::MakeArrayType(DT_DEFAULT), Id(19));
  for (const char16_t* text : {u"Default", u"Int", u"", u"Float  Array", static_cast<const char16_t*>(nullptr)}) {
    EXPECT_EQ(CDataType::TypeFromText(text), DT_DEFAULT);
  }
  for (const VARTYPE vt : {VT_EMPTY, VT_INT, VT_UINT, VT_CY, VT_VARIANT}) {
    EXPECT_EQ(CVariant::ConvertVarType(vt), DT_DEFAULT);
    EXPECT_EQ(CVariant::ConvertVarType(static_cast<VARTYPE>(vt | VT_ARRAY)), DT_DEFAULT);
  }
}

}  // namespace
