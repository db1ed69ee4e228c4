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

namespace {

template <class Unit>
const Unit* ValidOr(const Unit* text, const Unit* empty) {
  return text == nullptr || *text == Unit() ? empty : text;
}

}  // namespace

const char* ValidateRawString(const char* text) noexcept { return ValidOr(text, ""); }
const char16_t* ValidateRawString(const char16_t* text) noexcept { return ValidOr(text, u""); }
const wchar_t* ValidateRawString(const wchar_t* text) noexcept { return ValidOr(text, L""); }

}  // namespace names_private
}  // namespace zorutil
