// The records of OLE automation: VARIANT, BSTR, SAFEARRAY, DECIMAL, CY, DATE and the status codes, as plain
// memory. Nothing here owns anything; owners are CVariant, CBstr and CSafeArray above, and the functions beside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// A status code: negative is failure, else success.
using HRESULT = std::int32_t;
/// A status code that is a value (VT_ERROR); any 32 bits.
using SCODE = std::int32_t;
/// A locale identifier. 0 stands for US English here, as does every other.
using LCID = std::uint32_t;
/// One VARENUM, with VT_ARRAY or VT_BYREF added.
using VARTYPE = std::uint16_t;
/// VARIANT_TRUE or VARIANT_FALSE; what other numbers mean is said by whoever reads one.
using VARIANT_BOOL = std::int16_t;
/// Days since 30 December 1899 as a double; of a negative date the fraction still counts forward from midnight.
using DATE = double;
/// A NUL-terminated UTF-16 text whose byte length stands in the 4 bytes before it. See ole/string.h.
using BSTR = char16_t*;

/// The one true that is written.
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
/// False.
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

/// Status codes, with OLE's numbers. Negative is failure.
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);         ///< a failure of no other kind
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);   ///< an argument that cannot be
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);  ///< memory is short
/// No conversion between the types, or a text that is no such value.
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005);
/// A type that OLE does not know, or that cannot stand here.
inline constexpr HRESULT DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008);
inline constexpr HRESULT DISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000A);  ///< a value that does not fit

/// The type of a value. Stored in files and streams: the numbers are OLE's and never change.
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
  /// Ten-thousandths.
  std::int64_t int64;
};

/// A 96-bit magnitude divided by 10^scale (0 to 28); sign is 0 or 0x80. Inside a VARIANT the reserved word is vt.
struct DECIMAL {
  /// `sign` of a number below 0.
  static constexpr std::uint8_t kNegative = 0x80;
  /// The most decimal places.
  static constexpr std::uint8_t kMaxScale = 28;
  /// Unused; in a VARIANT the vt.
  std::uint16_t wReserved;
  /// Decimal places, 0 to 28.
  std::uint8_t scale;
  /// 0 or kNegative. Zero may carry either.
  std::uint8_t sign;
  /// The upper 32 bits of the magnitude.
  std::uint32_t Hi32;
  /// The lower 64 bits of the magnitude.
  std::uint64_t Lo64;
};
static_assert(sizeof(DECIMAL) == 16);

/// One dimension of an array.
struct SAFEARRAYBOUND {
  /// How many elements it has.
  std::uint32_t cElements;
  /// The index of the first; 0 here.
  std::int32_t lLbound;
};

/// Features of an array. Those of the elements say what each owns.
enum : std::uint16_t {
  FADF_FIXEDSIZE = 0x0010,    ///< the descriptor and its data keep their size
  FADF_HAVEVARTYPE = 0x0080,  ///< the element VARTYPE stands before the descriptor
  FADF_BSTR = 0x0100,         ///< elements are BSTR
  FADF_VARIANT = 0x0800,      ///< elements are VARIANT
};

/// An array descriptor with room for two bounds. The element VARTYPE stands in the 32-bit word just before it, so
/// a descriptor is made by SafeArrayAllocDescriptor alone (ole/safe_array_descriptor.h).
struct tagSAFEARRAY {
  /// How many of the bounds count: 1 or 2.
  std::uint16_t cDims;
  /// FADF_FIXEDSIZE and its like, added.
  std::uint16_t fFeatures;
  /// Bytes of an element as OLE counts them on 32 bits: 4 for a text, although its pointer may be wider.
  std::uint32_t cbElements;
  /// 0: nothing here locks an array.
  std::uint32_t cLocks;
  /// The elements without gaps; null without any.
  void* pvData;
  /// Rows and columns; one dimension alone stands first.
  SAFEARRAYBOUND rgsabound[2];
};

/// The 16-byte value record. A DECIMAL overlays the whole record, its reserved word being vt: read and write it
/// with GetDecimal and SetDecimal.
struct tagVARIANT {
  /// What the value is; everything else follows from it.
  VARTYPE vt;
  /// Unused, but part of a DECIMAL.
  /// @{
  std::uint16_t wReserved1;
  std::uint16_t wReserved2;
  std::uint16_t wReserved3;
  /// @}
  /// The value, under the name that belongs to vt.
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
