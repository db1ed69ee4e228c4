#include "util/values/text_helpers.h"

namespace zorutil {

bool TokenizeString(const CString& text, const std::function<bool(CString&)>& callback, char16_t delimiter) {
  int start = 0;
  while (true) {
    CString token = text.Tokenize({&delimiter, 1}, start);
    if (start < 0) return true;
    token.Trim();
    if (!callback(token)) return false;
  }
}

namespace names_private {

const char* ValidateRawString(const char* text) noexcept { return text == nullptr ? "" : text; }
const char16_t* ValidateRawString(const char16_t* text) noexcept { return text == nullptr ? u"" : text; }
const wchar_t* ValidateRawString(const wchar_t* text) noexcept { return text == nullptr ? L"" : text; }

}  // namespace names_private
}  // namespace zorutil
