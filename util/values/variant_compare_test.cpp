#include "util/values/variant_compare.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "util/values/value_testing.h"

namespace {

using compare = CVariantCompare;
using value_testing::Rows;
using value_testing::Value;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

TEST(VariantCompareValues, OrdersTextByNameAndTheRestAsDoubles) {
  // One character for each operation: > >= < <= == != and one that is none.
  for (const auto& c : Rows(R"(
      s:b|s:A|1100010; s:pump|s:PUMP|0101100; s:9|s:10|1100010; s:9|i4:10|0011010; bool:1|i1:1|0101100;
      ui8:18446744073709551615|i8:-1|1100010; r8:0|r8:-0|0101010; r8:nan|r8:nan|0000100; r8:nan|r8:1|0000010;
      null|i4:0|0101100; |i4:0|0000000; s:||0000000; [i4:1]|[i4:1]|0000000)")) {
    std::string holds;
    for (int op = 0; op <= 6; ++op) {
      holds += compare::Values(Value(c[0]), Value(c[1]), static_cast<compare::comparison_t>(op)) ? '1' : '0';
    }
    EXPECT_EQ(holds, c[2]) << c[0] << ", " << c[1];
  }
}

TEST(ValueChanged, GoesByTypeDeadbandAndMode) {
  // The values, the deadband, and whether they count as changed in mode 0 and in the others.
  for (const auto& c : Rows(R"(
      r8:5|r8:6|1|10; r8:6|r8:5|1|10; r8:5|r8:6.5|1|11; r8:5|r8:5.9|1|00; r8:5|r8:5.000000000000001|0|11; r8:5|r8:5|0|00;
      r8:5|r8:6|0x1p-53|11; r8:0|r8:0x1p-52|0x1p-52|10; r8:5|r8:6|-1|11; r8:0|r8:-0|0|11; r8:0|r8:-0|1|00;
      r8:nan|r8:nan|0|00; r8:nan|r8:1|1|00; r8:1|r8:nan|0|11; r8:1|r8:inf|1e300|11; r8:inf|r8:inf|1|00; r8:1|r8:2|nan|00;
      r4:1|r4:1.5|0.5|10; ui1:0|ui1:255|255|10; i4:-2147483648|i4:2147483647|4294967294|11; i4:1|i:1|5|00; i4:1|i:2|5|11;
      i4:1|r8:1|5|11; i8:1|i8:2|5|11; ui8:1|ui8:2|5|11; date:1|date:2|5|11; bool:0|bool:1|5|11; s:abc|s:abd|5|11;
      s:abc|s:abc|5|00; ||0|00; null|null|0|11; cy:10000|cy:90000|1|00; [r8:1 4]|[r8:1 4.5]|1|00; [r8:1 4]|[r8:1]|1|11;
      [r8:1 4]|{r8}|1|00; {r8}|[r8:1]|1|00; {r8}|{r8}|1|00; [r8]|{r8}|1|00; [var:i4:1 s:a]|[var:i4:2 s:a]|1|10;
      [var:i4:1 s:a]|[var:i4:1 s:b]|1|11; [i8:0]|[i8:1]|1|11; [r8:1]|r8:1|1|11)")) {
    SCOPED_TRACE(testing::PrintToString(c));
    const CVariant a = Value(c[0]), b = Value(c[1]);
    const double deadband = Value("r8:" + c[2]).dblVal;
    EXPECT_EQ(compare::IsValueChanged(a, b, deadband, compare::EQUAL_IS_CHANGED), c[3][0] == '1');
    EXPECT_EQ(compare::IsValueChanged(a, b, deadband, compare::EQUAL_IS_UNCHANGED), c[3][1] == '1');
    EXPECT_EQ(compare::IsValueChanged(a, b, deadband, static_cast<compare::changed_compare_t>(7)), c[3][1] == '1');
    EXPECT_EQ(compare::IsValueChanged(a, b), !(b == a));
    const int type = a.vt & ~VT_ARRAY;
    const bool isExact = type == VT_I8 || type == VT_UI8 || type == VT_BSTR || type == VT_DATE || type == VT_BOOL;
    EXPECT_EQ(compare::VarTypeSupportsDeadband(a.vt), !isExact);
  }
  const double values[] = {1, 2, 3, 4}, near[] = {1, 2, 3, 4.5};
  const CVariant square(2, 2, VT_R8, values);
  EXPECT_FALSE(compare::IsValueChanged(square, CVariant(2, 2, VT_R8, near), 1, compare::EQUAL_IS_CHANGED));
  EXPECT_TRUE(compare::IsValueChanged(square, CVariant(4U, VT_R8, values), 1, compare::EQUAL_IS_CHANGED)) << "shape";
  CVariant one = Value("[ui1:1]"), nine = Value("[ui1:9]");
  for (CVariant* const bytes : {&one, &nine}) bytes->vt = VT_I4 | VT_ARRAY, bytes->GetArray()->SetVarType(VT_I4);
  EXPECT_FALSE(compare::IsValueChanged(one, nine, 1, compare::EQUAL_IS_CHANGED)) << "what is not stored is not read";
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
