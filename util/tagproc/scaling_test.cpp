#include "util/tagproc/scaling.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "platform/framework/mem_file.h"
#include "util/serialization/stream_testing.h"
#include "util/values/safe_array.h"
#include "util/values/variant.h"

using namespace stream_testing;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

DATATYPE Id(int number) { return static_cast<DATATYPE>(number); }

CScaling Scaling(CScaling::SCALINGTYPE type, double rawLow, double rawHigh, double scaledLow, double scaledHigh) {
  CScaling scaling;
  scaling.SetScalingType(type);
  scaling.SetRawLow(rawLow);
  scaling.SetRawHigh(rawHigh);
  scaling.SetScaledLow(scaledLow);
  scaling.SetScaledHigh(scaledHigh);
  return scaling;
}

TEST(ScalingForward, GivesTheseValues) {
  CScaling plain = Scaling(CScaling::LINEAR, 0, 1000, 0, 1000), linear = Scaling(CScaling::LINEAR, 0, 100, 0, 1000);
  CScaling root = Scaling(CScaling::SQUARE_ROOT, 0, 100, 0, 10), rootLong = root, clamped = linear, negated = linear;
  CScaling none = Scaling(CScaling::NONE, 10, 20, 0, 1), shortInteger = linear,
           noWidth = Scaling(CScaling::LINEAR, 5, 5, 0, 1);
  rootLong.SetScaledDataType(DT_LONG);
  clamped.SetClampHigh(true);
  negated.SetNegateValue(true);
  none.SetClampLow(true), none.SetClampHigh(true);
  shortInteger.SetScaledDataType(DT_SHORT);
  const struct {
    const CScaling& scaling;
    CVariant raw;
    CVariant scaled;  // empty: refused
  } cases[] = {
      {plain, CVariant::FromInt16(500), CVariant::FromDouble(500)},
      {linear, CVariant::FromUInt8(25), CVariant::FromDouble(250)},
      {linear, CVariant(u"25"), CVariant::FromDouble(250)},
      {linear, CVariant(u"x"), {}},
      {root, CVariant::FromInt32(25), CVariant::FromDouble(5)},
      {rootLong, CVariant::FromInt32(-1), {}},
      {clamped, CVariant::FromFloat(150), CVariant::FromDouble(1000)},
      {clamped, CVariant::FromFloat(-50), CVariant::FromDouble(-500)},
      {negated, CVariant::FromInt32(10), CVariant::FromDouble(-100)},
      {negated, CVariant::FromInt32(0), CVariant::FromDouble(-0.0)},
      {none, CVariant::FromInt32(5), CVariant::FromDouble(10)},
      {none, CVariant::FromInt32(25), CVariant::FromDouble(20)},
      {shortInteger, CVariant::FromDouble(3276.75), {}},
      {shortInteger, CVariant::FromDouble(0.25), CVariant::FromInt16(2)},
      {noWidth, CVariant::FromDouble(6), CVariant::FromDouble(kInfinity)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.raw));
    CVariant value(c.raw);
    EXPECT_EQ(c.scaling.DoScaling(value), !c.scaled.IsEmpty());
    EXPECT_TRUE(value == c.scaled) << testing::PrintToString(value);
  }
  CVariant negative = CVariant::FromInt32(-1);
  EXPECT_TRUE(root.DoScaling(negative) && std::isnan(negative.dblVal));
}

TEST(ScalingReverse, GivesTheseValuesAndRefusesOtherTypes) {
  CScaling negated = Scaling(CScaling::LINEAR, 0, 100, 0, 1000), clamped,
           root = Scaling(CScaling::SQUARE_ROOT, 0, 100, 0, 10);
  negated.SetNegateValue(true);
  clamped = negated;
  clamped.SetClampLow(true);
  const struct {
    const CScaling& scaling;
    CVariant scaled;
    int rawType;
    HRESULT result;
    CVariant raw;
  } cases[] = {
      {negated, CVariant::FromDouble(-100), 9, S_OK, CVariant::FromDouble(10)},
      {clamped, CVariant::FromDouble(-100), 9, S_OK, CVariant::FromDouble(-0.0)},
      {root, CVariant::FromDouble(5), 4, S_OK, CVariant::FromInt16(25)},
      {root, CVariant::FromDouble(50), 10, S_OK, CVariant::FromUInt16(2500)},
      {root, CVariant::FromDouble(500), 4, DISP_E_OVERFLOW, {}},
      {root, CVariant(u"x"), 4, DISP_E_TYPEMISMATCH, {}},
      {root, CVariant::FromInt32(5), 26, DISP_E_TYPEMISMATCH, CVariant::FromInt32(5)},
      {root, CVariant(1U, VT_R8, nullptr), 6, DISP_E_TYPEMISMATCH, CVariant(1U, VT_R8, nullptr)},
      {root, CVariant::FromInt32(5), -1, DISP_E_TYPEMISMATCH, CVariant::FromInt32(5)},
      {root, CVariant::FromInt32(5), 0, DISP_E_TYPEMISMATCH, CVariant::FromInt32(5)},
      {root, CVariant::FromInt32(5), 1, DISP_E_TYPEMISMATCH, CVariant::FromInt32(5)},
      {root, CVariant::FromInt32(5), 13, DISP_E_TYPEMISMATCH, CVariant::FromInt32(5)},
      {root, CVariant(1U, VT_R8, nullptr), 34, DISP_E_TYPEMISMATCH, CVariant(1U, VT_R8, nullptr)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.scaled) + " to type " + std::to_string(c.rawType));
    CVariant value(c.scaled);
    EXPECT_EQ(c.scaling.ReverseScaling(value, Id(c.rawType)), c.result);
    EXPECT_TRUE(value == c.raw) << testing::PrintToString(value);
  }
}

// ---- Arrays against the formulas, one number at a time

double Plain(const CScaling& s, double x, bool forward) {
  const double fromLow = forward ? s.GetRawLow() : s.GetScaledLow(),
               fromHigh = forward ? s.GetRawHigh() : s.GetScaledHigh();
  const double toLow = forward ? s.GetScaledLow() : s.GetRawLow(),
               toHigh = forward ? s.GetScaledHigh() : s.GetRawHigh();
  if (s.GetClampLow() && x < fromLow) x = fromLow;
  if (s.GetClampHigh() && x > fromHigh) x = fromHigh;
  if (s.GetScalingType() == CScaling::LINEAR) {
    x = forward ? (toHigh - toLow) / (fromHigh - fromLow) * (x - fromLow) + toLow
                : (x - fromLow) / (fromHigh - fromLow) * (toHigh - toLow) + toLow;
  } else if (s.GetScalingType() == CScaling::SQUARE_ROOT) {
    const double r = (x - fromLow) / (fromHigh - fromLow);
    x = forward ? std::sqrt(r) * (toHigh - toLow) + toLow : (toHigh - toLow) * (r * r) + toLow;
  }
  return s.GetNegateValue() ? -x : x;
}

// What each value alone must become: converted to double, through the formula, converted to the target.
CVariant PlainScaled(const CScaling& s, CVariant value, VARTYPE target, bool forward) {
  if (!value.ConvertType(VT_R8, CVariant::CONVERT_OR_CLEAR)) return {};
  CVariant scaled = CVariant::FromDouble(Plain(s, value.dblVal, forward));
  scaled.ConvertType(target, CVariant::CONVERT_OR_CLEAR);
  return scaled;
}

bool Scale(const CScaling& s, CVariant& value, DATATYPE rawType, bool forward) {
  if (forward) return s.DoScaling(value);
  return s.ReverseScaling(value, value.IsArray() ? CDataType::MakeArrayType(rawType) : rawType) >= 0;
}

CVariant ArrayOf(VARTYPE element, const std::vector<CVariant>& values) {
  CVariant array(static_cast<unsigned>(values.size()), element, nullptr);
  for (unsigned i = 0; i < values.size(); ++i) EXPECT_TRUE(array.GetArray()->SetElement(i, values[i]));
  return array;
}

std::vector<CVariant> Samples(VARTYPE type) {
  std::vector<CVariant> samples;
  for (const double number :
       {0.0,     -0.0,  1.0,    2.0,       7.0,        24.0,
        25.0,    26.0,  49.5,   50.0,      99.0,       100.0,
        101.0,   127.0, 0.1,    1.0 / 3,   12.5,       3e9,
        -1.0,    -2.5,  -128.0, -1e5,      255.0,      32767.0,
        65535.0, 1e30,  1e300,  kInfinity, -kInfinity, std::bit_cast<double>(0x7FF8000000001234)}) {
    CVariant value = CVariant::FromDouble(number);
    if (value.ConvertType(type, CVariant::CONVERT_OR_CLEAR)) samples.push_back(value);
  }
  return samples;
}

// Results that are both no number are the same: which one the arithmetic makes is not promised.
bool Same(const CVariant& a, const CVariant& b) {
  if (a.vt == VT_R8 && b.vt == VT_R8 && std::isnan(a.dblVal)) return std::isnan(b.dblVal);
  if (a.vt == VT_R4 && b.vt == VT_R4 && std::isnan(a.fltVal)) return std::isnan(b.fltVal);
  return a == b;
}

void ExpectArraysLikeElements(const CScaling& s, VARTYPE from, DATATYPE to, bool forward) {
  const VARTYPE target = CVariant::ConvertDataType(to);
  std::vector<CVariant> good, bad, expected;
  for (const CVariant& sample : Samples(from)) {
    CVariant alone(sample);
    const CVariant plain = PlainScaled(s, sample, target, forward);
    EXPECT_EQ(Scale(s, alone, to, forward), !plain.IsEmpty());
    EXPECT_TRUE(Same(alone, plain)) << testing::PrintToString(sample) << ": " << testing::PrintToString(alone);
    (plain.IsEmpty() ? bad : good).push_back(sample);
    if (!plain.IsEmpty()) expected.push_back(plain);
  }
  CVariant array = ArrayOf(from, good);
  EXPECT_TRUE(Scale(s, array, to, forward));
  ASSERT_EQ(array.vt, target | VT_ARRAY);
  CVariant element;
  for (unsigned i = 0; i < good.size(); ++i) {
    array.GetArray()->GetElement(i, element);
    EXPECT_TRUE(Same(element, expected[i])) << i << ": " << testing::PrintToString(good[i]);
  }
  for (const CVariant& sample : bad) {
    good.push_back(sample);
    CVariant spoiled = ArrayOf(from, good);
    good.pop_back();
    EXPECT_FALSE(Scale(s, spoiled, to, forward));
    EXPECT_TRUE(spoiled.IsEmpty());
  }
}

TEST(ScalingArrays, GiveWhatEachElementAloneGives) {
  for (int mix = 0; mix < 24; ++mix) {
    CScaling s = Scaling(static_cast<CScaling::SCALINGTYPE>(mix % 3), -2, 100.5, 3, 47);
    s.SetNegateValue(mix / 3 % 2 != 0);
    s.SetClampLow(mix / 6 % 2 != 0);
    s.SetClampHigh(mix / 12 % 2 != 0);
    for (const VARTYPE from : {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_INT, VT_UINT, VT_I8, VT_UI8, VT_BOOL,
                               VT_R4, VT_R8, VT_DATE, VT_CY, VT_BSTR}) {
      for (int to = DT_CHAR; to <= DT_DATE; ++to) {
        SCOPED_TRACE(std::to_string(mix) + ": " + std::to_string(from) + " to " + std::to_string(to));
        if (to <= DT_DOUBLE) {
          s.SetScaledDataType(Id(to));
          ExpectArraysLikeElements(s, from, Id(to), true);
        }
        ExpectArraysLikeElements(s, from, Id(to), false);
      }
    }
  }
}

// Blocks of 1,024 and their rest; the shape stays.
TEST(ScalingArrays, OfManyBlocksAreScaledToTheEndAndKeepTheirShape) {
  CScaling s = Scaling(CScaling::LINEAR, 0, 100, 0, 50);
  for (const DATATYPE to : {DT_DOUBLE, DT_SHORT}) {
    s.SetScaledDataType(to);
    CVariant value(43, 100, VT_I2, nullptr);
    for (std::size_t i = 0; i < 4300; ++i) value.AsSpan<std::int16_t>()[i] = static_cast<std::int16_t>(i * 2);
    ASSERT_TRUE(s.DoScaling(value));
    EXPECT_EQ(value.GetArray()->GetNumRows(), 43u);
    CVariant element;
    for (unsigned i = 0; i < 4300; ++i) {
      value.GetArray()->GetElement(i, element);
      EXPECT_EQ(element.GetAsDouble(), i);
    }
    value.GetArray()->SetElement(4299, CVariant::FromInt16(-1));
  }
  CVariant late(5000U, VT_I4, nullptr);
  late.AsSpan<std::int32_t>()[4999] = 1000000;
  EXPECT_FALSE(s.DoScaling(late));
  EXPECT_TRUE(late.IsEmpty());
  for (const unsigned count : {0U, 65536U}) {
    CVariant value(count, VT_I2, nullptr);
    EXPECT_EQ(s.DoScaling(value), count == 0) << "longer than conversions take";
    EXPECT_EQ(value.vt, count == 0 ? VT_I2 | VT_ARRAY : VT_EMPTY);
  }
  CVariant null;
  null.vt = VT_I2 | VT_ARRAY;
  EXPECT_FALSE(s.DoScaling(null));
}

TEST(ScalingSettings, AreValidOrNameTheFirstFault) {
  CScaling s = Scaling(CScaling::LINEAR, 0, 100, 0, 1000), rawOrder = s, rawRange = s, scaledOrder = s, scaledType = s,
           scaledRange = s, none = s;
  rawOrder.SetRawLow(100);
  rawRange.SetRawHigh(70000);
  scaledOrder.SetScaledLow(1000), scaledOrder.SetScaledDataType(DT_STRING);
  scaledType.SetScaledDataType(DT_DATE);
  scaledRange.SetScaledHigh(3e9), scaledRange.SetScaledDataType(DT_LONG);
  none = rawOrder, none.SetScalingType(CScaling::NONE);
  const struct {
    const CScaling& scaling;
    int rawType;
    CScaling::SCALINGRESULT verdict;
  } cases[] = {{s, 4, CScaling::VALID},
               {s, 24, CScaling::VALID},
               {s, 10, CScaling::VALID},
               {s, 12, CScaling::VALID},
               {s, -1, CScaling::INVALID_RAW_TYPE},
               {s, 0, CScaling::INVALID_RAW_TYPE},
               {s, 21, CScaling::INVALID_RAW_TYPE},
               {s, 13, CScaling::INVALID_RAW_TYPE},
               {s, 34, CScaling::INVALID_RAW_TYPE},
               {rawOrder, 4, CScaling::INVALID_RAW_RANGE},
               {rawRange, 4, CScaling::INVALID_RAW_RANGE},
               {rawRange, 6, CScaling::VALID},
               {scaledOrder, 4, CScaling::INVALID_SCALED_RANGE},
               {scaledType, 4, CScaling::INVALID_SCALED_TYPE},
               {scaledRange, 4, CScaling::INVALID_SCALED_RANGE},
               {none, 1, CScaling::VALID}};
  for (const auto& c : cases) {
    CScaling::SCALINGRESULT verdict{};
    EXPECT_EQ(c.scaling.IsValid(Id(c.rawType), &verdict), c.verdict == CScaling::VALID);
    EXPECT_EQ(verdict, c.verdict) << "raw type " << c.rawType;
    EXPECT_EQ(c.scaling.IsValid(Id(c.rawType), nullptr), c.verdict == CScaling::VALID);
  }
  CScaling::SCALINGRESULT verdict{};
  EXPECT_FALSE(s.IsValid(VARTYPE{VT_BOOL}, &verdict));
  EXPECT_TRUE(s.IsValid(VARTYPE{VT_I2 | VT_ARRAY}, &verdict));
  EXPECT_EQ(CScaling::TypeFromText(CString(CScaling::TextFromType(CScaling::SQUARE_ROOT)).MakeUpper()),
            CScaling::SQUARE_ROOT);
  EXPECT_EQ(CScaling::TypeFromText(CScaling::TextFromType(CScaling::LINEAR)), CScaling::LINEAR);
  for (const char16_t* text : {u"", u"no such", static_cast<const char16_t*>(nullptr)})
    EXPECT_EQ(CScaling::TypeFromText(text), CScaling::NONE);
  EXPECT_EQ(CString(CScaling::TextFromType(static_cast<CScaling::SCALINGTYPE>(3))), u"");
}

constexpr const char* kVersion0 =
    "0000 01000000 07000000 000000000000F03F 0000000000000040 0000000000000840 0000000000001040 01 00";

CScaling Load(std::string hex, CScaling scaling = {}) {
  CMemFile file(Bytes(hex));
  EXPECT_EQ(scaling.Load(&file), 1);
  EXPECT_EQ(file.GetPosition(), file.GetLength());
  return scaling;
}

TEST(ScalingFile, HasTheseBytesAndOlderOnesLeaveLaterSettings) {
  CScaling s = Scaling(CScaling::LINEAR, 1, 2, 3, 4);
  s.SetScaledDataType(DT_DWORD);
  s.SetClampLow(true);
  s.SetNegateValue(true);
  s.SetUnits(u"m\u00b3");
  CMemFile file;
  EXPECT_EQ(s.Save(&file), 1);
  std::string expected = Hex(Bytes(std::string("0200") + (kVersion0 + 4) + "03000080 6DC2B3 01"));
  EXPECT_EQ(Hex(file.GetContent()), expected);
  EXPECT_TRUE(Load(expected) == s);
  expected.replace(0, 4, "0900");
  EXPECT_TRUE(Load(expected) == s) << "a later version begins the same";

  CScaling before;
  before.SetUnits(u"before");
  before.SetNegateValue(true);
  const CScaling oldest = Load(kVersion0, before);
  EXPECT_EQ(oldest.GetScaledHigh(), 4);
  EXPECT_TRUE(oldest.GetUnits() == u"before" && oldest.GetNegateValue());
  const CScaling older = Load(std::string("0100") + (kVersion0 + 4) + "02000080 6D33", before);
  EXPECT_TRUE(older.GetUnits() == u"m3" && older.GetNegateValue());
}

TEST(ScalingFile, RefusesDamageAndIsThenAsItWas) {
  const std::string hex = Hex(Bytes(std::string("0200") + (kVersion0 + 4) + "03000080 6DC2B3 01"));
  const bytes_t bytes = Bytes(hex);
  ExpectFileRefusesDamage(hex, [](CFile* file) { CScaling().Load(file); });
  const CScaling before = Scaling(CScaling::SQUARE_ROOT, 1, 2, 3, 5);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    CMemFile cut(std::span<const std::byte>(bytes).first(length));
    CScaling scaling(before);
    EXPECT_THROW(scaling.Load(&cut), zorplatform::CException);
    EXPECT_TRUE(scaling == before);
  }
}

}  // namespace
