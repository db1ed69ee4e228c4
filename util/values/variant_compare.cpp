#include "util/values/variant_compare.h"

#include "platform/text/collation.h"
#include "util/values/array_kernels_internal.h"
#include "util/values/safe_array.h"
#include "util/values/vartype_internal.h"

namespace {

// The outcome of an ordering, given how the left side stands to the right one.
bool Holds(CVariantCompare::comparison_t op, bool greater, bool less, bool same) {
  switch (op) {
    case CVariantCompare::GREATER: return greater;
    case CVariantCompare::LESS: return less;
    case CVariantCompare::EQUAL: return same;
    case CVariantCompare::NOT_EQUAL: return !same;
    default: return false;
  }
}

}  // namespace

bool CVariantCompare::Values(const CVariant& a, const CVariant& b, comparison_t op) noexcept {
  if (a.IsArray() || b.IsArray() || a.IsEmpty() || b.IsEmpty()) return false;
  if (a.vt == VT_BSTR && b.vt == VT_BSTR) {
    const int order = collation::CompareNoCase(a.GetStringView(), b.GetStringView());
    if (op == GREATER_OR_EQUAL) return order >= 0;
    if (op == LESS_OR_EQUAL) return order <= 0;
    return Holds(op, order > 0, order < 0, order == 0);
  }
  const double x = a.GetAsDouble();
  const double y = b.GetAsDouble();
  if (op == GREATER_OR_EQUAL) return x >= y;
  if (op == LESS_OR_EQUAL) return x <= y;
  return Holds(op, x > y, x < y, std::memcmp(&x, &y, sizeof x) == 0);
}

bool CVariantCompare::IsValueChanged(const CVariant& a, const CVariant& b) { return !(b == a); }

bool CVariantCompare::IsOtherChanged(const CVariant& a, const CVariant& b, double deadband, changed_compare_t mode) {
  if (b == a) return false;
  if (!VarTypeSupportsDeadband(a.vt) || a.vt != b.vt || deadband < kEpsilon) return true;
  if (a.IsArray()) return IsArrayChanged(a, b, deadband, mode);
  return Passes(std::fabs(b.GetAsDouble() - a.GetAsDouble()), deadband, mode);
}

bool CVariantCompare::IsArrayChanged(const CVariant& a, const CVariant& b, double deadband, changed_compare_t mode) {
  if (a.GetArray() == nullptr || b.GetArray() == nullptr) return false;
  const CSafeArray& x = *a.GetArray();
  const CSafeArray& y = *b.GetArray();
  if (x.GetNumRows() != y.GetNumRows() || x.GetNumCols() != y.GetNumCols()) return true;
  const std::uint32_t count = x.GetNumElements();
  if (count != y.GetNumElements()) return true;
  if (x.GetVarType() == y.GetVarType() && x.HoldsItsType() && y.HoldsItsType() &&
      array_kernels::CanCompare(x.GetVarType())) {
    return array_kernels::AnyPasses(x.GetVarType(), x.pvData, y.pvData, count, deadband, mode == EQUAL_IS_CHANGED);
  }
  CVariant before;
  CVariant after;
  for (std::uint32_t i = 0; i < count; ++i) {
    x.GetElement(i, before);
    y.GetElement(i, after);
    if (IsValueChanged(before, after, deadband, mode)) return true;
  }
  return false;
}

bool CVariantCompare::VarTypeSupportsDeadband(VARTYPE vt) noexcept {
  switch (vartype::ElementOf(vt)) {
    case VT_I8:
    case VT_UI8:
    case VT_BSTR:
    case VT_DATE:
    case VT_BOOL: return false;
    default: return true;
  }
}
