// Conversion in place, and whole-array loops against the conversion of one element at a time.
#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/ole/variant_conversion.h"
#include "util/values/safe_array.h"
#include "util/values/value_testing.h"
#include "util/values/variant.h"

// The loops once more, compiled for the baseline alone: a machine with AVX2 never chooses them by itself.
#undef __x86_64__
#define simd simd_baseline
#define array_kernels array_kernels_baseline
#include "util/values/array_kernels.cpp"
#undef array_kernels
#undef simd

namespace {

using value_testing::Rows;
using value_testing::Value;

VARTYPE ArrayType(VARTYPE element) { return static_cast<VARTYPE>(element | VT_ARRAY); }

void ExpectFailure(const CVariant& source, VARTYPE target, HRESULT result) {
  SCOPED_TRACE(testing::PrintToString(source) + " to " + std::to_string(target));
  for (const bool checkSign : {false, true}) {
    CVariant value(source);
    EXPECT_EQ(value.ConvertTypeEx(target, 0, checkSign), result);
    EXPECT_TRUE(value.IsEmpty() && value.ullVal == 0);
  }
  CVariant cleared(source), kept(source);
  const tagVARIANT before = kept;
  EXPECT_FALSE(cleared.ConvertType(target, CVariant::CONVERT_OR_CLEAR));
  EXPECT_TRUE(cleared.IsEmpty());
  EXPECT_FALSE(kept.ConvertType(target, CVariant::CONVERT_OR_KEEP));
  EXPECT_EQ(std::memcmp(&kept, &before, sizeof before), 0) << "bit for bit, the same string or array";
}

TEST(ConvertType, FailsWithTheseCodesAndLeavesNothingOrEverything) {
  const struct {
    const char* value;
    int target;
    HRESULT result;
  } cases[] = {{"s:abc", VT_I4, DISP_E_TYPEMISMATCH},
               {"s:70000", VT_I2, DISP_E_OVERFLOW},
               {"i4:-1", VT_UI4, DISP_E_OVERFLOW},
               {"ui8:18446744073709551615", VT_I8, DISP_E_OVERFLOW},
               {"i:5", VT_VARIANT, DISP_E_TYPEMISMATCH},
               {"i:5", VT_I4 | VT_ARRAY, DISP_E_TYPEMISMATCH},
               {"null", VT_I4, DISP_E_TYPEMISMATCH},
               {"r8:nan", VT_I4, DISP_E_OVERFLOW},
               {"{i4}", VT_R8 | VT_ARRAY, E_FAIL},
               {"[r8:1]", VT_R8, DISP_E_TYPEMISMATCH},
               {"[r8:1 1e10]", VT_I4 | VT_ARRAY, DISP_E_OVERFLOW},
               {"[var:s:5 s:x]", VT_I4 | VT_ARRAY, DISP_E_TYPEMISMATCH},
               {"[i2:0]", VT_NULL | VT_ARRAY, DISP_E_TYPEMISMATCH},
               {"[i2]", VT_I4 | VT_BYREF | VT_ARRAY, DISP_E_BADVARTYPE}};
  for (const auto& c : cases) ExpectFailure(Value(c.value), static_cast<VARTYPE>(c.target), c.result);
  ExpectFailure(CVariant(65536U, VT_I2, nullptr), VT_I4 | VT_ARRAY, E_INVALIDARG);
  CVariant mistyped = Value("[i4:1]");
  mistyped.vt = VT_UI4 | VT_ARRAY;
  ExpectFailure(mistyped, VT_R8 | VT_ARRAY, E_INVALIDARG);
}

TEST(ConvertType, ConvertsInPlaceAndKeepsTheShapeOfArrays) {
  const char* const cases[][2] = {{"i4:-7", "r8:-7"},
                                  {"r8:2.5", "i4:2"},
                                  {"r8:-3.5", "i2:-4"},
                                  {"i:5", "s:5"},
                                  {"ui:4294967295", "i8:4294967295"},
                                  {"ui4:1", "i4:1"},
                                  {"s:1,234.5", "r8:1234.5"},
                                  {"", "s:"},
                                  {"s:True", "bool:1"},
                                  {"[s]", "[r8]"}};
  for (const auto& c : cases) {
    CVariant byMode = Value(c[0]), byCode(byMode);
    const CVariant converted = Value(c[1]);
    EXPECT_TRUE(byMode.ConvertType(converted.vt, CVariant::CONVERT_OR_KEEP) && byMode == converted) << c[0];
    EXPECT_EQ(byCode.ConvertTypeEx(converted.vt, 0, true), S_OK) << c[0];
    EXPECT_TRUE(byCode == converted) << c[0];
  }
  const double numbers[] = {1, 2, 3, 4, 5, 6.5}, rounded[] = {1, 2, 3, 4, 5, 6};
  CVariant value(2, 3, VT_R8, numbers);
  for (const VARTYPE element : {VT_I2, VT_BSTR, VT_CY, VT_DECIMAL, VT_UI8, VT_R4, VT_DATE, VT_R8}) {
    ASSERT_TRUE(value.ConvertType(ArrayType(element), CVariant::CONVERT_OR_KEEP)) << element;
    EXPECT_TRUE(value.vt == (element | VT_ARRAY) && value.GetArray()->GetVarType() == element);
    EXPECT_TRUE(value.GetArray()->GetNumRows() == 2 && value.GetArray()->GetNumCols() == 3);
  }
  EXPECT_TRUE(value == CVariant(2, 3, VT_R8, rounded));
  CVariant widest(65535U, VT_I2, nullptr);
  EXPECT_TRUE(widest.ConvertType(VT_R4 | VT_ARRAY, CVariant::CONVERT_OR_KEEP));
}

// ---- Fast against plain

constexpr VARTYPE kNumbers[] = {VT_I1, VT_UI1, VT_I2,   VT_UI2, VT_I4, VT_UI4, VT_INT, VT_UINT,
                                VT_I8, VT_UI8, VT_BOOL, VT_R4,  VT_R8, VT_CY,  VT_DATE};

// The neighbourhood of every bound of every type, halves, and what is no number.
std::vector<double> RealEdges() {
  std::vector<double> edges = {0.0,          -0.0,    DBL_MIN, DBL_TRUE_MIN, -FLT_MIN,
                               FLT_TRUE_MIN, DBL_MAX, 1e300,   -1e300,       std::numeric_limits<double>::infinity(),
                               std::nan("")};
  for (const int bits : {0, 1, 7, 8, 15, 16, 24, 31, 32, 51, 52, 53, 63, 64}) {
    for (const double offset : {-1.5, -1.0, -0.5, 0.0, 0.5, 1.0, 1.5, 2.5})
      edges.push_back(std::ldexp(1, bits) + offset);
  }
  for (const double step : {0.0, 0x1p-25, 0x1p-24, 0x1p-23}) edges.push_back(FLT_MAX * (1 + step));
  std::vector<double> all;
  for (const double edge : edges) {
    for (const double near : {edge, std::nextafter(edge, DBL_MAX), std::nextafter(edge, -DBL_MAX)}) {
      all.insert(all.end(), {near, -near});
    }
  }
  return all;
}

template <class T>
std::vector<std::uint64_t> BitsOf(std::mt19937_64& random) {
  std::vector<T> values;
  if constexpr (std::is_floating_point_v<T>) {
    for (const double edge : RealEdges()) values.push_back(static_cast<T>(edge));
    for (int i = 0; i < 200; ++i)
      values.push_back(static_cast<T>(std::ldexp(static_cast<double>(random()), -static_cast<int>(random() % 100))));
  } else {
    for (const int bits : {0, 7, 8, 15, 16, 24, 31, 32, 53, 63}) {
      for (const std::uint64_t offset : {-2, -1, 0, 1, 2}) {
        const std::uint64_t edge = (std::uint64_t{1} << bits) + offset;
        values.insert(values.end(), {static_cast<T>(edge), static_cast<T>(0 - edge)});
      }
    }
    for (int i = 0; i < 100; ++i) values.push_back(static_cast<T>(random() >> random() % 64));
  }
  std::vector<std::uint64_t> bits;
  for (const T value : values) {
    bits.push_back(0);
    std::memcpy(&bits.back(), &value, sizeof value);
  }
  return bits;
}

std::vector<std::uint64_t> Samples(VARTYPE type) {
  std::mt19937_64 random(type);
  if (type == VT_R8 || type == VT_DATE) return BitsOf<double>(random);
  if (type == VT_R4) return BitsOf<float>(random);
  switch (CVariant::SizeOf(type)) {
    case 1: return BitsOf<std::uint8_t>(random);
    case 2: return BitsOf<std::uint16_t>(random);
    case 4: return BitsOf<std::uint32_t>(random);
    default: return BitsOf<std::uint64_t>(random);
  }
}

CVariant ArrayOf(VARTYPE type, const std::vector<std::uint64_t>& bits) {
  CVariant array(static_cast<unsigned>(bits.size()), type, nullptr);
  for (std::size_t i = 0; i < bits.size(); ++i) {
    std::memcpy(static_cast<char*>(array.parray->pvData) + i * CVariant::SizeOf(type), &bits[i],
                CVariant::SizeOf(type));
  }
  return array;
}

// The two fast ways; each gives the array, or the code of its failure.
struct outcome_t {
  HRESULT result;
  CVariant array;
};
std::vector<outcome_t> ConvertFast(VARTYPE from, VARTYPE to, const std::vector<std::uint64_t>& bits) {
  std::vector<outcome_t> outcomes(1);
  outcomes[0].array = ArrayOf(from, bits);
  outcomes[0].result = outcomes[0].array.ConvertTypeEx(ArrayType(to), 0, true);
  if (!array_kernels_baseline::CanConvert(from, to)) return outcomes;
  const CVariant source = ArrayOf(from, bits);
  outcomes.push_back({S_OK, CVariant(source.GetNumElements(), to, nullptr)});
  outcomes[1].result = array_kernels_baseline::Convert(from, to, source.parray->pvData, source.GetNumElements(),
                                                       outcomes[1].array.parray->pvData);
  return outcomes;
}

TEST(ArrayConversion, GivesWhatEachElementAloneGives) {
  for (const VARTYPE from : kNumbers) {
    for (const VARTYPE to : kNumbers) {
      if (from == to) continue;
      SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
      std::vector<std::uint64_t> good, expected, bad;
      std::vector<HRESULT> codes;
      for (const std::uint64_t bits : Samples(from)) {
        tagVARIANT value{};
        value.vt = from;
        value.ullVal = bits;
        const HRESULT result = VariantChangeTypeEx(&value, &value, 0, 0, to);
        if (result == S_OK) {
          good.push_back(bits);
          expected.push_back(value.ullVal);
        } else {
          bad.push_back(bits);
          codes.push_back(result);
        }
      }
      ASSERT_GE(good.size(), 10u);
      const CVariant whole = ArrayOf(to, expected);
      for (const outcome_t& outcome : ConvertFast(from, to, good)) {
        EXPECT_EQ(outcome.result, S_OK);
        EXPECT_TRUE(outcome.array == whole);
      }
      for (std::size_t i = 0; i < bad.size(); ++i) {
        std::vector<std::uint64_t> one;
        for (std::size_t k = 0; k < 20; ++k) one.push_back(good[k % good.size()]);
        one[i % 20] = bad[i];
        for (const outcome_t& outcome : ConvertFast(from, to, one))
          EXPECT_EQ(outcome.result, codes[i]) << std::hex << bad[i];
      }
    }
  }
}

// Every length up to some vectors, the bad element last.
TEST(ArrayConversion, TakesEveryLengthToItsEnd) {
  for (std::size_t length = 1; length < 70; ++length) {
    std::vector<std::uint64_t> bits(length, std::bit_cast<std::uint64_t>(3.0));
    for (const outcome_t& outcome : ConvertFast(VT_R8, VT_UI1, bits)) {
      EXPECT_EQ(outcome.result, S_OK);
      EXPECT_EQ(outcome.array.AsSpan<std::uint8_t>().back(), 3);
    }
    bits.back() = std::bit_cast<std::uint64_t>(255.5);
    for (const outcome_t& outcome : ConvertFast(VT_R8, VT_UI1, bits))
      EXPECT_EQ(outcome.result, DISP_E_OVERFLOW) << length;
  }
}

}  // namespace
