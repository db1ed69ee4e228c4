// The owner of one BSTR: the string that values hold, and the text form into which every number is written and from
// which it is read back.
//
//   CBstr text(1.0 / 3.0);                          // "0.3333333333"
//   auto level = static_cast<short>(CBstr(u"40000"));        // 32767: out of range saturates
//
// A null CBstr and an empty one differ in storage only: every reading takes null as the empty text. A value; one
// thread at a time changes it. std::bad_alloc when memory is short leaves it as it was.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/ole/string.h"
#include "util/serialization/string_serialization.h"  // or a CString would be written in the form of a CBstr

class CVariant;
namespace zorutil {
class ISerializer;
}

/// A number or truth value, as opposed to a character: what CBstr prints and reads by width and sign.
template <class T>
concept bstr_number = (std::integral<T> && !std::same_as<T, wchar_t> && !std::same_as<T, char8_t> &&
                       !std::same_as<T, char16_t> && !std::same_as<T, char32_t>) ||
                      std::same_as<T, float> || std::same_as<T, double>;

/// The bytes of a BSTR as stored: also the odd one of an odd length. Empty for null.
inline std::string_view SysStringBytes(const char16_t* text) noexcept {
  return {reinterpret_cast<const char*>(text), SysStringByteLen(text)};
}

class ZORUTIL_API CBstr {
 public:
  /// Null.
  CBstr() noexcept = default;
  CBstr(std::nullptr_t) noexcept {}
  CBstr(const CBstr& other);
  CBstr(CBstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
  /// A copy of the text; a null pointer gives null. Narrow text is UTF-8.
  CBstr(const char16_t* text) { *this = text; }
  CBstr(const wchar_t* text) { *this = text; }
  CBstr(const char* text) { *this = text; }
  CBstr(std::u16string_view text) { *this = text; }
  CBstr(std::wstring_view text) { *this = text; }
  CBstr(std::string_view utf8) { *this = utf8; }
  CBstr(const std::u16string& text) { *this = text; }
  CBstr(const std::wstring& text) { *this = std::wstring_view(text); }
  CBstr(const std::string& utf8) { *this = utf8; }
  CBstr(const CString& text) { *this = text.View(); }
  /// The variant's normal text (CVariant::Format).
  explicit CBstr(const CVariant& value) { *this = value; }
  /// Integers and bool in decimal (true is "1"; char as a number), float and double with ten significant digits.
  template <bstr_number T>
  explicit CBstr(T value) {
    *this = value;
  }
  /// No other pointer turns into text, or into a truth value and then into "1".
  CBstr(const void*) = delete;
  ~CBstr() { SysFreeString(text_); }

  /// Reuses the held memory. The text may lie inside the held one. Values and numbers become what the constructors say.
  CBstr& operator=(const CBstr& other);
  CBstr& operator=(CBstr&& other) noexcept {
    Attach(other.Detach());
    return *this;
  }
  CBstr& operator=(const char16_t* text) { return *this = View(text); }
  CBstr& operator=(const wchar_t* text);
  CBstr& operator=(const char* text);
  CBstr& operator=(std::u16string_view text);
  CBstr& operator=(std::wstring_view text);
  CBstr& operator=(std::string_view utf8);
  CBstr& operator=(const std::u16string& text) { return *this = std::u16string_view(text); }
  CBstr& operator=(const std::wstring& text) { return *this = std::wstring_view(text); }
  CBstr& operator=(const std::string& utf8) { return *this = std::string_view(utf8); }
  CBstr& operator=(const CString& text) { return *this = text.View(); }
  CBstr& operator=(std::nullptr_t) noexcept {
    Release();
    return *this;
  }
  CBstr& operator=(const CVariant& value);
  template <bstr_number T>
  CBstr& operator=(T value) {
    if constexpr (std::floating_point<T>)
      return AssignReal(value);
    else if constexpr (std::same_as<T, char>)
      return AssignInteger(std::int64_t{static_cast<signed char>(value)});
    else if constexpr (std::signed_integral<T>)
      return AssignInteger(std::int64_t{value});
    else
      return AssignInteger(std::uint64_t{value});
  }

  // --- reading ---------------------------------------------------------------------------------------------------

  /// Never null; valid until this string is changed.
  const char16_t* GetString() const noexcept { return text_ == nullptr ? u"" : text_; }
  explicit operator const char16_t*() const noexcept { return GetString(); }
  /// Empty for null; valid until this string is changed.
  std::u16string_view View() const noexcept { return SysStringView(text_); }
  /// A copy as the family's wide string.
  CString ToString() const { return CString(View()); }
  /// UTF-16 units; 0 for null.
  std::uint32_t GetLength() const noexcept { return SysStringLen(text_); }
  /// Whether there is no string at all.
  bool IsNull() const noexcept { return text_ == nullptr; }
  /// Whether there is no text: null, or a string of length 0.
  bool IsEmpty() const noexcept { return GetLength() == 0; }

  /// The number the text begins with, 0 if there is none: leading white space and a sign are taken, reading stops at
  /// the first character that is not part of the number, an integer out of range saturates (a negative one read as
  /// unsigned is 0). As bool: true for a non-zero integer and for "True" in any letter case.
  template <bstr_number T>
  explicit operator T() const noexcept {
    if constexpr (std::same_as<T, bool>)
      return IsTrue(View());
    else if constexpr (std::floating_point<T>)
      return static_cast<T>(ToDouble());
    else if constexpr (std::same_as<T, char>)
      return static_cast<char>(static_cast<signed char>(*this));
    else if constexpr (sizeof(T) == 8 && std::unsigned_integral<T>)
      return ToUInt64();
    else
      return static_cast<T>(
          std::clamp<std::int64_t>(ToInt64(), std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
  }

  /// The truth of a text, as read above.
  static bool IsTrue(std::u16string_view text) noexcept;

  /// Binary and case-sensitive; null equals empty.
  friend bool operator==(const CBstr& a, const CBstr& b) noexcept {
    return a.text_ == b.text_ || SysStringBytes(a.text_) == SysStringBytes(b.text_);
  }
  friend bool operator==(const CBstr& a, std::u16string_view b) noexcept { return a.View() == b; }
  friend bool operator==(const CBstr& a, const std::u16string& b) noexcept {
    return a.View() == std::u16string_view(b);
  }
  friend bool operator==(const CBstr& a, const char16_t* b) noexcept { return a.View() == View(b); }
  friend bool operator==(const CBstr& a, const CString& b) noexcept { return a.View() == b.View(); }

  // --- ownership -------------------------------------------------------------------------------------------------

  /// Frees the string and becomes null.
  void Release() noexcept { SysFreeString(std::exchange(text_, nullptr)); }
  /// Takes ownership of a BSTR made by the OLE allocator, in place of the held one.
  void Attach(BSTR text) noexcept {
    if (text != text_) SysFreeString(std::exchange(text_, text));
  }
  /// Gives the string away: the caller frees it.
  [[nodiscard]] BSTR Detach() noexcept { return std::exchange(text_, nullptr); }

 private:
  static std::u16string_view View(const char16_t* text) noexcept {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
  }
  CBstr& Assign(const char16_t* text, std::size_t length);
  CBstr& AssignAscii(const char* text, std::size_t length);
  CBstr& AssignInteger(std::int64_t value);
  CBstr& AssignInteger(std::uint64_t value);
  CBstr& AssignReal(double value);
  std::int64_t ToInt64() const noexcept;
  std::uint64_t ToUInt64() const noexcept;
  double ToDouble() const noexcept;

  BSTR text_ = nullptr;
};

/// The family's order of names, letter case aside: negative, zero or positive.
ZORUTIL_API int CompareNoCase(const CBstr& a, const CBstr& b) noexcept;

/// The text as UTF-8.
ZORUTIL_API std::ostream& operator<<(std::ostream& out, const CBstr& text);

namespace zorutil {

/// The binary form of a BSTR: the 32-bit little-endian word 0 for null and empty; else, whichever is shorter,
///   UTF-8:   byte count | 0x80000000, the bytes
///   UTF-16:  byte count, the units, little-endian (also when both are equally long)
/// It is not the form of CString (util/serialization/string_serialization.h): each has its own reader. The odd byte of
/// an odd byte length is not written.
ZORUTIL_API void Serialize(const CBstr& text, ISerializer& out);
/// CException -1 for an odd UTF-16 byte count, -2 when memory is short, the serializer's own at the end of data;
/// `text` is then as it was.
ZORUTIL_API void Deserialize(CBstr& text, ISerializer& in);

}  // namespace zorutil
