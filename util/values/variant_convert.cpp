// Conversion of a CVariant in place: scalars through VariantChangeTypeEx, arrays in whole-array loops where the
// element rule allows, else element by element.
#include "platform/ole/variant_conversion.h"

#include <new>

#include "platform/zorplatform/exception.h"
#include "util/values/array_kernels_internal.h"
#include "util/values/safe_array_internal.h"
#include "util/values/variant.h"

namespace {

constexpr std::uint32_t kMaxArrayExtent = 65535;

VARTYPE ElementOf(VARTYPE vt) { return static_cast<VARTYPE>(vt & ~VT_ARRAY); }

// Signed and unsigned type of one width, in either direction.
bool AreSignTwins(VARTYPE a, VARTYPE b) {
  const auto plain = [](VARTYPE vt) {
    const auto low = static_cast<VARTYPE>(vt & VT_TYPEMASK);
    return low == VT_INT ? VARTYPE{VT_I4} : low == VT_UINT ? VARTYPE{VT_UI4} : low;
  };
  const auto isPair = [](VARTYPE x, VARTYPE y) {
    return (x == VT_I1 && y == VT_UI1) || (x == VT_I2 && y == VT_UI2) || (x == VT_I4 && y == VT_UI4) ||
           (x == VT_I8 && y == VT_UI8);
  };
  return isPair(plain(a), plain(b)) || isPair(plain(b), plain(a));
}

bool ReadsNegative(const tagVARIANT& value) {
  switch (CVariant::SizeOf(value.vt)) {
    case 1: return value.cVal < 0;
    case 2: return value.iVal < 0;
    case 4: return value.lVal < 0;
    default: return value.llVal < 0;
  }
}

}  // namespace

HRESULT CVariant::ConvertTypeExOther(VARTYPE target, LCID lcid, bool checkSign) {
  HRESULT result = DISP_E_TYPEMISMATCH;
  if (IsArray() && (target & VT_ARRAY) != 0) {
    result = parray == nullptr ? E_FAIL : _ConvertArrayType(target, lcid, checkSign);
  } else if (!IsArray() && (target & VT_ARRAY) == 0) {
    result = ConvertScalar(target, checkSign);
  }
  if (result < 0) Clear();
  return result;
}

HRESULT CVariant::ConvertScalar(VARTYPE target, bool checkSign) noexcept {
  const VARTYPE source = vt;
  HRESULT result = VariantChangeTypeEx(this, this, 0, 0, target);
  if (result == DISP_E_TYPEMISMATCH && source == VT_INT) {
    result = VariantChangeTypeEx(this, this, 0, 0, VT_I4);
    if (result >= 0) result = VariantChangeTypeEx(this, this, 0, 0, target);
  }
  if (result >= 0 && checkSign && AreSignTwins(source, target) && ReadsNegative(*this)) return DISP_E_OVERFLOW;
  return result;
}

bool CVariant::ConvertTypeOther(VARTYPE target, convert_t mode) {
  if (mode == CONVERT_OR_CLEAR) return ConvertTypeExOther(target, 0, false) >= 0;
  if (!IsArray() && (target & VT_ARRAY) == 0) {
    // A failed scalar conversion has not touched the record yet; only the two steps of a VT_INT need the old one back.
    const tagVARIANT before = *this;
    if (ConvertScalar(target, false) >= 0) return true;
    if (before.vt == VT_INT) SetRecord(before);
    return false;
  }
  // Nor has a failed array conversion: the old array stands until the new one is whole.
  return IsArray() && (target & VT_ARRAY) != 0 && parray != nullptr && _ConvertArrayType(target, 0, false) >= 0;
}

HRESULT CVariant::_ConvertArrayType(VARTYPE target, LCID lcid, bool checkSign) try {
  const CSafeArray& source = *GetArray();
  const VARTYPE from = ElementOf(vt);
  const VARTYPE to = ElementOf(target);
  const std::uint32_t rows = source.GetNumRows();
  const std::uint32_t columns = source.GetNumCols();
  if (rows > kMaxArrayExtent || columns > kMaxArrayExtent) return E_INVALIDARG;
  if (source.GetVarType() != from || !source.HoldsItsType()) return E_INVALIDARG;
  if (to > VT_UINT) return DISP_E_BADVARTYPE;
  if (SizeOf(to) == 0) return DISP_E_TYPEMISMATCH;

  const bool inOneLoop = array_kernels::CanConvert(from, to);
  array_owner_t made = safe_array_access_t::Make(rows, columns, to, !inOneLoop);
  const std::uint32_t count = source.GetNumElements();
  HRESULT result = S_OK;
  if (inOneLoop) {
    result = array_kernels::Convert(from, to, source.pvData, count, made->pvData);
  } else {
    CVariant element;
    for (std::uint32_t i = 0; i < count && result >= 0; ++i) {
      source.GetElement(i, element);
      result = element.ConvertTypeEx(to, lcid, checkSign);
      if (result >= 0 && !made->SetElement(i, element)) result = DISP_E_TYPEMISMATCH;
    }
  }
  if (result < 0) return result;
  AdoptArray(to, made.release());
  return S_OK;
} catch (const std::bad_alloc&) {
  return E_OUTOFMEMORY;
} catch (const zorplatform::CException&) {
  return E_OUTOFMEMORY;
}
