// A document of elements and attributes, as persistable classes see it when they save and load their settings.
//
//   int CPump::Save(CStructuredDoc& doc, void* parent, const char16_t* ns) const {
//     return doc.WriteElement(parent, ns, u"Speed", true, speed_) != nullptr &&
//            doc.WriteElement(parent, ns, u"Label", true, label_) != nullptr;
//   }
//   void CPump::Load(CStructuredDoc& doc, void* parent, const char16_t* ns) {
//     speed_ = 1500;                                             // stays, if the document has no "Speed"
//     doc.ReadElement(parent, ns, u"Speed", true, speed_);
//     doc.ReadElement(parent, ns, u"Label", true, label_);
//   }
//
// A concrete document (CXmlDocument) supplies the operations on text; the typed ones over them are the same for every
// document and fix how each number and truth value reads in a file.
//
// Elements are named by handles. Null is no element, and what every operation that returns a handle returns when it
// fails. A handle belongs to the caller until ReleaseElement. What the `flag` of an operation means, and what stands in
// for a null parent, is the concrete document's to say; for the library's own see xml_document.h. A namespace `ns` that
// is null or empty is no namespace.
//
// A resource: neither copied nor moved. One thread at a time uses a document, for reading too.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/zorplatform/text_parse.h"

namespace i18n {
class ILocalizedMessage;
}

/// What the typed operations take: a truth value, a char (one character) and every integer and real type. The width of
/// a type decides how its text is read, so `long` is read as what it is where the program is compiled.
template <class T>
concept structured_scalar_t =
    std::same_as<T, bool> || std::same_as<T, char> || std::same_as<T, signed char> || std::same_as<T, unsigned char> ||
    std::same_as<T, short> || std::same_as<T, unsigned short> || std::same_as<T, int> || std::same_as<T, unsigned> ||
    std::same_as<T, long> || std::same_as<T, unsigned long> || std::same_as<T, long long> ||
    std::same_as<T, unsigned long long> || std::same_as<T, float> || std::same_as<T, double>;

class ZORUTIL_API CStructuredDoc {
 public:
  CStructuredDoc();
  CStructuredDoc(const CStructuredDoc&) = delete;
  CStructuredDoc& operator=(const CStructuredDoc&) = delete;
  virtual ~CStructuredDoc();

  // --- the document ----------------------------------------------------------------------------------------------
  // 1 is success, 0 failure. A bare document is empty and invalid: what is not abstract does nothing and fails.

  /// Whether there is a document to read.
  virtual int IsValid() const;
  /// Reads a file in place of the present content.
  virtual int Load(const char16_t* path);
  /// Writes the file.
  virtual int Save(const char16_t* path);

  // --- elements --------------------------------------------------------------------------------------------------

  /// How many children of `parent` have that name.
  virtual int GetNumElementsByName(void* parent, const char16_t* ns, const char16_t* name);
  /// The first child of `parent` with that name.
  virtual void* GetElementByName(void* parent, const char16_t* ns, const char16_t* name, bool flag);
  /// The next sibling that has the name of `element`.
  virtual void* GetNextElementByName(void* element, bool flag);
  /// The local name.
  virtual int GetName(void* element, CString& name);
  /// The element's own text, without its children's.
  virtual int GetText(void* element, CString& text);
  /// Replaces the element's own text; its children stay.
  virtual int SetText(void* element, const char16_t* text);
  /// The first child, and the next sibling, whatever their names.
  /// @{
  virtual void* FindFirstChild(void* element, bool flag);
  virtual void* FindNext(void* element, bool flag);
  /// @}
  /// Gives a handle back. Null is allowed.
  virtual void ReleaseElement(void* element) = 0;
  /// Replaces the element's text by one that the document keeps free of escapes; null is an empty text.
  virtual bool WriteLiteralText(void* element, const char16_t* text) = 0;
  /// The element's text as it stands in the document.
  virtual bool ReadLiteralText(void* element, CString& text) = 0;

 protected:
  /// Writes an element with that text; its handle, or null.
  virtual void* WriteElementString(void* parent, const char16_t* ns, const char16_t* name, bool flag,
                                   const char16_t* value) = 0;
  /// The text of the first child with that name; its handle, or null with `value` untouched.
  virtual void* ReadElementString(void* parent, const char16_t* ns, const char16_t* name, bool flag,
                                  CString& value) = 0;
  /// 1, or 0 with `value` untouched.
  virtual int ReadAttributeString(void* element, const char16_t* name, CString& value) = 0;
  /// Makes the attribute, or replaces its text; 1, or 0 when it cannot be written.
  virtual int WriteAttributeString(void* element, const char16_t* name, const char16_t* value) = 0;

 public:
  // --- typed elements and attributes -----------------------------------------------------------------------------
  // Written: "true" or "false"; a char as the character itself (U+0000 to U+00FF, a NUL as an empty text); an integer
  // as its decimal digits; a real as CVariant::ToString writes a VT_R4 or VT_R8; a text as it is. A CString that holds
  // a NUL is refused, with a message in the error slot: it would be cut there.
  //
  // Read: integers by their leading digits, saturated to 32 bits (64-bit types: to 64 bits), then cut to the width of
  // narrower types; reals by their leading number; 0 for a text that begins with none. A char is the first character;
  // one above U+00FF leaves `out` alone. No malformed text throws.
  //
  // Reading a number of up to 64 characters allocates no memory, when the document's own part does not.

  /// The handle that the document's write returned; null when it failed.
  template <structured_scalar_t T>
  void* WriteElement(void* parent, const char16_t* ns, const char16_t* name, bool flag, T value) {
    FormatValue(Widen(value));
    return WriteElementString(parent, ns, name, flag, text_.GetString());
  }
  void* WriteElement(void* parent, const char16_t* ns, const char16_t* name, bool flag, const char16_t* value) {
    return WriteElementString(parent, ns, name, flag, value);
  }
  void* WriteElement(void* parent, const char16_t* ns, const char16_t* name, bool flag, const CString& value) {
    return IsWhole(name, value) ? WriteElementString(parent, ns, name, flag, value.GetString()) : nullptr;
  }

  /// The handle of the element; null when there is none, and `out` is then untouched.
  ///
  /// White space around the value does not count, and a text of nothing else leaves `out` untouched too, though the
  /// element is there. A bool is the exception: "true" and "false" exactly, anything else, spaces and all, is true when
  /// it begins with an integer that is not 0; an empty text is false.
  template <structured_scalar_t T>
  void* ReadElement(void* parent, const char16_t* ns, const char16_t* name, bool flag, T& out) {
    void* const element = ReadElementString(parent, ns, name, flag, text_);
    if (element == nullptr) return nullptr;
    if constexpr (std::same_as<T, bool>) {
      out = text_ == u"true" || (text_ != u"false" && ParseLong(text_) != 0);
    } else if (const std::u16string_view value = SkipSpace(text_); !value.empty()) {
      Parse(value, out);
    }
    TrimMemory();
    return element;
  }
  /// The text as it is, white space and all; an empty one too.
  void* ReadElement(void* parent, const char16_t* ns, const char16_t* name, bool flag, CString& out) {
    return ReadElementString(parent, ns, name, flag, out);
  }

  /// What the document's write returned: 1, or 0 when it failed.
  template <structured_scalar_t T>
  int WriteAttribute(void* element, const char16_t* name, T value) {
    FormatValue(Widen(value));
    return WriteAttributeString(element, name, text_.GetString());
  }
  int WriteAttribute(void* element, const char16_t* name, const char16_t* value) {
    return WriteAttributeString(element, name, value);
  }
  int WriteAttribute(void* element, const char16_t* name, const CString& value) {
    return IsWhole(name, value) ? WriteAttributeString(element, name, value.GetString()) : 0;
  }

  /// 1, or 0 when there is no such attribute, and `out` is then untouched.
  ///
  /// The text is taken as it stands: an empty one is 0. A bool is true for "true" and false for everything else, "1"
  /// included. That differs from elements, and stored documents rely on it.
  template <structured_scalar_t T>
  int ReadAttribute(void* element, const char16_t* name, T& out) {
    const int result = ReadAttributeString(element, name, text_);
    if (result == 0) return 0;
    if constexpr (std::same_as<T, bool>) {
      out = text_ == u"true";
    } else {
      Parse(text_.View(), out);
    }
    TrimMemory();
    return result;
  }
  int ReadAttribute(void* element, const char16_t* name, CString& out) {
    return ReadAttributeString(element, name, out);
  }

  // --- the error slot --------------------------------------------------------------------------------------------
  // Who finds a failure records it; who started the load or save collects the message.

  /// Replaces the stored message; null empties the slot.
  void SetLastError(std::unique_ptr<i18n::ILocalizedMessage> message);
  /// Hands the message over and leaves the slot empty; null when it was.
  std::unique_ptr<i18n::ILocalizedMessage> RemoveLastError();
  /// The stored message in the product's language; empty without one. The message stays.
  CString GetLastErrorText() const;

  /// Whether classes that hold passwords write them protected; true until it is set.
  void SetEncryptPasswords(bool encryptPasswords) { encryptPasswords_ = encryptPasswords; }
  bool GetEncryptPasswords() const { return encryptPasswords_; }

 private:
  template <class T>
  static auto Widen(T value) {
    if constexpr (std::same_as<T, bool> || std::same_as<T, char> || std::floating_point<T>) {
      return value;
    } else if constexpr (std::signed_integral<T>) {
      return std::int64_t{value};
    } else {
      return std::uint64_t{value};
    }
  }
  // Each leaves the text in text_.
  void FormatValue(bool value);
  void FormatValue(char value);
  void FormatValue(std::int64_t value);
  void FormatValue(std::uint64_t value);
  void FormatValue(float value);
  void FormatValue(double value);

  static std::int32_t ParseLong(std::u16string_view text) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(zorplatform::_ttoll(text), INT32_MIN, INT32_MAX));
  }
  template <class T>
  static void Parse(std::u16string_view text, T& out) {
    if constexpr (std::same_as<T, char>) {
      const char16_t first = text.empty() ? u'\0' : text.front();
      if (first <= 0xFF) out = static_cast<char>(first);
    } else if constexpr (std::floating_point<T>) {
      out = static_cast<T>(zorplatform::wtof(text));
    } else if constexpr (sizeof(T) == 8) {
      if constexpr (std::signed_integral<T>) {
        out = zorplatform::_ttoll(text);
      } else {
        out = zorplatform::_ttoull(text);
      }
    } else if constexpr (std::same_as<T, unsigned> || (std::same_as<T, unsigned long> && sizeof(T) == 4)) {
      out = zorplatform::_ttoui(text);
    } else {
      out = static_cast<T>(ParseLong(text));
    }
  }
  /// The text behind its leading white space. What stands behind a value ends it, white space or not.
  static std::u16string_view SkipSpace(const CString& text);
  /// False, with a message in the error slot, for a value with a NUL inside.
  bool IsWhole(const char16_t* name, const CString& value);
  /// One huge text read as a number is not kept for ever.
  void TrimMemory();

  static constexpr int kNumberCapacity = 64;
  static constexpr int kKeptCapacity = 4096;

  bool encryptPasswords_ = true;
  std::unique_ptr<i18n::ILocalizedMessage> lastError_;
  CString text_;  // of the value in hand; its memory is used again
};
