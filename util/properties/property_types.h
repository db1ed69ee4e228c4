// The types that a property can have: their numbers, their names, and the values they hold.
//
//   const property_type_t type = PropertyTypeFromText(u"YesNo");        // TYPE_YES_NO
//   value.ConvertType(ExpectedVartype(type), CVariant::CONVERT_OR_KEEP);  // VT_BOOL
//
// Functions without state; any number of threads. A number outside the enumeration, as a damaged file may hold, is
// taken everywhere: it has no name, belongs to no class and expects VT_UINT.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorutil::properties {

/// Stored in definition files and projects: the numbers never change, a new type takes the next one. Property
/// definitions offer the same names as members, as in IPropertyDefinition::TYPE_STRING.
enum property_type_t : int {
  TYPE_UNKNOWN = -1,  ///< what PropertyTypeFromText gives for a text that names no type
  TYPE_NONE = 0,
  TYPE_ALLOW_DENY = 1,
  TYPE_ENABLE_DISABLE = 2,
  TYPE_YES_NO = 3,
  TYPE_STRING = 4,
  TYPE_PASSWORD = 5,
  TYPE_LOCAL_FILE_SPEC = 6,
  TYPE_UNC_FILE_SPEC = 7,
  TYPE_LOCAL_PATH_SPEC = 8,
  TYPE_UNC_PATH_SPEC = 9,
  TYPE_INTEGER = 10,
  TYPE_HEX = 11,
  TYPE_OCTAL = 12,
  TYPE_SIGNED_INTEGER = 13,
  TYPE_REAL8 = 14,
  TYPE_ENUMERATION = 15,
  TYPE_UNNAMED = 16,  ///< has no name and no class
  TYPE_PROP_ARRAY = 17,
  TYPE_GROUP = 18,
  TYPE_STRING_WITH_BROWSER = 19,
  TYPE_TIME_OF_DAY = 20,
  TYPE_DATE = 21,
  TYPE_DATE_AND_TIME = 22,
  TYPE_REAL4 = 23,
  TYPE_BLOB = 24,
  TYPE_STRING_ARRAY = 25,
};

/// By name, letter case aside; TYPE_UNKNOWN for any other text and for null.
ZORUTIL_API property_type_t PropertyTypeFromText(const char16_t* text) noexcept;
/// The name, such as u"YesNo"; never null, empty for a type without one. Lives as long as the library.
ZORUTIL_API const char16_t* PropertyTypeToText(property_type_t type) noexcept;

/// TYPE_NONE: a definition without values.
ZORUTIL_API bool IsNoDataProperty(property_type_t type) noexcept;
/// TYPE_ALLOW_DENY, TYPE_ENABLE_DISABLE, TYPE_YES_NO.
ZORUTIL_API bool IsBooleanProperty(property_type_t type) noexcept;
/// All that is text: passwords, files and folders, and TYPE_STRING_ARRAY.
ZORUTIL_API bool IsStringProperty(property_type_t type) noexcept;
/// TYPE_INTEGER, TYPE_HEX, TYPE_OCTAL, TYPE_SIGNED_INTEGER; no enumeration.
ZORUTIL_API bool IsIntegerProperty(property_type_t type) noexcept;
/// TYPE_REAL8, TYPE_REAL4.
ZORUTIL_API bool IsFloatingPointProperty(property_type_t type) noexcept;
/// The type of that name alone: TYPE_ENUMERATION, TYPE_PROP_ARRAY, TYPE_GROUP, TYPE_TIME_OF_DAY, TYPE_DATE,
/// TYPE_DATE_AND_TIME.
/// @{
ZORUTIL_API bool IsEnumProperty(property_type_t type) noexcept;
ZORUTIL_API bool IsPropertyArrayProperty(property_type_t type) noexcept;
ZORUTIL_API bool IsGroupProperty(property_type_t type) noexcept;
ZORUTIL_API bool IsTimeOfDayProperty(property_type_t type) noexcept;
ZORUTIL_API bool IsDateProperty(property_type_t type) noexcept;
ZORUTIL_API bool IsDateAndTimeProperty(property_type_t type) noexcept;
/// @}
/// Any of the three before.
ZORUTIL_API bool IsTimeBasedProperty(property_type_t type) noexcept;
/// TYPE_BLOB.
ZORUTIL_API bool IsBlobProperty(property_type_t type) noexcept;

/// The VARTYPE of the values of a type: VT_I4 for times and dates, VT_ARRAY | VT_UI1 for blobs, VT_UINT for property
/// arrays, groups and all that has no other.
ZORUTIL_API unsigned short ExpectedVartype(property_type_t type) noexcept;

/// The words for the two states of a boolean type, in the product language; "True" and "False" for any other type.
ZORUTIL_API void GetBooleanStrings(property_type_t type, CString& trueText, CString& falseText);

}  // namespace zorutil::properties
