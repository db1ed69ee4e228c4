#include "platform/zorplatform/utf8_string.h"

#include "platform/text/utf.h"

namespace zorplatform {

CUtf8String::CUtf8String(std::u16string_view text, unsigned) : text_(small_) {
  // A text that cannot outgrow the small room needs no measuring.
  if (utf::MaxUtf8Bytes(text.size()) >= sizeof small_) {
    const std::size_t needed = utf::Utf8Length(text);
    if (needed >= sizeof small_) text_ = new char[needed + 1];
  }
  length_ = utf::Utf16ToUtf8(text, text_);
  text_[length_] = '\0';
}

CUtf8String::~CUtf8String() {
  if (text_ != small_) delete[] text_;
}

CString CStringFromUtf8String(const char* utf8, std::size_t length) {
  return utf8 == nullptr ? CString() : CString(std::string_view(utf8, length));
}

CString CStringFromUtf8String(std::string_view utf8) { return CString(utf8); }

}  // namespace zorplatform
