// The wide string of the whole family: UTF-16, reference-counted, one pointer wide.
//
//   CString name = u"Channel 1";
//   CString copy = name;                       // shares the text: no allocation
//   copy += u" (old)";                         // writing to a shared text copies it first
//   std::cout << copy.ToUtf8() << '\n';
//
// A value: copies are independent, and copies of one text may live on different threads (the count is atomic). One
// CString object is used by one thread at a time, or read by many. The text ends in a NUL that does not count and
// may hold NULs inside. Narrow text is UTF-8 everywhere; malformed narrow or `wchar_t` text becomes U+FFFD. A null
// pointer given to a constructor, `=`, `+=`, `+` or `==` is an empty text; the other members take views. Positions and
// lengths are UTF-16 units; a length is at most 2^30 units, beyond that std::length_error; std::bad_alloc when memory
// is short. Both leave the string as it was.
#pragma once

#include <atomic>
#include <compare>
#include <concepts>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

#include "platform/export.h"
#include "platform/text/collation.h"

class ZORPLATFORM_API CString {
 public:
  /// The most units that a text may have.
  static constexpr int kMaxLength = 1 << 30;

  /// The empty text, or a copy of the text given: UTF-16 as it is, the others converted. A negative length is 0.
  CString() noexcept = default;
  CString(std::nullptr_t) noexcept {}
  CString(const CString& other) noexcept : text_(other.text_) { AddRef(); }
  CString(CString&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
  CString(const char16_t* text) : CString(ViewOf(text)) {}
  CString(const wchar_t* text) : CString(ViewOf(text)) {}
  CString(const char* utf8) : CString(ViewOf(utf8)) {}
  CString(std::u16string_view text);
  CString(std::wstring_view text);
  CString(std::string_view utf8);
  CString(const std::u16string& text) : CString(std::u16string_view(text)) {}
  CString(const std::string& utf8) : CString(std::string_view(utf8)) {}
  CString(const char16_t* text, int length) : CString(std::u16string_view(text, Size(length))) {}
  /// `count` times one unit.
  CString(char16_t unit, int count);
  CString(bool) = delete;
  ~CString() { Release(); }

  CString& operator=(const CString& other) noexcept {
    CString(other).Swap(*this);
    return *this;
  }
  CString& operator=(CString&& other) noexcept {
    CString(std::move(other)).Swap(*this);
    return *this;
  }
  // Assigning text reuses the memory when it is large enough and not shared. The text may lie inside this string.
  CString& operator=(const char16_t* text) { return Assign(ViewOf(text)); }
  CString& operator=(const wchar_t* text) { return *this = CString(text); }
  CString& operator=(const char* utf8) { return *this = ViewOf(utf8); }
  CString& operator=(std::u16string_view text) { return Assign(text); }
  CString& operator=(std::wstring_view text) { return *this = CString(text); }
  CString& operator=(std::string_view utf8);
  CString& operator=(const std::u16string& text) { return Assign(text); }
  CString& operator=(const std::string& utf8) { return *this = std::string_view(utf8); }
  CString& operator=(std::nullptr_t) noexcept {
    Empty();
    return *this;
  }
  /// For `text = {}`, which would otherwise be any of the above.
  CString& operator=(std::initializer_list<std::nullptr_t>) noexcept { return *this = nullptr; }
  CString& operator=(bool) = delete;
  /// A copy of `text`, which may lie inside this string.
  CString& Assign(std::u16string_view text);
  /// Takes text known to be ASCII (bytes of 0x80 and above are taken as Latin-1), without a look at UTF-8.
  CString& AssignAscii(std::string_view ascii);
  /// The decimal digits of a number.
  template <std::integral T>
  requires(!std::same_as<T, bool>) CString& AssignInteger(T value) {
    const bool negative = value < 0;
    const auto magnitude = static_cast<std::uint64_t>(value);
    return AssignInteger(negative, negative ? 0 - magnitude : magnitude);
  }

  /// Exchanges the texts; nothing is copied.
  /// @{
  void Swap(CString& other) noexcept { std::swap(text_, other.text_); }
  friend void swap(CString& a, CString& b) noexcept { a.Swap(b); }
  /// @}

  // --- what it knows ---------------------------------------------------------------------------------------------

  /// UTF-16 units, without the terminating NUL.
  int GetLength() const noexcept { return text_ == nullptr ? 0 : GetHeader()->length; }
  /// Whether there is no unit.
  bool IsEmpty() const noexcept { return GetLength() == 0; }
  /// Never null; valid until this string is changed or destroyed.
  const char16_t* GetString() const noexcept { return text_ == nullptr ? u"" : text_; }
  operator const char16_t*() const noexcept { return GetString(); }
  /// A text is not a truth value, and must not become one through its pointer.
  template <std::same_as<bool> T>
  operator T() const = delete;
  /// The whole text, with any NULs in it; valid as long as GetString().
  std::u16string_view View() const noexcept { return {GetString(), static_cast<std::size_t>(GetLength())}; }
  /// As View().
  operator std::u16string_view() const noexcept { return View(); }
  /// The unit at `index`, which lies in 0 to GetLength() (the terminating NUL).
  /// @{
  char16_t GetAt(int index) const noexcept { return GetString()[index]; }
  char16_t operator[](std::integral auto index) const noexcept { return GetString()[index]; }
  /// @}
  /// Malformed UTF-16 (an unpaired surrogate) becomes U+FFFD.
  std::string ToUtf8() const;
  /// How many units fit without a new allocation.
  int GetCapacity() const noexcept { return text_ == nullptr ? 0 : GetHeader()->capacity; }

  // --- parts -----------------------------------------------------------------------------------------------------
  // A count or start outside the text is cut to it.

  /// The first `count` units.
  CString Left(int count) const;
  /// The last `count` units.
  CString Right(int count) const;
  /// The units from `first` on: all of them, or `count`.
  CString Mid(int first) const;
  CString Mid(int first, int count) const;

  // --- searching: the position, or -1 ----------------------------------------------------------------------------
  // A start before the text is its beginning. An empty part is found at any start inside the text or at its end.

  /// The first place, from `start` on, of a unit or of a whole part.
  int Find(char16_t unit, int start = 0) const noexcept;
  int Find(std::u16string_view part, int start = 0) const noexcept;
  /// The last place of the unit.
  int ReverseFind(char16_t unit) const noexcept;
  /// The first place of any of the units.
  int FindOneOf(std::u16string_view units) const noexcept;

  // --- comparing -------------------------------------------------------------------------------------------------

  /// By code units: negative, zero or positive.
  int Compare(std::u16string_view other) const noexcept { return View().compare(other); }
  /// The family's order of names (platform/text/collation.h): letter case does not count.
  int CompareNoCase(std::u16string_view other) const noexcept { return collation::CompareNoCase(View(), other); }

  // --- changing --------------------------------------------------------------------------------------------------

  /// Leaves the empty text, and this string's part of the memory is given back.
  void Empty() noexcept { CString().Swap(*this); }
  /// `index` lies in 0 to GetLength() - 1.
  void SetAt(int index, char16_t unit);
  /// Adds text at the end; it may lie inside this string.
  CString& Append(std::u16string_view text);
  /// As Append. Narrow text is converted first.
  CString& operator+=(std::u16string_view text) { return Append(text); }
  CString& operator+=(const char16_t* text) { return Append(ViewOf(text)); }
  CString& operator+=(const std::u16string& text) { return Append(text); }
  CString& operator+=(const std::string& utf8) { return Append(CString(utf8).View()); }
  CString& operator+=(const CString& text) { return Append(text.View()); }
  CString& operator+=(std::string_view utf8) { return Append(CString(utf8).View()); }
  CString& operator+=(const char* utf8) { return Append(CString(utf8).View()); }
  /// A unit, and nothing that merely converts to one: no number is appended as a character.
  CString& operator+=(std::same_as<char16_t> auto unit) {
    if (!IsOwn() || GetLength() == GetCapacity()) return Append({&unit, 1});
    text_[GetLength()] = unit;
    SetLength(Size(GetLength() + 1));
    return *this;
  }
  /// As Append, for text known to be ASCII (see AssignAscii).
  CString& AppendAscii(std::string_view ascii);
  /// Each returns how many units were removed, inserted (the new length) or replaced (occurrences). Places and
  /// counts outside the text are cut to it.
  /// @{
  int Insert(int index, std::u16string_view text);
  int Delete(int index, int count = 1);
  int Remove(char16_t unit);
  int Replace(char16_t from, char16_t to);
  int Replace(std::u16string_view from, std::u16string_view to);
  /// @}
  /// White space (collation::IsSpace) off the ends.
  /// @{
  CString& Trim();
  CString& TrimLeft();
  CString& TrimRight();
  /// @}
  /// Simple mapping of each unit (collation::ToUpper, ToLower): the length stays.
  /// @{
  CString& MakeUpper();
  CString& MakeLower();
  /// @}
  /// Room for at least `length` units without a further allocation.
  void Reserve(int length);

  /// Memory for `length` units (and the NUL) that the caller may write to directly; the present text stands at its
  /// beginning. ReleaseBuffer ends that: it sets the length, by default up to the first NUL. Until then no other
  /// member may be called.
  /// @{
  char16_t* GetBuffer(int length);
  void ReleaseBuffer(int length = -1);
  /// @}

  /// The tokens of a text one after another: skips delimiters from `start` on, gives the text up to the next one,
  /// and moves `start` behind it. At the end gives an empty text and sets `start` to -1.
  CString Tokenize(std::u16string_view delimiters, int& start) const;

  // --- operators -------------------------------------------------------------------------------------------------
  // They are seen only where a CString takes part, and leave the standard strings' own alone.

  /// Whether the units are the same; letter case counts. Narrow text is compared as what it would be converted to.
  friend bool operator==(const CString& a, const CString& b) noexcept {
    return a.text_ == b.text_ || a.View() == b.View();
  }
  friend bool operator==(const CString& a, std::u16string_view b) noexcept { return a.View() == b; }
  friend bool operator==(const CString& a, const char16_t* b) noexcept { return a.View() == ViewOf(b); }
  friend bool operator==(const CString& a, const std::u16string& b) noexcept {
    return a.View() == std::u16string_view(b);
  }
  friend bool operator==(const CString& a, std::string_view utf8) { return a.EqualsUtf8(utf8); }
  friend bool operator==(const CString& a, const char* utf8) { return a.EqualsUtf8(ViewOf(utf8)); }
  friend bool operator==(const CString& a, const std::string& utf8) { return a.EqualsUtf8(utf8); }
  /// By code units.
  friend std::strong_ordering operator<=>(const CString& a, const CString& b) noexcept {
    return a.View().compare(b.View()) <=> 0;
  }
  friend std::strong_ordering operator<=>(const CString& a, std::u16string_view b) noexcept {
    return a.View().compare(b) <=> 0;
  }
  friend std::strong_ordering operator<=>(const CString& a, const char16_t* b) noexcept {
    return a.View().compare(ViewOf(b)) <=> 0;
  }

  /// A new text: `a` with `b` behind it.
  friend CString operator+(CString a, std::u16string_view b) { return std::move(a.Append(b)); }
  friend CString operator+(CString a, const CString& b) { return std::move(a.Append(b.View())); }
  friend CString operator+(CString a, const char16_t* b) { return std::move(a += b); }
  friend CString operator+(CString a, std::same_as<char16_t> auto b) { return std::move(a += b); }
  friend CString operator+(CString a, const std::u16string& b) { return std::move(a.Append(b)); }
  friend CString operator+(CString a, const std::string& utf8) { return std::move(a += utf8); }
  friend CString operator+(CString a, const char* utf8) { return std::move(a += utf8); }
  friend CString operator+(const char16_t* a, const CString& b) { return CString(a) + b; }
  friend CString operator+(const char* utf8, const CString& b) { return CString(utf8) + b; }

 private:
  struct header_t {
    std::atomic<std::int32_t> references;
    std::int32_t length;
    std::int32_t capacity;
    std::int32_t unused;
  };
  static_assert(sizeof(header_t) == 16);

  static std::u16string_view ViewOf(const char16_t* text) noexcept {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
  }
  static std::wstring_view ViewOf(const wchar_t* text) noexcept {
    return text == nullptr ? std::wstring_view() : std::wstring_view(text);
  }
  static std::string_view ViewOf(const char* text) noexcept {
    return text == nullptr ? std::string_view() : std::string_view(text);
  }
  static std::size_t Size(int length) noexcept { return length < 0 ? 0 : static_cast<std::size_t>(length); }
  header_t* GetHeader() const noexcept { return reinterpret_cast<header_t*>(text_) - 1; }
  void AddRef() const noexcept {
    if (text_ != nullptr) GetHeader()->references.fetch_add(1, std::memory_order_relaxed);
  }
  void Release() noexcept {
    if (text_ == nullptr) return;
    header_t* const header = GetHeader();
    // The only owner needs no locked instruction.
    if (header->references.load(std::memory_order_acquire) == 1 ||
        header->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      Free(header);
    }
  }
  // The only one that sees the text, which may then be written in place.
  bool IsOwn() const noexcept {
    return text_ != nullptr && GetHeader()->references.load(std::memory_order_acquire) == 1;
  }
  static char16_t* Allocate(std::size_t capacity);
  static void Free(header_t* header) noexcept;
  CString& AssignInteger(bool negative, std::uint64_t magnitude);
  std::size_t GrownCapacity(std::size_t length) const noexcept;
  void MakeOwn(std::size_t capacity);
  void Adopt(char16_t* text, std::size_t length) noexcept;
  void SetLength(std::size_t length) noexcept {
    GetHeader()->length = static_cast<std::int32_t>(length);
    text_[length] = u'\0';
  }
  bool EqualsUtf8(std::string_view utf8) const;
  void Splice(std::size_t at, std::size_t removed, std::u16string_view text);

  char16_t* text_ = nullptr;  // null is the empty text; the header stands before the text
};
static_assert(sizeof(CString) == sizeof(void*));

/// The family's narrow string is the standard one; its text is UTF-8.
using CStringW = CString;
/// UTF-8.
using CStringA = std::string;

/// Writes the text as UTF-8.
ZORPLATFORM_API std::ostream& operator<<(std::ostream& out, const CString& text);
/// For GoogleTest: the text as UTF-8 in double quotes.
ZORPLATFORM_API void PrintTo(const CString& text, std::ostream* out);

template <>
struct std::hash<CString> {
  /// Of the units: equal texts have one hash.
  std::size_t operator()(const CString& text) const noexcept { return std::hash<std::u16string_view>()(text.View()); }
};
