// How the test operation of a patch compares.
#include <algorithm>
#include <compare>
#include <cstdint>
#include <vector>

#include "util/json/json_text.h"
#include "util/json/patch.h"

namespace zorutil::json {
namespace {

bool Equal(const IValue* a, const IValue* b, int depth);

bool IsNull(const IValue* value) {
  return value == nullptr ||
         (value->IsScalar() && (value->IsNull() || static_cast<const scalar_t*>(value)->value.vt == VT_NULL));
}

// An integer as sign and magnitude; false for another type.
struct integer_t {
  bool negative = false;
  std::uint64_t magnitude = 0;
  bool operator==(const integer_t&) const = default;
};
bool ToInteger(const CVariant& value, integer_t& out) {
  const auto take = [&out](std::int64_t number) {
    out = {number < 0, number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number)};
    return true;
  };
  switch (value.vt) {
    case VT_I1: return take(value.cVal);
    case VT_UI1: return take(value.bVal);
    case VT_I2: return take(value.iVal);
    case VT_UI2: return take(value.uiVal);
    case VT_I4:
    case VT_INT: return take(value.lVal);
    case VT_UI4:
    case VT_UINT: return take(value.ulVal);
    case VT_I8: return take(value.llVal);
    case VT_UI8: out = {false, value.ullVal}; return true;
    default: return false;
  }
}

bool EqualIntegerAndReal(const integer_t& integer, double real) {
  constexpr double kTwoTo64 = 18446744073709551616.0;
  const double magnitude = real < 0 ? -real : real;
  // The comparison is exact: below 2^64 a whole double is an integer of 64 bits.
  return (integer.magnitude == 0 || integer.negative == (real < 0)) && magnitude < kTwoTo64 &&
         static_cast<double>(static_cast<std::uint64_t>(magnitude)) == magnitude &&
         static_cast<std::uint64_t>(magnitude) == integer.magnitude;
}

bool IsReal(const CVariant& value) { return value.vt == VT_R4 || value.vt == VT_R8; }

bool EqualScalars(const CVariant& a, const CVariant& b) {
  integer_t x;
  integer_t y;
  const bool isX = ToInteger(a, x);
  const bool isY = ToInteger(b, y);
  if (isX && isY) return x == y;
  if (isX && IsReal(b)) return EqualIntegerAndReal(x, b.GetAsDouble());
  if (isY && IsReal(a)) return EqualIntegerAndReal(y, a.GetAsDouble());
  if (IsReal(a) && IsReal(b)) return a.GetAsDouble() == b.GetAsDouble();
  if (a.vt == VT_BSTR && b.vt == VT_BSTR) return a.GetStringView() == b.GetStringView();
  return a == b;
}

std::vector<const member_t*> SortedMembers(const object_t& object) {
  std::vector<const member_t*> sorted;
  sorted.reserve(object.members.size());
  for (const member_t& member : object.members) sorted.push_back(&member);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const member_t* a, const member_t* b) { return (a->name <=> b->name) < 0; });
  return sorted;
}

bool EqualObjects(const object_t& a, const object_t& b, int depth) {
  if (a.members.size() != b.members.size()) return false;
  const auto equal = [depth](const member_t& x, const member_t& y) {
    return x.name == y.name && Equal(x.value.get(), y.value.get(), depth);
  };
  const auto sameNames = [](const member_t& x, const member_t& y) { return x.name == y.name; };
  if (std::equal(a.members.begin(), a.members.end(), b.members.begin(), sameNames)) {
    return std::equal(a.members.begin(), a.members.end(), b.members.begin(), equal);
  }
  const auto sortedA = SortedMembers(a);
  const auto sortedB = SortedMembers(b);
  return std::equal(sortedA.begin(), sortedA.end(), sortedB.begin(),
                    [&](const member_t* x, const member_t* y) { return equal(*x, *y); });
}

bool Equal(const IValue* a, const IValue* b, int depth) {
  if (IsNull(a) || IsNull(b)) return IsNull(a) && IsNull(b);
  if (a->IsScalar() || b->IsScalar()) {
    return a->IsScalar() && b->IsScalar() &&
           EqualScalars(static_cast<const scalar_t*>(a)->value, static_cast<const scalar_t*>(b)->value);
  }
  if (a->IsObject() != b->IsObject() || depth == kMaxDepth) return false;
  if (a->IsObject()) return EqualObjects(static_cast<const object_t&>(*a), static_cast<const object_t&>(*b), depth + 1);
  const auto& x = static_cast<const array_t*>(a)->elements;
  const auto& y = static_cast<const array_t*>(b)->elements;
  return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                    [depth](const auto& left, const auto& right) { return Equal(left.get(), right.get(), depth + 1); });
}

}  // namespace

bool AreEqual(const IValue* a, const IValue* b) { return Equal(a, b, 0); }

}  // namespace zorutil::json
