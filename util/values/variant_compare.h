// Ordering of values, and whether a new value differs enough from an old one to be told.
//
//   if (CVariantCompare::IsValueChanged(last, now, 0.5, CVariantCompare::EQUAL_IS_CHANGED)) Report(now);
//
// Static, re-entrant functions without state.
#pragma once

#include <cmath>

#include "platform/export.h"
#include "util/values/variant.h"

class ZORUTIL_API CVariantCompare {
 public:
  /// Stored in property conditions: the numbers never change.
  enum comparison_t : int { GREATER, GREATER_OR_EQUAL, LESS, LESS_OR_EQUAL, EQUAL, NOT_EQUAL };
  /// Whether a difference equal to the deadband counts. Any other value is taken as 1.
  enum changed_compare_t : int { EQUAL_IS_CHANGED = 0, EQUAL_IS_UNCHANGED = 1 };

  /// Two texts by the order of names, letter case aside; any other two as doubles (CVariant::GetAsDouble), where EQUAL
  /// means the same eight bytes, so that 0.0 and -0.0 differ and a NaN equals itself. False when either is an array or
  /// empty, and for an unknown `op`.
  static bool Values(const CVariant& a, const CVariant& b, comparison_t op) noexcept;

  /// Not equal by operator==.
  static bool IsValueChanged(const CVariant& a, const CVariant& b);

  /// Whether |b - a| passes the deadband; of arrays of one shape, whether any element does. Any difference counts when
  /// the types differ, when the type knows no deadband, and when the deadband is below the double epsilon. A null array
  /// beside another array of its type is no change.
  static bool IsValueChanged(const CVariant& a, const CVariant& b, const double& deadband, changed_compare_t mode) {
    // Values of equal bits need no test of their own: their distance, 0 or not a number, passes no deadband.
    if (a.vt == b.vt && !(deadband < kEpsilon)) {
      switch (a.vt) {
        case VT_R8: return Passes(Distance(a.dblVal, b.dblVal), deadband, mode);
        case VT_R4: return Passes(Distance(a.fltVal, b.fltVal), deadband, mode);
        case VT_I4: return Passes(Distance(a.lVal, b.lVal), deadband, mode);
        case VT_I2: return Passes(Distance(a.iVal, b.iVal), deadband, mode);
        case VT_UI2: return Passes(Distance(a.uiVal, b.uiVal), deadband, mode);
        default: break;
      }
    }
    return IsOtherChanged(a, b, deadband, mode);
  }

  /// False for VT_I8, VT_UI8, VT_BSTR, VT_DATE and VT_BOOL and their arrays, true for every other type.
  static bool VarTypeSupportsDeadband(VARTYPE vt) noexcept;

 private:
  static constexpr double kEpsilon = 2.220446049250313e-16;

  template <class T>
  static double Distance(T a, T b) noexcept {
    return std::fabs(static_cast<double>(b) - static_cast<double>(a));
  }
  static bool Passes(double distance, double deadband, changed_compare_t mode) noexcept {
    return distance > deadband || (mode == EQUAL_IS_CHANGED && std::fabs(distance - deadband) < kEpsilon);
  }
  static bool IsOtherChanged(const CVariant& a, const CVariant& b, double deadband, changed_compare_t mode);
  static bool IsArrayChanged(const CVariant& a, const CVariant& b, double deadband, changed_compare_t mode);
};
