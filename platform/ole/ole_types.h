// The records of OLE automation: VARIANT, BSTR, SAFEARRAY, DECIMAL, CY, DATE and the status codes, as plain
// memory. Nothing here owns anything; owners are CVariant, CBstr and CSafeArray above, and the functions beside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = std::uint32_t;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
/// Days since 30 December 1899 as a double; of a negative date the fraction still counts forward from midnight.
using DATE = double;
/// A NUL-terminated UTF-16 text whose byte length stands in the 4 bytes before it. See ole/string.h.
using BSTR = char16_t*;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

/// Status codes. Negative is failure.
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005);
inline constexpr HRESULT DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008);
inline constexpr HRESULT DISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000A);

/// Stored in files and streams: the numbers are OLE's and never change.
enum VARENUM : VARTYPE {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_DECIMAL = 14,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
  VT_TYPEMASK = 0x0FFF,
};

/// A fixed-point amount: the integer divided by 10,000.
struct CY {
  std::int64_t int64;
};

/// A 96-bit magnitude divided by 10^scale (0 to 28); sign is 0 or 0x80. Inside a VARIANT the reserved word is vt.
struct DECIMAL {
  static constexpr std::uint8_t kNegative = 0x80;
  static constexpr std::uint8_t kMaxScale = 28;
  std::uint16_t wReserved;
  std::uint8_t scale;
  std::uint8_t sign;
  std::uint32_t Hi32;
  std::uint64_t Lo64;
};
static_assert(sizeof(DECIMAL) == 16);

struct SAFEARRAYBOUND {
  std::uint32_t cElements;
  std::int32_t lLbound;
};

enum : std::uint16_t {
  FADF_FIXEDSIZE = 0x0010,
  FADF_HAVEVARTYPE = 0x0080,
  FADF_BSTR = 0x0100,
  FADF_VARIANT = 0x0800,
};

/// An array descriptor with room for two bounds. The element VARTYPE stands in the 32-bit word just before it, so
/// a descriptor is made by SafeArrayAllocDescriptor alone (ole/safe_array_descriptor.h).
struct tagSAFEARRAY {
  std::uint16_t cDims;
  std::uint16_t fFeatures;
  std::uint32_t cbElements;
  std::uint32_t cLocks;
  void* pvData;
  SAFEARRAYBOUND rgsabound[2];
};

/// The 16-byte value record. A DECIMAL overlays the whole record, its reserved word being vt: read and write it
/// with GetDecimal and SetDecimal.
struct tagVARIANT {
  VARTYPE vt;
  std::uint16_t wReserved1;
  std::uint16_t wReserved2;
  std::uint16_t wReserved3;
  union {
    std::uint64_t ullVal;  // first, so that tagVARIANT{} zeroes all 16 bytes
    std::int8_t cVal;
    std::uint8_t bVal;
    std::int16_t iVal;
    std::uint16_t uiVal;
    std::int32_t lVal;
    std::uint32_t ulVal;
    std::int32_t intVal;
    std::uint32_t uintVal;
    std::int64_t llVal;
    float fltVal;
    double dblVal;
    VARIANT_BOOL boolVal;
    SCODE scode;
    CY cyVal;
    DATE date;
    BSTR bstrVal;
    tagSAFEARRAY* parray;
    void* byref;
  };
};
static_assert(sizeof(tagVARIANT) == 16 && offsetof(tagVARIANT, ullVal) == 8);

/// The DECIMAL of a VT_DECIMAL record; its wReserved is the vt.
inline DECIMAL GetDecimal(const tagVARIANT& value) {
  DECIMAL decimal;
  std::memcpy(&decimal, &value, sizeof decimal);
  return decimal;
}

/// Makes the record a VT_DECIMAL. What it owned before is not freed.
inline void SetDecimal(tagVARIANT& value, DECIMAL decimal) {
  decimal.wReserved = VT_DECIMAL;
  std::memcpy(static_cast<void*>(&value), &decimal, sizeof decimal);
}
