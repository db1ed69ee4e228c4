#include "util/docs/structured_doc.h"

#include <utility>

#include "platform/text/collation.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/values/variant.h"

CStructuredDoc::CStructuredDoc() { text_.Reserve(kNumberCapacity); }
CStructuredDoc::~CStructuredDoc() = default;

int CStructuredDoc::IsValid() const { return 0; }
int CStructuredDoc::Load(const char16_t*) { return 0; }
int CStructuredDoc::Save(const char16_t*) { return 0; }
int CStructuredDoc::GetNumElementsByName(void*, const char16_t*, const char16_t*) { return 0; }
void* CStructuredDoc::GetElementByName(void*, const char16_t*, const char16_t*, bool) { return nullptr; }
void* CStructuredDoc::GetNextElementByName(void*, bool) { return nullptr; }
int CStructuredDoc::GetName(void*, CString&) { return 0; }
int CStructuredDoc::GetText(void*, CString&) { return 0; }
int CStructuredDoc::SetText(void*, const char16_t*) { return 0; }
void* CStructuredDoc::FindFirstChild(void*, bool) { return nullptr; }
void* CStructuredDoc::FindNext(void*, bool) { return nullptr; }

void CStructuredDoc::SetLastError(std::unique_ptr<i18n::ILocalizedMessage> message) { lastError_ = std::move(message); }

std::unique_ptr<i18n::ILocalizedMessage> CStructuredDoc::RemoveLastError() { return std::move(lastError_); }

CString CStructuredDoc::GetLastErrorText() const {
  return lastError_ == nullptr ? CString() : lastError_->GetMessageText(0);
}

void CStructuredDoc::FormatValue(bool value) { text_.AssignAscii(value ? "true" : "false"); }

void CStructuredDoc::FormatValue(char value) {
  const char16_t unit = static_cast<unsigned char>(value);
  text_.Assign({&unit, value == '\0' ? 0U : 1U});
}

void CStructuredDoc::FormatValue(std::int64_t value) { text_.AssignInteger(value); }
void CStructuredDoc::FormatValue(std::uint64_t value) { text_.AssignInteger(value); }
void CStructuredDoc::FormatValue(float value) { CVariant::FromFloat(value).Format(text_, CVariant::FORMAT_NORMAL); }
void CStructuredDoc::FormatValue(double value) { CVariant::FromDouble(value).Format(text_, CVariant::FORMAT_NORMAL); }

std::u16string_view CStructuredDoc::SkipSpace(const CString& text) {
  const auto isSpace = [](char16_t unit) {
    return unit <= u' ' ? unit == u' ' || (unit >= u'\t' && unit <= u'\r') : unit >= 0x80 && collation::IsSpace(unit);
  };
  std::u16string_view rest = text.View();
  while (!rest.empty() && isSpace(rest.front())) rest.remove_prefix(1);
  return rest;
}

bool CStructuredDoc::IsWhole(const char16_t* name, const CString& value) {
  if (value.Find(u'\0') < 0) return true;
  SetLastError(i18n::MakeLocalizedMessage(i18n::IDS_DOCUMENT_CHARACTER, {name, u"U+0000"}));
  return false;
}

void CStructuredDoc::TrimMemory() {
  if (text_.GetCapacity() <= kKeptCapacity) return;
  text_.Empty();
  text_.Reserve(kNumberCapacity);
}
