#include "util/values/safe_array.h"

#include <gtest/gtest.h>

#include "platform/framework/cstring.h"
#include "util/values/safe_array_internal.h"
#include "util/values/value_testing.h"

using value_testing::Rows;
using value_testing::Value;

namespace {

array_owner_t Make(std::uint16_t rows, std::uint16_t columns, VARTYPE element, const void* data = nullptr) {
  return array_owner_t(new CSafeArray(rows, columns, element, data));
}

const std::int32_t kSix[] = {1, 2, 3, 4, 5, 6};

TEST(SafeArray, KnowsItsShape) {
  const struct {
    std::uint16_t rows, columns;
    std::uint32_t dimensions, reportedRows, reportedColumns, elements;
  } cases[] = {{1, 5, 1, 1, 5, 5}, {2, 3, 2, 2, 3, 6}, {5, 1, 2, 5, 1, 5}, {0, 5, 1, 1, 0, 0}, {3, 0, 2, 3, 0, 0}};
  for (const auto& c : cases) {
    for (const VARTYPE element : {VT_I4, VT_BSTR}) {
      const array_owner_t array = Make(c.rows, c.columns, element);
      SCOPED_TRACE(c.rows);
      EXPECT_EQ(array->cDims, c.dimensions);
      EXPECT_EQ(array->GetNumRows(), c.reportedRows);
      EXPECT_EQ(array->GetNumCols(), c.reportedColumns);
      EXPECT_EQ(array->GetNumElements(), c.elements);
      EXPECT_EQ(array->GetByteLength(), c.elements * 4);
      EXPECT_EQ(array->fFeatures, element == VT_BSTR ? 0x190 : 0x90);
      EXPECT_EQ(array->rgsabound[0].lLbound, 0);
      EXPECT_EQ(array->cLocks, 0u);
      EXPECT_NE(array->pvData, nullptr);
    }
  }
  EXPECT_EQ(Make(1, 1, VT_VARIANT)->fFeatures, 0x890);
}

TEST(SafeArray, FormatsRowsAsLines) {
  const float reals[] = {0.1F, 2};
  const struct {
    array_owner_t array;
    const char16_t* normal;
    const char16_t* full;
  } cases[] = {{Make(2, 3, VT_I4, kSix), u"1\t2\t3\r\n4\t5\t6\r\n", u"1\t2\t3\r\n4\t5\t6\r\n"},
               {Make(2, 1, VT_R4, reals), u"0.1\r\n2\r\n", u"0.100000001\r\n2\r\n"},
               {Make(1, 2, VT_BSTR), u"\t\r\n", u"\t\r\n"},
               {Make(3, 0, VT_I4), u"", u""}};
  for (const auto& c : cases) {
    CString text = u"before";
    c.array->Format(text, false);
    EXPECT_EQ(text, c.normal);
    c.array->FormatEx(text);
    EXPECT_EQ(text, c.full);
  }
}

TEST(SafeArray, SetsConvertedElementsAndRefusesOthers) {
  // The array's type, the value, and what is then stored; "-" where the value is refused.
  for (const auto& c : Rows(R"(
      i2|s:12|i2:12; i2|s:abc|-; i2|i4:70000|-; s|i4:7|s:7; s|s:x|s:x; bool|s:true|bool:1; var|s:x|s:x; i8|[i8:1]|-)")) {
    SCOPED_TRACE(testing::PrintToString(c));
    const array_owner_t array = Make(2, 2, value_testing::TypeOf(c[0]));
    CVariant before, out(u"old");
    array->GetElement(3, before);
    EXPECT_EQ(array->SetElement(3, Value(c[1])), c[2] != "-");
    EXPECT_TRUE(array->GetElement(3, out) && out == (c[2] == "-" ? before : Value(c[2])));
    EXPECT_FALSE(array->SetElement(4, Value(c[1])) || array->GetElement(4, out));
    EXPECT_TRUE(out.IsEmpty());
  }
  const array_owner_t decimals = Make(1, 1, VT_DECIMAL);
  CVariant out;
  EXPECT_TRUE(decimals->SetElement(0, CVariant(u"1.5")) && decimals->GetElement(0, out));
  const DECIMAL decimal{0, 1, 0, 0, 15};
  EXPECT_TRUE(out == CVariant::FromDecimal(decimal) && *decimals == *Make(1, 1, VT_DECIMAL, &decimal));
}

TEST(SafeArray, EqualityGoesByDimensionsTypeAndContent) {
  CVariant text[] = {CVariant(u"a"), CVariant::Null()};
  const array_owner_t six = Make(2, 3, VT_I4, kSix);
  const struct {
    array_owner_t other;
    bool equal;
  } cases[] = {{Make(2, 3, VT_I4, kSix), true},   {Make(3, 2, VT_I4, kSix), true},  {Make(1, 6, VT_I4, kSix), false},
               {Make(2, 3, VT_UI4, kSix), false}, {Make(2, 2, VT_I4, kSix), false}, {Make(2, 3, VT_I4), false}};
  for (const auto& c : cases) EXPECT_EQ(*six == *c.other, c.equal);
  const array_owner_t untyped = Make(2, 3, VT_UI4, kSix);
  untyped->SetVarType(VT_EMPTY);
  EXPECT_TRUE(*six == *untyped) << "bytes alone";
  EXPECT_TRUE(*Make(1, 1, VT_VARIANT, text) == *Make(1, 1, VT_VARIANT, text));
  EXPECT_FALSE(*Make(1, 2, VT_VARIANT, text) == *Make(1, 2, VT_VARIANT, text)) << "VT_NULL is unequal to itself";
  const array_owner_t small = Make(1, 1, VT_BSTR), large = Make(1, 1, VT_BSTR), null = Make(1, 1, VT_BSTR);
  small->SetText(0, u"a");
  large->SetText(0, u"A");
  EXPECT_FALSE(*small == *large);
  large->SetText(0, u"");
  EXPECT_TRUE(*large == *null);
}

TEST(SafeArray, AssignmentTakesShapeTypeAndDeepCopies) {
  const array_owner_t strings = Make(2, 2, VT_BSTR), numbers = Make(2, 3, VT_I4, kSix), shorts = Make(3, 4, VT_I2);
  strings->SetText(3, u"x");
  const array_owner_t target = Make(1, 2, VT_UI1);
  for (const CSafeArray* source : {strings.get(), numbers.get(), shorts.get(), strings.get(), strings.get()}) {
    *target = *source;
    EXPECT_TRUE(*target == *source);
    EXPECT_EQ(target->GetVarType(), source->GetVarType());
    EXPECT_EQ(target->GetNumCols(), source->GetNumCols());
    const CSafeArray& same = *target;
    *target = same;
    EXPECT_TRUE(*target == *source);
  }
  target->SetText(3, u"y");
  EXPECT_EQ(strings->GetText(3), u"x");
}

}  // namespace
