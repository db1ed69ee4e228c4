#include "util/values/variant_helpers.h"

#include <algorithm>
#include <concepts>
#include <limits>

#include "platform/text/number_text.h"
#include "platform/text/utf.h"
#include "util/values/bstr.h"
#include "util/values/safe_array.h"

namespace variant_helpers::detail {

namespace {

// The number a text begins with, saturated to the width of the field.
template <class T>
void Parse(T& field, std::u16string_view text) {
  if constexpr (std::floating_point<T>) {
    field = static_cast<T>(number_text::ParseDouble(text));
  } else if constexpr (std::same_as<T, std::uint64_t>) {
    field = number_text::ParseUInt64(text);
  } else {
    field = static_cast<T>(std::clamp<std::int64_t>(number_text::ParseInt64(text), std::numeric_limits<T>::min(),
                                                    std::numeric_limits<T>::max()));
  }
}

}  // namespace

void Assign(CVariant& target, std::u16string_view text) {
  switch (target.vt) {
    case VT_EMPTY:
    case VT_BSTR: target = text; return;
    case VT_I1: return Parse(target.cVal, text);
    case VT_UI1: return Parse(target.bVal, text);
    case VT_I2: return Parse(target.iVal, text);
    case VT_UI2: return Parse(target.uiVal, text);
    case VT_I4:
    case VT_INT: return Parse(target.lVal, text);
    case VT_UI4:
    case VT_UINT: return Parse(target.ulVal, text);
    case VT_I8: return Parse(target.llVal, text);
    case VT_UI8: return Parse(target.ullVal, text);
    case VT_R4: return Parse(target.fltVal, text);
    case VT_R8:
    case VT_DATE: return Parse(target.dblVal, text);
    case VT_BOOL: target.boolVal = CBstr::IsTrue(text) ? VARIANT_TRUE : VARIANT_FALSE; return;
    default: return;
  }
}

void Assign(CVariant& target, const CString& text) { Assign(target, text.View()); }
void Assign(CVariant& target, std::string_view utf8) { Assign(target, std::u16string_view(utf::ToUtf16(utf8))); }
void Assign(CVariant& target, const char16_t* text) {
  Assign(target, text == nullptr ? std::u16string_view() : std::u16string_view(text));
}
void Assign(CVariant& target, const wchar_t* text) {
  Assign(target, text == nullptr ? std::wstring_view() : std::wstring_view(text));
}
void Assign(CVariant& target, std::wstring_view text) { Assign(target, std::u16string_view(utf::ToUtf16(text))); }
void Assign(CVariant& target, const char* utf8) {
  Assign(target, utf8 == nullptr ? std::string_view() : std::string_view(utf8));
}

void Assign(CVariant& target, const zorplatform::CTimeStamp& time) {
  const double date = time.GetVariantTimeWithMs();
  const auto whole = static_cast<std::int64_t>(date);  // a date is a few million days at most
  switch (target.vt) {
    case VT_EMPTY:
    case VT_DATE: target = CVariant::FromDate(date); return;
    case VT_BSTR: target = time.ToString(); return;
    case VT_I1: target.cVal = static_cast<std::int8_t>(whole); return;
    case VT_UI1: target.bVal = static_cast<std::uint8_t>(whole); return;
    case VT_I2: target.iVal = static_cast<std::int16_t>(whole); return;
    case VT_UI2: target.uiVal = static_cast<std::uint16_t>(whole); return;
    case VT_I4:
    case VT_INT: target.lVal = static_cast<std::int32_t>(whole); return;
    case VT_UI4:
    case VT_UINT: target.ulVal = static_cast<std::uint32_t>(whole); return;
    case VT_I8:
    case VT_UI8: target.llVal = whole; return;
    case VT_R4: target.fltVal = static_cast<float>(date); return;
    case VT_R8: target.dblVal = date; return;
    case VT_BOOL: target.boolVal = date != 0 ? VARIANT_TRUE : VARIANT_FALSE; return;
    case VT_CY:
    case VT_DECIMAL: {
      CVariant converted = CVariant::FromDouble(date);
      if (converted.ConvertType(target.vt, CVariant::CONVERT_OR_CLEAR)) target = converted;
      return;
    }
    default: return;
  }
}

void Assign(CVariant& target, const _FILETIME& time) { Assign(target, zorplatform::CTimeStamp(time)); }

void Assign(CVariant& target, const tagVARIANT& value) { target = value; }

void Assign(CVariant& target, const CStringArray& strings) {
  const auto size = static_cast<unsigned>(strings.GetSize());
  if (!target.IsArray() || target.GetNumElements() != size) {
    target.Clear();
    target.CreateStringArray(size);
  }
  CSafeArray* const array = target.GetArray();
  for (unsigned i = 0; i < size; ++i) {
    const CString& text = strings.GetAt(static_cast<int>(i));
    if (!array->SetText(i, text)) array->SetElement(i, CVariant(text));
  }
}

void Assign(CVariant& target, const std::vector<unsigned char>& bytes) {
  target = CVariant(static_cast<unsigned>(bytes.size()), VT_UI1, bytes.data());
}

}  // namespace variant_helpers::detail
