// VariantChangeTypeEx: one scalar VARIANT into another type, by the rules of OLE automation under US English
// conventions, which stand for every locale identifier.
//
//   tagVARIANT text{VT_BSTR}; text.bstrVal = SysAllocString(u"1,234.5");
//   tagVARIANT number{};
//   VariantChangeTypeEx(&number, &text, 0, 0, VT_R8);            // S_OK, 1234.5
//
// Reals become integers by rounding half to even. A value that does not fit is DISP_E_OVERFLOW, a signed and an
// unsigned type of one width included; NaN to an integer, CY, DATE or DECIMAL too. A pair that has no conversion,
// or a text that is no such value, is DISP_E_TYPEMISMATCH; so is every pair with VT_VARIANT, VT_DISPATCH or VT_UNKNOWN,
// but a value of any type becomes its own type as a copy of its bits. A target that is no type of OLE's is
// DISP_E_BADVARTYPE, a date without a text E_INVALIDARG. No state; any number of threads.
#pragma once

#include "platform/export.h"
#include "platform/ole/ole_types.h"

/// Frees the string of a VT_BSTR and empties the record. Arrays belong to CVariant: DISP_E_BADVARTYPE, unchanged.
ZORPLATFORM_API HRESULT VariantClear(tagVARIANT* value) noexcept;

/// Converts `source` to `target` into `destination`, which is cleared first and may be `source` itself. On failure
/// `destination` is as it was. `lcid` and `flags` are taken as 0. An array on either side is DISP_E_TYPEMISMATCH.
ZORPLATFORM_API HRESULT VariantChangeTypeEx(tagVARIANT* destination, const tagVARIANT* source, LCID lcid,
                                            std::uint16_t flags, VARTYPE target) noexcept;
