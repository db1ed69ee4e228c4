#include "util/values/variant_compare.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "util/values/safe_array.h"

namespace {

using compare = CVariantCompare;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

CVariant Real(double value) { return CVariant::FromDouble(value); }

TEST(VariantCompareValues, OrdersTextByNameAndTheRestAsDoubles) {
  // One character for each operation: > >= < <= == != and one that is none.
  const struct {
    CVariant a, b;
    const char* holds;
  } cases[] = {
      {CVariant(u"b"), CVariant(u"A"), "1100010"},
      {CVariant(u"pump"), CVariant(u"PUMP"), "0101100"},
      {CVariant(u"9"), CVariant(u"10"), "1100010"},
      {CVariant(u"9"), CVariant::FromInt32(10), "0011010"},
      {CVariant::FromUInt64(UINT64_MAX), CVariant::FromInt64(-1), "1100010"},
      {CVariant::FromBool(true), CVariant::FromInt8(1), "0101100"},
      {Real(0.0), Real(-0.0), "0101010"},
      {Real(kNaN), Real(kNaN), "0000100"},
      {Real(kNaN), Real(1), "0000010"},
      {CVariant::Null(), CVariant::FromInt32(0), "0101100"},
      {CVariant(), CVariant::FromInt32(0), "0000000"},
      {CVariant(u""), CVariant(), "0000000"},
      {CVariant(1U, VT_I4, nullptr), CVariant(1U, VT_I4, nullptr), "0000000"},
  };
  for (const auto& c : cases) {
    std::string holds;
    for (int op = 0; op <= 6; ++op) {
      holds += compare::Values(c.a, c.b, static_cast<compare::comparison_t>(op)) ? '1' : '0';
    }
    EXPECT_EQ(holds, c.holds) << testing::PrintToString(c.a) << ", " << testing::PrintToString(c.b);
  }
}

TEST(ValueChanged, ComparesScalarsWithTheDeadband) {
  const struct {
    CVariant a, b;
    double deadband;
    bool mode0, mode1;
  } cases[] = {
      {Real(5), Real(6), 1, true, false},
      {Real(6), Real(5), 1, true, false},
      {Real(5), Real(6.5), 1, true, true},
      {Real(5), Real(5.9), 1, false, false},
      {Real(5), Real(5 + 1e-15), 0, true, true},
      {Real(5), Real(5), 0, false, false},
      {Real(5), Real(6), DBL_EPSILON / 2, true, true},
      {Real(0), Real(DBL_EPSILON), DBL_EPSILON, true, false},
      {Real(5), Real(6), -1, true, true},
      {Real(0.0), Real(-0.0), 0, true, true},
      {Real(0.0), Real(-0.0), 1, false, false},
      {Real(kNaN), Real(kNaN), 0, false, false},
      {Real(kNaN), Real(1), 1, false, false},
      {Real(1), Real(kNaN), 0, true, true},
      {Real(1), Real(kInfinity), 1e300, true, true},
      {Real(kInfinity), Real(kInfinity), 1, false, false},
      {Real(1), Real(2), kNaN, false, false},
      {CVariant::FromFloat(1), CVariant::FromFloat(1.5F), 0.5, true, false},
      {CVariant::FromUInt8(0), CVariant::FromUInt8(255), 255, true, false},
      {CVariant::FromInt32(INT32_MIN), CVariant::FromInt32(INT32_MAX), 4294967294, true, true},
      {CVariant::FromInt32(1), CVariant::FromInt(1), 5, false, false},
      {CVariant::FromInt32(1), CVariant::FromInt(2), 5, true, true},
      {CVariant::FromInt32(1), Real(1), 5, true, true},
      {CVariant::FromInt64(1), CVariant::FromInt64(2), 5, true, true},
      {CVariant::FromUInt64(1), CVariant::FromUInt64(2), 5, true, true},
      {CVariant::FromDate(1), CVariant::FromDate(2), 5, true, true},
      {CVariant::FromBool(false), CVariant::FromBool(true), 5, true, true},
      {CVariant(u"abc"), CVariant(u"abd"), 5, true, true},
      {CVariant(u"abc"), CVariant(u"abc"), 5, false, false},
      {CVariant(), CVariant(), 0, false, false},
      {CVariant::Null(), CVariant::Null(), 0, true, true},
      {CVariant::FromCurrency({10000}), CVariant::FromCurrency({90000}), 1, false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.a) + " to " + testing::PrintToString(c.b));
    EXPECT_EQ(compare::IsValueChanged(c.a, c.b, c.deadband, compare::EQUAL_IS_CHANGED), c.mode0);
    EXPECT_EQ(compare::IsValueChanged(c.a, c.b, c.deadband, compare::EQUAL_IS_UNCHANGED), c.mode1);
    EXPECT_EQ(compare::IsValueChanged(c.a, c.b, c.deadband, static_cast<compare::changed_compare_t>(7)), c.mode1);
    EXPECT_EQ(compare::IsValueChanged(c.a, c.b), !(c.b == c.a));
  }
  for (const VARTYPE vt : {VT_I8, VT_UI8, VT_BSTR, VT_DATE, VT_BOOL, VT_EMPTY, VT_R8, VT_I4, VT_VARIANT}) {
    const bool supports = vt == VT_EMPTY || vt == VT_R8 || vt == VT_I4 || vt == VT_VARIANT;
    EXPECT_EQ(compare::VarTypeSupportsDeadband(vt), supports) << vt;
    EXPECT_EQ(compare::VarTypeSupportsDeadband(static_cast<VARTYPE>(vt | VT_ARRAY)), supports) << vt;
  }
}

TEST(ValueChanged, ComparesArraysOfOneShapeOnly) {
  const double values[] = {1, 2, 3, 4}, near[] = {1, 2, 3, 4.5};
  const CVariant mixed[] = {CVariant::FromInt32(1), CVariant(u"a")}, other[] = {CVariant::FromInt32(2), CVariant(u"a")},
                 text[] = {CVariant::FromInt32(1), CVariant(u"b")};
  CVariant null;
  null.vt = VT_R8 | VT_ARRAY;
  const CVariant four(4U, VT_R8, values), square(2, 2, VT_R8, values);
  const struct {
    CVariant a, b;
    bool changed;  // with a deadband of 1
  } cases[] = {
      {four, CVariant(4U, VT_R8, near), false},
      {square, CVariant(2, 2, VT_R8, near), false},
      {square, CVariant(4U, VT_R8, near), true},
      {four, CVariant(3U, VT_R8, values), true},
      {four, null, false},
      {null, four, false},
      {null, null, false},
      {CVariant(0U, VT_R8, nullptr), null, false},
      {CVariant(2U, VT_VARIANT, mixed), CVariant(2U, VT_VARIANT, other), true},
      {CVariant(2U, VT_VARIANT, mixed), CVariant(2U, VT_VARIANT, text), true},
      {CVariant(2U, VT_I8, nullptr), CVariant(2U, VT_I8, values), true},
      {four, Real(1), true},
  };
  int row = 0;
  for (const auto& c : cases) {
    EXPECT_EQ(compare::IsValueChanged(c.a, c.b, 1, compare::EQUAL_IS_CHANGED), c.changed) << "row " << row++;
  }
}

// The rule, one element at a time.
bool PlainChanged(double a, double b, bool sameBits, double deadband, bool equalPasses) {
  if (sameBits) return false;
  const double distance = std::fabs(b - a);
  return distance > deadband || (equalPasses && std::fabs(distance - deadband) < DBL_EPSILON);
}

template <class T>
void ExpectArraysLikeElements(const std::vector<T>& samples, const std::vector<double>& deadbands) {
  std::vector<T> before(2100, samples[0]), after(before);
  for (const T a : samples) {
    for (const T b : samples) {
      // Alone among unchanged ones, in and behind the first block, at every place of a vector.
      const std::size_t place =
          (static_cast<std::size_t>(&a - samples.data()) * 37 + static_cast<std::size_t>(&b - samples.data())) %
          before.size();
      before[place] = a, after[place] = b;
      const CVariant x = CVariant::FromArray<T>(before), y = CVariant::FromArray<T>(after);
      const bool sameBits = std::memcmp(&a, &b, sizeof a) == 0;
      for (const double deadband : deadbands) {
        for (const bool equalPasses : {false, true}) {
          const auto mode = equalPasses ? compare::EQUAL_IS_CHANGED : compare::EQUAL_IS_UNCHANGED;
          const bool expected =
              PlainChanged(static_cast<double>(a), static_cast<double>(b), sameBits, deadband, equalPasses);
          EXPECT_EQ(compare::IsValueChanged(x, y, deadband, mode), expected)
              << +a << " to " << +b << " by " << deadband << ", " << equalPasses;
        }
      }
      before[place] = after[place] = samples[0];
    }
  }
}

template <class T>
void ExpectIntegersLikeElements() {
  using limits = std::numeric_limits<T>;
  const double span = static_cast<double>(limits::max()) - static_cast<double>(limits::min());
  std::vector<T> samples = {0, 1, 2, limits::min(), limits::max(), limits::max() / 2, limits::max() / 2 + 1};
  samples.push_back(static_cast<T>(limits::min() + 1));
  ExpectArraysLikeElements<T>(samples, {1e-15, 0.5, 1, 1 + 1e-15, 1 + 3e-16, 1 - 2e-16, 2, span / 2, span - 1, span,
                                        span + 1, kInfinity, kNaN});
}

TEST(ValueChanged, OfArraysIsThatOfAnyElement) {
  ExpectIntegersLikeElements<std::int8_t>();
  ExpectIntegersLikeElements<std::uint8_t>();
  ExpectIntegersLikeElements<std::int16_t>();
  ExpectIntegersLikeElements<std::uint16_t>();
  ExpectIntegersLikeElements<std::int32_t>();
  ExpectIntegersLikeElements<std::uint32_t>();
  const std::vector<double> deadbands = {DBL_EPSILON, 1e-15,    0.1,      double{0.1F},    0.3,           1,
                                         1 + 1e-15,   16777216, 16777217, double{FLT_MAX}, 2.0 * FLT_MAX, 1e300,
                                         kInfinity,   kNaN};
  ExpectArraysLikeElements<float>(
      {0.0F, -0.0F, 0.1F, 0.2F, 0.3F, 1, std::nextafter(1.0F, 2.0F), 1.1F, -1, 16777216, 16777218, -16777216, FLT_MIN,
       FLT_TRUE_MIN, FLT_MAX, -FLT_MAX, INFINITY, -INFINITY, NAN},
      deadbands);
  ExpectArraysLikeElements<double>({0.0, -0.0, 0.1, 0.2, 0.3, 1, std::nextafter(1.0, 2.0), 1.1, 1 + DBL_EPSILON,
                                    DBL_MAX, -DBL_MAX, 1e300, DBL_TRUE_MIN, kInfinity, -kInfinity, kNaN},
                                   deadbands);
}

}  // namespace
