// Typed assignment: giving a variant a new value while it keeps its type.
//
//   CVariant level = CVariant::FromInt16(0);
//   variant_helpers::Set(level, u"70000");          // still VT_I2, saturated: 32767
//
// One thread at a time changes a variant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/framework/string_array.h"
#include "platform/zorplatform/time_stamp.h"
#include "util/values/variant.h"

namespace variant_helpers {

// One overload for each kind of source; what Set promises is theirs.
namespace detail {
ZORUTIL_API void Assign(CVariant& target, std::u16string_view text);
ZORUTIL_API void Assign(CVariant& target, const CString& text);
ZORUTIL_API void Assign(CVariant& target, std::string_view utf8);
inline void Assign(CVariant& target, const std::u16string& text) { Assign(target, std::u16string_view(text)); }
inline void Assign(CVariant& target, const std::string& utf8) { Assign(target, std::string_view(utf8)); }
ZORUTIL_API void Assign(CVariant& target, const char16_t* text);
ZORUTIL_API void Assign(CVariant& target, const wchar_t* text);
ZORUTIL_API void Assign(CVariant& target, std::wstring_view text);
inline void Assign(CVariant& target, const std::wstring& text) { Assign(target, std::wstring_view(text)); }
ZORUTIL_API void Assign(CVariant& target, const char* utf8);
ZORUTIL_API void Assign(CVariant& target, const zorplatform::CTimeStamp& time);
ZORUTIL_API void Assign(CVariant& target, const _FILETIME& time);
ZORUTIL_API void Assign(CVariant& target, const tagVARIANT& value);
ZORUTIL_API void Assign(CVariant& target, const CStringArray& strings);
ZORUTIL_API void Assign(CVariant& target, const std::vector<unsigned char>& bytes);
}  // namespace detail

/// Gives the variant a value, by the kind of source:
///
/// - Text (CString, `const char16_t*`, `const wchar_t*`, and narrow UTF-8, as pointer, string or view): an empty or
///   VT_BSTR variant becomes a VT_BSTR of the text, a null pointer being an empty text. A number keeps its type and
///   takes the number that the text begins with, saturated to its range (0 without one); a date its OLE date number; a
///   VT_BOOL the truth of the text (CBstr). Any other type, arrays included, is left as it is.
/// - CTimeStamp and _FILETIME: an empty or VT_DATE variant becomes the date, a VT_BSTR its text. Any other scalar keeps
///   its type and takes the OLE date number: integers cut toward zero, VT_BOOL whether it is not zero. Types that hold
///   no number stay as they are.
/// - tagVARIANT: copy assignment.
/// - CStringArray: the strings go into the slots of an array that has as many elements, whatever their type (a text
///   that does not convert to it leaves its slot alone); anything else becomes a one-dimensional VT_BSTR array of them.
///   An index outside the list throws CInvalidArgException.
/// - std::vector<unsigned char>: becomes a VT_UI1 array of the bytes, of no elements when there are none.
template <class T>
requires requires(CVariant& target, const T& value) { detail::Assign(target, value); }
void Set(CVariant& target, const T& value) { detail::Assign(target, value); }

}  // namespace variant_helpers
