#include "util/tagproc/scaling.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "platform/framework/mem_file.h"
#include "util/serialization/stream_testing.h"
#include "util/values/value_testing.h"

using namespace stream_testing;
using value_testing::Rows;
using value_testing::Value;

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

std::map<std::string, CScaling> Scalings() {
  std::map<std::string, CScaling> made;
  made["linear"] = made["long"] = Scaling(CScaling::LINEAR, 0, 100, 0, 1000);
  made["root"] = made["root long"] = Scaling(CScaling::SQUARE_ROOT, 0, 100, 0, 10);
  made["clamped"] = made["negated"] = made["both"] = made["linear"];
  made["none"] = Scaling(CScaling::NONE, 10, 20, 0, 1);
  made["no width"] = Scaling(CScaling::LINEAR, 5, 5, 0, 1);
  made["long"].SetScaledDataType(DT_SHORT);
  made["root long"].SetScaledDataType(DT_LONG);
  made["clamped"].SetClampHigh(true);
  made["negated"].SetNegateValue(true);
  made["both"].SetNegateValue(true);
  made["both"].SetClampLow(true);
  made["none"].SetClampLow(true);
  made["none"].SetClampHigh(true);
  return made;
}

TEST(ScalingForward, GivesTheseValues) {
  // The scaling, a raw value, and the scaled one; none where it is refused.
  for (const auto& c : Rows(R"(
      default|i2:500|r8:500; linear|ui1:25|r8:250; linear|s:25|r8:250; linear|s:x|; root|i4:25|r8:5; root long|i4:-1|;
      clamped|r4:150|r8:1000; clamped|r4:-50|r8:-500; negated|i4:10|r8:-100; negated|i4:0|r8:-0; none|i4:5|r8:10;
      none|i4:25|r8:20; long|r8:3276.75|; long|r8:0.25|i2:2; no width|r8:6|r8:inf)")) {
    SCOPED_TRACE(testing::PrintToString(c));
    CVariant value = Value(c[1]);
    EXPECT_EQ(Scalings()[c[0]].DoScaling(value), !c[2].empty());
    EXPECT_TRUE(value == Value(c[2])) << testing::PrintToString(value);
  }
  CVariant negative = Value("i4:-1");
  EXPECT_TRUE(Scalings()["root"].DoScaling(negative) && std::isnan(negative.dblVal));
}

TEST(ScalingReverse, GivesTheseValuesAndRefusesOtherTypes) {
  // The scaling, a scaled value, the raw type, and the raw value; "-" where the value is refused and stays.
  for (const auto& c : Rows(R"(
      negated|r8:-100|9|r8:10; both|r8:-100|9|r8:-0; root|r8:5|4|i2:25; root|r8:50|10|ui2:2500; root|r8:500|4|; root|s:x|4|;
      root|i4:5|26|-; root|[r8:1]|6|-; root|i4:5|-1|-; root|i4:5|0|-; root|i4:5|1|-; root|i4:5|13|-; root|[r8:1]|34|-)")) {
    SCOPED_TRACE(testing::PrintToString(c));
    CVariant value = Value(c[1]);
    const bool isRefused = c[3] == "-" || c[1] == "s:x";
    const HRESULT result = isRefused ? DISP_E_TYPEMISMATCH : c[3].empty() ? DISP_E_OVERFLOW : S_OK;
    EXPECT_EQ(Scalings()[c[0]].ReverseScaling(value, Id(std::stoi(c[2]))), result);
    EXPECT_TRUE(value == Value(c[3] == "-" ? c[1] : c[3])) << testing::PrintToString(value);
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
  s.SetScaledDataType(DT_SHORT);
  CVariant value(43, 100, VT_I2, nullptr);
  for (int i = 0; i < 4300; ++i)
    value.AsSpan<std::int16_t>()[static_cast<unsigned>(i)] = static_cast<std::int16_t>(i * 2);
  ASSERT_TRUE(s.DoScaling(value));
  EXPECT_EQ(value.GetArray()->GetNumRows(), 43u);
  for (unsigned i = 0; i < 4300; ++i) EXPECT_EQ(value.AsSpan<std::int16_t>()[i], static_cast<int>(i));
  CVariant late(5000U, VT_I4, nullptr), tooLong(65536U, VT_I2, nullptr), none = Value("[i2]"), null = Value("{i2}");
  late.AsSpan<std::int32_t>()[4999] = 1000000;
  EXPECT_FALSE(s.DoScaling(late) || s.DoScaling(tooLong) || s.DoScaling(null));
  EXPECT_TRUE(late.IsEmpty() && tooLong.IsEmpty() && null.IsEmpty());
  s.SetScaledDataType(DT_LONG);
  EXPECT_TRUE(s.DoScaling(none) && none == Value("[i4]"));
}

TEST(ScalingSettings, AreValidOrNameTheFirstFault) {
  const CScaling s = Scaling(CScaling::LINEAR, 0, 100, 0, 1000);
  std::map<std::string, CScaling> settings = {{"good", s}, {"raw order", s}, {"raw range", s}, {"scaled type", s}};
  settings["raw order"].SetRawLow(100);
  settings["raw range"].SetRawHigh(70000);
  settings["scaled type"].SetScaledDataType(DT_DATE);
  settings["scaled order"] = settings["scaled type"];  // the order is looked at before the type
  settings["scaled order"].SetScaledLow(1000);
  settings["scaled range"] = Scaling(CScaling::LINEAR, 0, 100, 0, 3e9);
  settings["scaled range"].SetScaledDataType(DT_LONG);
  settings["whole range"] = settings["scaled below"] = Scaling(CScaling::LINEAR, -32768, 32767, -128, 127);
  settings["whole range"].SetScaledDataType(DT_CHAR);
  settings["scaled below"].SetScaledDataType(DT_BYTE);
  settings["none"] = Scaling(CScaling::NONE, 100, 0, 1, 0);
  // The settings, the raw type, and the verdict.
  for (const auto& c : Rows(R"(
      good|4|0; good|24|0; good|10|0; good|12|0; good|-1|1; good|0|1; good|21|1; good|13|1; good|34|1; raw order|4|3;
      raw range|4|3; raw range|6|0; scaled order|4|4; scaled type|4|2; scaled range|4|4; none|1|0;
      whole range|4|0; whole range|5|3; whole range|2|3; scaled below|4|4)")) {
    CScaling::SCALINGRESULT verdict{};
    EXPECT_EQ(settings[c[0]].IsValid(Id(std::stoi(c[1])), &verdict), c[2] == "0");
    EXPECT_EQ(verdict, std::stoi(c[2])) << c[0] << ", raw type " << c[1];
    EXPECT_EQ(settings[c[0]].IsValid(Id(std::stoi(c[1])), nullptr), c[2] == "0");
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
