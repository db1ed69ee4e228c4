// The catalogue of tag data types: the small numbers that configuration objects store and show by name, as opposed
// to the VARTYPEs in which values travel.
//
//   DATATYPE type = CDataType::TypeFromText(u"float array");          // DT_FLOAT_ARRAY
//   double highest = CDataType::MaxVal(type);                         // of one element: 3.4028234663852886e38
//
// Static functions over a fixed table; no state, any number of threads. CVariant::ConvertDataType and
// ConvertVarType map these numbers to VARTYPEs and back.
#pragma once

#include <cstdint>

#include "platform/export.h"

/// Stored in project files: the numbers never change. The array form of a type is the type + 20.
enum DATATYPE : std::int32_t {
  DT_DEFAULT = -1,
  DT_STRING = 0,
  DT_BOOLEAN,
  DT_CHAR,
  DT_BYTE,
  DT_SHORT,
  DT_WORD,
  DT_LONG,
  DT_DWORD,
  DT_FLOAT,
  DT_DOUBLE,
  DT_BCD,   ///< four binary-coded decimal digits, carried as VT_UI2
  DT_LBCD,  ///< eight binary-coded decimal digits, carried as VT_UI4
  DT_DATE,
  DT_LLONG,
  DT_QWORD,
  DT_STRING_ARRAY = 20,
  DT_BOOLEAN_ARRAY,
  DT_CHAR_ARRAY,
  DT_BYTE_ARRAY,
  DT_SHORT_ARRAY,
  DT_WORD_ARRAY,
  DT_LONG_ARRAY,
  DT_DWORD_ARRAY,
  DT_FLOAT_ARRAY,
  DT_DOUBLE_ARRAY,
  DT_BCD_ARRAY,
  DT_LBCD_ARRAY,
  DT_DATE_ARRAY,
  DT_LLONG_ARRAY,
  DT_QWORD_ARRAY,
};

class ZORUTIL_API CDataType {
 public:
  /// Bytes of one element; 0 for "Default", "String" and numbers that are no type.
  static int SizeOf(DATATYPE type) noexcept;

  /// "Long", "Float Array", ...; "Default" for numbers that are no type. Never null.
  static const char16_t* TextFromType(DATATYPE type) noexcept;
  /// The type of that name, letter case aside; DT_DEFAULT for "Default", for any other text and for null.
  static DATATYPE TypeFromText(const char16_t* text) noexcept;

  /// The range of one element as doubles; 0 for "String" and numbers that are no type. The largest values of "LLong"
  /// and "QWord" are 2^63 and 2^64, the nearest doubles above the true ones, so a range check lets those through.
  static double MinVal(DATATYPE type) noexcept;
  static double MaxVal(DATATYPE type) noexcept;

  /// Whether the number is that of an array form, or lies above them all.
  static bool IsArrayType(DATATYPE type) noexcept { return type >= kArrayOffset; }
  /// The array form of a scalar type; any other number stays as it is ("Default" becomes 19, which is no type).
  static DATATYPE MakeArrayType(DATATYPE type) noexcept {
    return IsArrayType(type) ? type : static_cast<DATATYPE>(type + kArrayOffset);
  }
  /// The element type of an array type; a scalar type stays as it is.
  static DATATYPE MakeBasicType(DATATYPE type) noexcept {
    return IsArrayType(type) ? static_cast<DATATYPE>(type - kArrayOffset) : type;
  }
  /// "LLong" and "QWord", whose values a double cannot hold exactly.
  static bool Is64BitIntegerType(DATATYPE type) noexcept {
    const DATATYPE basic = MakeBasicType(type);
    return basic == DT_LLONG || basic == DT_QWORD;
  }

 private:
  static constexpr std::int32_t kArrayOffset = 20;
};
