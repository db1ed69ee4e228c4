// Small helpers over names and delimited text.
#pragma once

#include <functional>
#include <type_traits>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorutil {

/// Splits the text at every delimiter, skips empty tokens, trims white space off both ends of each (which may leave it
/// empty) and passes it to the callback, until that returns false. Returns the last answer, or true when there was no
/// token. An empty callback throws std::bad_function_call at the first token.
ZORUTIL_API bool TokenizeString(const CString& text, const std::function<bool(CString&)>& callback, char16_t delimiter);

/// One vocabulary for code that is generic over wide and narrow names: CString and std::string.
namespace names_private {

/// The argument, or a static empty text when it is null or empty.
ZORUTIL_API const char* ValidateRawString(const char* text) noexcept;
ZORUTIL_API const char16_t* ValidateRawString(const char16_t* text) noexcept;
ZORUTIL_API const wchar_t* ValidateRawString(const wchar_t* text) noexcept;

template <class S>
bool IsEmpty(const S& name) {
  if constexpr (std::is_same_v<S, CString>)
    return name.IsEmpty();
  else
    return name.empty();
}

/// The NUL-terminated characters of a name, valid as long as it is.
template <class S, class P>
P ConvertToRawString(const S& name) {
  if constexpr (std::is_same_v<S, CString>)
    return name.GetString();
  else
    return name.c_str();
}

/// Whether `a` orders before `b`: wide names by code units, narrow ones by bytes as unsigned values; of two names that
/// begin alike the shorter first.
template <class S>
bool CompareStrings(const S& a, const S& b) {
  return a < b;
}

}  // namespace names_private
}  // namespace zorutil
