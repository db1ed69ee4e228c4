// Conversion of a CVariant in place: scalars through VariantChangeTypeEx, arrays in whole-array loops where the
// element rule allows, else element by element.
#include "platform/ole/variant_conversion.h"

#include <algorithm>
#include <new>

#include "platform/zorplatform/exception.h"
#include "util/values/array_kernels_internal.h"
#include "util/values/safe_array_internal.h"
#include "util/values/variant.h"
#include "util/values/vartype_internal.h"

// Nothing asks for the sign check or looks at the locale: VariantChangeTypeEx refuses every value that would change its
// sign, and knows one locale.

HRESULT CVariant::ConvertTypeExOther(VARTYPE target) {
  HRESULT result = DISP_E_TYPEMISMATCH;
  if (IsArray() && (target & VT_ARRAY) != 0) {
    result = GetArray() == nullptr ? E_FAIL : _ConvertArrayType(target);
  } else if (!IsArray() && (target & VT_ARRAY) == 0) {
    result = VariantChangeTypeEx(this, this, 0, 0, target);
  }
  if (result < 0) Clear();
  return result;
}

// A conversion that fails, of a scalar or of an array, has not touched the record: only clearing it would.
bool CVariant::ConvertTypeOther(VARTYPE target, convert_t mode) {
  if (mode == CONVERT_OR_CLEAR) return ConvertTypeExOther(target) >= 0;
  if (IsArray() != ((target & VT_ARRAY) != 0)) return false;
  if (!IsArray()) return VariantChangeTypeEx(this, this, 0, 0, target) >= 0;
  return GetArray() != nullptr && _ConvertArrayType(target) >= 0;
}

// The old array stands until the new one is whole.
HRESULT CVariant::_ConvertArrayType(VARTYPE target) try {
  const CSafeArray& source = *GetArray();
  const VARTYPE from = vartype::ElementOf(vt);
  const VARTYPE to = vartype::ElementOf(target);
  const std::uint32_t rows = source.GetNumRows();
  const std::uint32_t columns = source.GetNumCols();
  if (std::max(rows, columns) > vartype::kMaxConvertedExtent) return E_INVALIDARG;
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
      result = element.ConvertTypeEx(to, 0, false);
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
