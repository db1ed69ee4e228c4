// UTF-8 beside the family's wide text.
//
//   CUtf8String narrow(u"Überlauf");
//   file.Write(narrow.GetString(), narrow.GetLength());
//   CString wide = CStringFromUtf8String(narrow.GetString(), narrow.GetLength());
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

/// The UTF-8 form of a wide text; unpaired surrogates become U+FFFD. Up to 255 bytes without an allocation. Neither
/// copied nor moved: it lives for the length of a conversion.
class ZORPLATFORM_API CUtf8String {
 public:
  /// The most bytes that one UTF-16 unit can take in UTF-8.
  static constexpr unsigned default_max_utf8_bytes = 3;

  /// `maxBytesPerUnit` is what the caller knows about the text; the room is measured, so that a wrong bound harms
  /// nothing.
  explicit CUtf8String(std::u16string_view text, unsigned maxBytesPerUnit = default_max_utf8_bytes);
  CUtf8String(const CUtf8String&) = delete;
  CUtf8String& operator=(const CUtf8String&) = delete;
  ~CUtf8String();

  /// NUL-terminated.
  const char* GetString() const noexcept { return text_; }
  /// Bytes, without the terminating NUL.
  std::size_t GetLength() const noexcept { return length_; }
  /// Valid as long as this object.
  std::string_view View() const noexcept { return {text_, length_}; }

 private:
  char* text_;  // small_, or memory of its own
  std::size_t length_;
  char small_[256];
};

/// The wide form of a UTF-8 text; malformed sequences become U+FFFD.
ZORPLATFORM_API CString CStringFromUtf8String(const char* utf8, std::size_t length);
ZORPLATFORM_API CString CStringFromUtf8String(std::string_view utf8);

}  // namespace zorplatform
