#include "util/values/data_type.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <string>

#include "platform/framework/cstring.h"
#include "platform/text/classic_locale_testing.h"
#include "util/values/value_testing.h"

using value_testing::Rows;

namespace {

DATATYPE Id(int number) { return static_cast<DATATYPE>(number); }

TEST(DataType, TellsNamesSizesAndRangesOfScalarAndArrayForms) {
  int id = 0;
  // Name, VARTYPE, size, range, and the type that the VARTYPE comes back as.
  for (const auto& row : Rows(R"(
      String|s|0|0|0|0; Boolean|bool|2|0|1|1; Char|i1|1|-128|127|2; Byte|ui1|1|0|255|3; Short|i2|2|-32768|32767|4;
      Word|ui2|2|0|65535|5; Long|i4|4|-2147483648|2147483647|6; DWord|ui4|4|0|4294967295|7;
      Float|r4|4|-3.4028234663852886e38|3.4028234663852886e38|8; Double|r8|8|-1.7976931348623157e308|1.7976931348623157e308|9;
      BCD|ui2|2|0|9999|5; LBCD|ui4|4|0|99999999|7; Date|date|8|-1.7976931348623157e308|1.7976931348623157e308|12;
      LLong|i8|8|-9223372036854775808|9223372036854775808|13; QWord|ui8|8|0|18446744073709551616|14)")) {
    SCOPED_TRACE(row[0]);
    for (const int offset : {0, 20}) {
      const DATATYPE type = Id(id + offset);
      const auto vt = static_cast<VARTYPE>(value_testing::TypeOf(row[1]) | (offset != 0 ? VT_ARRAY : 0));
      const CString name = row[0] + (offset != 0 ? " Array" : "");
      EXPECT_EQ(CDataType::TextFromType(type), name);
      EXPECT_EQ(CDataType::TypeFromText(name), type);
      EXPECT_EQ(CDataType::TypeFromText(CString(name).MakeLower()), type);
      EXPECT_EQ(CDataType::SizeOf(type), std::stoi(row[2]));
      EXPECT_EQ(CDataType::MinVal(type), classic_testing::Double(row[3]));
      EXPECT_EQ(CDataType::MaxVal(type), classic_testing::Double(row[4]));
      EXPECT_EQ(CVariant::ConvertDataType(type), vt);
      EXPECT_EQ(CVariant::ConvertVarType(vt), Id(std::stoi(row[5]) + offset));
      EXPECT_EQ(CDataType::MakeArrayType(type), Id(id + 20));
      EXPECT_EQ(CDataType::MakeBasicType(type), Id(id));
      EXPECT_EQ(CDataType::Is64BitIntegerType(type), id >= 13);
    }
    ++id;
  }
  EXPECT_EQ(id, 15);
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
