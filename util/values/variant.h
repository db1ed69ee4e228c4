// The value of the whole family: a typed number, text, date or array in 16 bytes.
//
//   CVariant raw = CVariant::FromInt16(512);
//   if (raw.ConvertType(VT_R8, CVariant::CONVERT_OR_KEEP)) use(raw.dblVal);
//   std::cout << raw << '\n';
//
// A CVariant is an OLE VARIANT, bit for bit, that owns what it points at: the string of a VT_BSTR, the array of a
// VT_ARRAY type. So it can be handed to and taken from functions over tagVARIANT without copying. A value: copies
// are deep and independent; moving and swapping never throw and leave the source empty. One thread at a time changes
// a variant, any number may read it.
//
// Nothing but text converts into a CVariant by itself: numbers go through the named factories, which say the type, so
// that no pointer becomes a bool and no int the wrong width. Conversions out are explicit for the same reason.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/ole/ole_types.h"
#include "platform/ole/string.h"
#include "platform/zorplatform/time_stamp.h"
#include "util/values/data_type.h"

class CSafeArray;
class CStringArray;
struct value_io_t;
namespace zorutil {
class ISerializer;
}

class ZORUTIL_API CVariant : public tagVARIANT {
 public:
  /// How exactly reals are written: as people read them, or so that they are the same when they are read back.
  enum format_t : int { FORMAT_NORMAL = 0, FORMAT_FULL = 1 };
  /// What a failed conversion leaves: any value other than 1 gives the earlier value back.
  enum convert_t : int { CONVERT_OR_KEEP = 0, CONVERT_OR_CLEAR = 1 };

  // --- making one ------------------------------------------------------------------------------------------------

  /// VT_EMPTY, all 16 bytes zero.
  CVariant() noexcept : tagVARIANT{} {}
  /// VT_EMPTY, all 16 bytes zero.
  CVariant(std::nullptr_t) noexcept : CVariant() {}
  /// Deep: a string and an array are duplicated. CException -2 or std::bad_alloc when memory is short.
  CVariant(const CVariant& other) : tagVARIANT(other) {
    if (OwnsMemory(vt)) CopyOwned(other);
  }
  /// Takes everything and leaves `other` empty.
  CVariant(CVariant&& other) noexcept : tagVARIANT(other) { other.Forget(); }
  /// A copy of what the record holds; its array, if any, was made by a CVariant.
  explicit CVariant(const tagVARIANT& other) : tagVARIANT{} { Assign(other); }
  /// Text becomes a VT_BSTR; a null pointer gives VT_EMPTY. Narrow text is UTF-8.
  CVariant(const char16_t* text);
  CVariant(const wchar_t* text);
  CVariant(const char* text);
  CVariant(std::u16string_view text);
  CVariant(std::wstring_view text) : CVariant(CString(text)) {}
  CVariant(std::string_view utf8);
  CVariant(const std::u16string& text) : CVariant(std::u16string_view(text)) {}
  CVariant(const std::string& utf8) : CVariant(std::string_view(utf8)) {}
  CVariant(const CString& text) : CVariant(text.View()) {}
  /// Arrays of one dimension, and of rows times columns; see CreateArray.
  CVariant(unsigned count, VARTYPE element, const void* data);
  CVariant(unsigned rows, unsigned columns, VARTYPE element, const void* data);
  CVariant(const void*) = delete;
  ~CVariant() {
    if (OwnsMemory(vt)) FreeOwned();
  }

  /// VT_NULL: no value, as opposed to none yet.
  static CVariant Null() noexcept { return Make(VT_NULL, std::uint64_t{0}); }
  /// VT_BOOL; -1 or 0.
  static CVariant FromBool(bool value) noexcept { return Make(VT_BOOL, value ? VARIANT_TRUE : VARIANT_FALSE); }
  /// No pointer and no number becomes a truth value by itself.
  template <class T>
  static CVariant FromBool(T) = delete;
  /// The type says the width: VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8.
  /// @{
  static CVariant FromInt8(std::int8_t value) noexcept { return Make(VT_I1, value); }
  static CVariant FromUInt8(std::uint8_t value) noexcept { return Make(VT_UI1, value); }
  static CVariant FromInt16(std::int16_t value) noexcept { return Make(VT_I2, value); }
  static CVariant FromUInt16(std::uint16_t value) noexcept { return Make(VT_UI2, value); }
  static CVariant FromInt32(std::int32_t value) noexcept { return Make(VT_I4, value); }
  static CVariant FromUInt32(std::uint32_t value) noexcept { return Make(VT_UI4, value); }
  static CVariant FromInt64(std::int64_t value) noexcept { return Make(VT_I8, value); }
  static CVariant FromUInt64(std::uint64_t value) noexcept { return Make(VT_UI8, value); }
  /// @}
  /// VT_INT and VT_UINT, the types of OLE's own int.
  /// @{
  static CVariant FromInt(std::int32_t value) noexcept { return Make(VT_INT, value); }
  static CVariant FromUInt(std::uint32_t value) noexcept { return Make(VT_UINT, value); }
  /// @}
  /// VT_R4 and VT_R8, any bits.
  /// @{
  static CVariant FromFloat(float value) noexcept { return Make(VT_R4, value); }
  static CVariant FromDouble(double value) noexcept { return Make(VT_R8, value); }
  /// @}
  /// VT_CY.
  static CVariant FromCurrency(CY value) noexcept { return Make(VT_CY, value); }
  /// VT_DATE. A time stamp keeps its milliseconds.
  static CVariant FromDate(DATE oleDate) noexcept { return Make(VT_DATE, oleDate); }
  static CVariant FromDate(const zorplatform::CTimeStamp& time) noexcept {
    return FromDate(time.GetVariantTimeWithMs());
  }
  /// VT_ERROR.
  static CVariant FromError(SCODE code) noexcept { return Make(VT_ERROR, code); }
  /// VT_DECIMAL.
  static CVariant FromDecimal(const DECIMAL& value) noexcept;
  /// VT_BSTR; an empty text gives a string of length 0.
  static CVariant FromString(std::u16string_view text) { return CVariant(text); }
  static CVariant FromString(std::string_view utf8) { return CVariant(utf8); }
  /// A one-dimensional array of the element type that T stands for (variant_element_v).
  template <class T>
  static CVariant FromArray(std::span<T> values);
  template <class T>
  static CVariant FromArray(const std::vector<T>& values) {
    return FromArray(std::span<const T>(values));
  }

  CVariant& operator=(const CVariant& other) { return Assign(other); }
  /// A copy of what the record holds, as the constructor makes it; `other` may be this object.
  CVariant& operator=(const tagVARIANT& other) { return Assign(other); }
  CVariant& operator=(CVariant&& other) noexcept {
    CVariant(std::move(other)).Swap(*this);
    return *this;
  }
  /// Replaces the value by a VT_BSTR; a null pointer by a null one. The text may lie inside the held one.
  CVariant& operator=(const char16_t* text) { return AssignText(CVariant(text)); }
  CVariant& operator=(const wchar_t* text) { return AssignText(CVariant(text)); }
  CVariant& operator=(const char* text) { return AssignText(CVariant(text)); }
  CVariant& operator=(std::u16string_view text);
  CVariant& operator=(std::wstring_view text) { return *this = CVariant(text); }
  CVariant& operator=(std::string_view utf8) { return *this = CVariant(utf8); }
  CVariant& operator=(const std::u16string& text) { return *this = std::u16string_view(text); }
  CVariant& operator=(const std::string& utf8) { return *this = std::string_view(utf8); }
  CVariant& operator=(const CString& text) { return *this = text.View(); }
  CVariant& operator=(std::nullptr_t) noexcept {
    Clear();
    return *this;
  }
  /// For `value = {}`, which would otherwise be any of the above.
  CVariant& operator=(std::initializer_list<std::nullptr_t>) noexcept {
    Clear();
    return *this;
  }

  /// Exchanges all 16 bytes; nothing is copied.
  /// @{
  void Swap(CVariant& other) noexcept { std::swap(static_cast<tagVARIANT&>(*this), static_cast<tagVARIANT&>(other)); }
  friend void swap(CVariant& a, CVariant& b) noexcept { a.Swap(b); }
  /// @}

  /// Frees what is owned and leaves VT_EMPTY.
  void Clear() noexcept {
    if (OwnsMemory(vt)) FreeOwned();
    Forget();
  }
  /// As Clear.
  void Reset() noexcept { Clear(); }

  /// Takes the record's 16 bytes and what they own, and zeroes the record. An array must have been made by a CVariant.
  void AttachData(tagVARIANT& data) noexcept;
  /// Gives up what is owned without freeing it; the caller has copied the record before.
  void DetachData() noexcept { Forget(); }
  /// Gives the record away with what it owns, and is empty.
  [[nodiscard]] tagVARIANT Detach() noexcept { return std::exchange(static_cast<tagVARIANT&>(*this), tagVARIANT{}); }
  /// Takes ownership of a BSTR and becomes a VT_BSTR.
  void AttachString(BSTR text) noexcept;

  // --- arrays ----------------------------------------------------------------------------------------------------

  /// Turns the present type into the element type of a new array and sets VT_ARRAY. `data` holds the elements in
  /// their C form and is copied; null gives zeros. For strings `data` is ignored, they start out null.
  /// CException -5 for a type without fixed size (nothing is made), -2 when memory is short; CInvalidArgException for
  /// more than 65535 rows or columns. What the variant owned before is freed.
  void CreateArray(unsigned count, const void* data);
  void CreateArray(unsigned rows, unsigned columns, const void* data);
  /// An array of null strings.
  void CreateStringArray(unsigned count);
  void CreateStringArray(unsigned rows, unsigned columns);

  /// Whether the type is that of an array, a null one included.
  bool IsArray() const noexcept { return (vt & VT_ARRAY) != 0; }
  /// VT_EMPTY: there is no value, not even an empty text.
  bool IsEmpty() const noexcept { return vt == VT_EMPTY; }
  /// Null for a scalar and for a null array, which is a legal, empty state.
  CSafeArray* GetArray() noexcept { return OwnsArray(vt) ? reinterpret_cast<CSafeArray*>(parray) : nullptr; }
  const CSafeArray* GetArray() const noexcept {
    return OwnsArray(vt) ? reinterpret_cast<const CSafeArray*>(parray) : nullptr;
  }
  /// Of an array the reported element sizes together, of a string its bytes, else SizeOf the type.
  std::size_t GetSizeInBytes() const noexcept;
  /// 1 for a scalar, 0 for a null array.
  unsigned GetNumElements() const noexcept;
  /// Replaces the list by the texts of an array: a null string is empty, elements of another type give their normal
  /// text. False, and an empty list, for a scalar.
  bool GetStringArray(CStringArray& out) const;

  /// The elements of an array whose element type is stored as T; empty for everything else. The span lives until the
  /// variant is changed. Strings: AsSpan<const BSTR>, never freed or replaced through it.
  template <class T>
  std::span<T> AsSpan() noexcept {
    return {static_cast<T*>(ArrayData(element_traits<T>::Accepts)), ArrayCount(element_traits<T>::Accepts)};
  }
  template <class T>
  std::span<const T> AsSpan() const noexcept {
    return {static_cast<const T*>(ArrayData(element_traits<T>::Accepts)), ArrayCount(element_traits<T>::Accepts)};
  }

  // --- converting ------------------------------------------------------------------------------------------------

  /// Converts in place by the rules of VariantChangeTypeEx; arrays element by element into a new array of the same
  /// shape. Both or neither of the types is an array, else DISP_E_TYPEMISMATCH. E_FAIL for a null array; E_INVALIDARG
  /// for an array of more than 65535 rows or columns. `checkSign`: a value that changes sign between the signed and
  /// the unsigned type of one width is DISP_E_OVERFLOW. Every failure leaves the variant empty; E_OUTOFMEMORY is one.
  /// US English conventions stand for every locale identifier.
  HRESULT ConvertTypeEx(VARTYPE target, LCID /*lcid*/, bool /*checkSign*/) {
    return vt == target || ConvertUsual(target) ? S_OK : ConvertTypeExOther(target);
  }
  /// The same without sign check; true on success. A failure leaves the variant empty in mode 1 (CONVERT_OR_CLEAR),
  /// and bit for bit as it was in any other.
  bool ConvertType(VARTYPE target, convert_t mode) {
    return vt == target || ConvertUsual(target) || ConvertTypeOther(target, mode);
  }

  /// The text of the value, into `out`: integers in decimal, VT_BOOL as 1 or 0, reals with 6 or 15 significant digits
  /// (14 from 1e100 on; full: 9 and 18), dates as CTimeStamp writes them, arrays as CSafeArray::Format. A value
  /// without a text gives an empty one.
  void Format(CString& out, format_t format) const;
  /// The text with full precision.
  void FormatEx(CString& out) const { Format(out, FORMAT_FULL); }
  /// The normal text.
  CString ToString() const;

  // --- reading ---------------------------------------------------------------------------------------------------

  /// Numbers: not zero (a denormal real counts as zero, NaN does not). Text: its truth by CBstr. Else false.
  explicit operator bool() const noexcept;
  /// GetAsDouble, taken as an OLE date.
  explicit operator zorplatform::CTimeStamp() const noexcept;
  /// The text of a VT_BSTR, an empty text for anything else; never null.
  explicit operator const char16_t*() const noexcept { return vt == VT_BSTR && bstrVal != nullptr ? bstrVal : u""; }
  /// The text of a VT_BSTR, with any NULs in it; empty for anything else. Valid until the variant is changed.
  std::u16string_view GetStringView() const noexcept {
    return vt == VT_BSTR ? SysStringView(bstrVal) : std::u16string_view();
  }
  /// The address of a scalar's value, of an array's first element or of a string's text; null when there is none.
  /// @{
  explicit operator void*() noexcept { return ValueAddress(); }
  explicit operator const void*() const noexcept { return const_cast<CVariant*>(this)->ValueAddress(); }
  /// @}
  /// The number, whatever its type: truth as 1 or 0, text as the number it begins with, else 0.
  double GetAsDouble() const noexcept;

  // --- types -----------------------------------------------------------------------------------------------------

  /// DT_DEFAULT for a VARTYPE that is no data type.
  static DATATYPE ConvertVarType(VARTYPE vt) noexcept;
  /// VT_EMPTY for a number that is no data type.
  static VARTYPE ConvertDataType(DATATYPE type) noexcept;
  /// Bytes of a value or element of the type, as stored and reported (4 for a string); 0 for types without a fixed
  /// size. The array and reference flags do not count.
  static unsigned SizeOf(VARTYPE vt) noexcept;

 private:
  friend class CSafeArray;
  friend struct value_io_t;

  /// Which element types a C++ type stands for: the width and the kind of number, so that int16_t reads VT_I2 and
  /// VT_BOOL, double reads VT_R8 and VT_DATE.
  template <class T>
  struct element_traits;

  // One test tells most numbers: they have neither the bit of the strings nor that of the arrays.
  static bool OwnsMemory(VARTYPE type) noexcept {
    if ((type & (VT_BSTR | VT_ARRAY)) == 0) [[likely]]
      return false;
    return type == VT_BSTR || OwnsArray(type);
  }
  // An array by reference belongs to somebody else.
  static bool OwnsArray(VARTYPE type) noexcept { return (type & (VT_ARRAY | VT_BYREF)) == VT_ARRAY; }
  template <class T>
  static CVariant Make(VARTYPE type, T value) noexcept {
    CVariant made;
    made.SetScalar(type, value);
    return made;
  }
  template <class T>
  void SetScalar(VARTYPE type, T value) noexcept {
    static_assert(std::is_trivially_copyable_v<T> && sizeof value <= sizeof ullVal);
    tagVARIANT record{};
    record.vt = type;
    std::memcpy(&record.ullVal, &value, sizeof value);
    SetRecord(record);
  }
  void SetRecord(const tagVARIANT& other) noexcept { static_cast<tagVARIANT&>(*this) = other; }
  /// Makes it empty without freeing.
  void Forget() noexcept { SetRecord(tagVARIANT{}); }

  CVariant& Assign(const tagVARIANT& other) {
    if (OwnsMemory(vt) || OwnsMemory(other.vt)) {
      AssignOwned(other);
    } else {
      SetRecord(other);
    }
    return *this;
  }
  // Becomes a copy of another record that owns memory; what was in this one is not freed.
  void CopyOwned(const tagVARIANT& other);
  void AssignOwned(const tagVARIANT& other);
  CVariant& AssignText(CVariant&& text) noexcept {
    if (text.IsEmpty()) text.vt = VT_BSTR;
    return *this = std::move(text);
  }
  void FreeOwned() noexcept;
  void AdoptArray(VARTYPE element, CSafeArray* array) noexcept;
  static unsigned CheckedCount(std::size_t count);  // throws std::length_error beyond 32 bits
  void* ValueAddress() noexcept;
  void* ArrayData(bool (*accepts)(VARTYPE)) const noexcept;
  std::size_t ArrayCount(bool (*accepts)(VARTYPE)) const noexcept;
  // The two conversions between the device's integers and the double that scaling works with, where the value fits;
  // false leaves the value alone.
  bool ConvertUsual(VARTYPE target) noexcept {
    if (target == VT_R8 && vt == VT_I4) {
      SetScalar(VT_R8, static_cast<double>(lVal));
      return true;
    }
    if (target == VT_I4 && vt == VT_R8 && dblVal >= -2147483648.5 && dblVal < 2147483647.5) {
      // Half to even: the sum has no bits for a fraction, and its low half is the integer in two's complement.
      constexpr double kRounder = 6755399441055744.0;  // 1.5 * 2^52
      SetScalar(VT_I4, static_cast<std::int32_t>(std::bit_cast<std::int64_t>(dblVal + kRounder)));
      return true;
    }
    return false;
  }
  HRESULT ConvertTypeExOther(VARTYPE target);
  bool ConvertTypeOther(VARTYPE target, convert_t mode);
  HRESULT _ConvertArrayType(VARTYPE target);
};
static_assert(sizeof(CVariant) == 16 && sizeof(CVariant) == sizeof(tagVARIANT));

/// The element type that CVariant::FromArray gives an array of T; VT_EMPTY for what no array holds.
/// @{
template <class T>
inline constexpr VARTYPE variant_element_v = VT_EMPTY;
template <>
inline constexpr VARTYPE variant_element_v<std::int8_t> = VT_I1;
template <>
inline constexpr VARTYPE variant_element_v<std::uint8_t> = VT_UI1;
template <>
inline constexpr VARTYPE variant_element_v<std::int16_t> = VT_I2;
template <>
inline constexpr VARTYPE variant_element_v<std::uint16_t> = VT_UI2;
template <>
inline constexpr VARTYPE variant_element_v<std::int32_t> = VT_I4;
template <>
inline constexpr VARTYPE variant_element_v<std::uint32_t> = VT_UI4;
template <>
inline constexpr VARTYPE variant_element_v<std::int64_t> = VT_I8;
template <>
inline constexpr VARTYPE variant_element_v<std::uint64_t> = VT_UI8;
template <>
inline constexpr VARTYPE variant_element_v<float> = VT_R4;
template <>
inline constexpr VARTYPE variant_element_v<double> = VT_R8;
template <>
inline constexpr VARTYPE variant_element_v<CY> = VT_CY;
template <>
inline constexpr VARTYPE variant_element_v<DECIMAL> = VT_DECIMAL;
template <>
inline constexpr VARTYPE variant_element_v<BSTR> = VT_BSTR;
template <>
inline constexpr VARTYPE variant_element_v<CVariant> = VT_VARIANT;
/// @}

template <class T>
struct CVariant::element_traits {
  using element_t = std::remove_cv_t<T>;
  static_assert(variant_element_v<element_t> != VT_EMPTY, "no array holds elements of this type");
  static_assert(!std::is_same_v<T, BSTR>, "strings of an array are read as const BSTR");
  static bool Accepts(VARTYPE element) {
    if (element == variant_element_v<element_t>) return true;
    if constexpr (std::is_same_v<element_t, std::int16_t>) return element == VT_BOOL;
    if constexpr (std::is_same_v<element_t, std::int32_t>) return element == VT_INT;
    if constexpr (std::is_same_v<element_t, std::uint32_t>) return element == VT_UINT;
    if constexpr (std::is_same_v<element_t, double>) return element == VT_DATE;
    return false;
  }
};

template <class T>
CVariant CVariant::FromArray(std::span<T> values) {
  constexpr VARTYPE kElement = variant_element_v<std::remove_cv_t<T>>;
  static_assert(kElement != VT_EMPTY, "no array holds elements of this type");
  static_assert(kElement != VT_BSTR, "an array of texts is made by variant_helpers::Set");
  CVariant made;
  made.vt = kElement;
  made.CreateArray(CheckedCount(values.size()), values.data());
  return made;
}

/// Value by value: VT_INT equals VT_I4 (VT_UINT, VT_UI4) of the same number, reals compare bit for bit, text case by
/// case; arrays as CSafeArray. A type that carries no value (VT_NULL, VT_ERROR, any above 23) is unequal even to
/// itself.
ZORUTIL_API bool operator==(const CVariant& a, const CVariant& b);

/// The normal text, as UTF-8.
ZORUTIL_API std::ostream& operator<<(std::ostream& out, const CVariant& value);
/// For GoogleTest: type and full text.
ZORUTIL_API void PrintTo(const CVariant& value, std::ostream* out);

/// Replaces the vector by the strings of a VT_BSTR array, null ones as empty; for any other type it ends up empty.
/// bool: by the elements of a VT_BOOL array, true only for VARIANT_TRUE (a stored 1 reads as false).
template <class T>
void GetArrayAsVector(const CVariant& value, std::vector<T>& out) = delete;
template <>
ZORUTIL_API void GetArrayAsVector<CString>(const CVariant& value, std::vector<CString>& out);
template <>
ZORUTIL_API void GetArrayAsVector<bool>(const CVariant& value, std::vector<bool>& out);

namespace zorutil {

/// Little-endian: the vt (2 bytes), then an array in the form of CSafeArray (a null one as an array of no elements),
/// a string in the form of CBstr, any other value as SizeOf(vt) raw bytes. A scalar VT_VARIANT, a reference and an
/// array whose own type contradicts the value's cannot be written: CException -5, and -1 for arrays nested deeper than
/// 128. A failed write leaves part of the record behind.
ZORUTIL_API void Serialize(const tagVARIANT& value, ISerializer& out);
/// Frees what `value` held (it was made by a CVariant) and reads. CException -1 for a corrupt record, the serializer's
/// own at the end of data: `value` is then empty.
ZORUTIL_API void Deserialize(tagVARIANT& value, ISerializer& in);

}  // namespace zorutil
