#include "util/options/options.h"

#include "platform/zorplatform/text_parse.h"
#include "util/options/options_container.h"
#include "util/options/value_cache_internal.h"

namespace {

constexpr const char16_t* kNotDefined = u"@xxxyyyzzz!&*#$%";

}  // namespace

class COptions::CCache : public zorutil::options::CValueCache {};

COptions::IChangeHandler::~IChangeHandler() = default;

COptions::COptions(const CString& section, level_t level)
    : cache_(std::make_unique<CCache>()), level_(level), section_(section) {
  COptionsContainer::GetInstance().Add(this);
}

COptions::~COptions() { COptionsContainer::GetInstance().Remove(this); }

void COptions::OnSettingsChanged() {
  cache_->Clear();
  // Handlers may add and remove handlers, so each step looks for the next one anew.
  for (auto next = handlers_.begin(); next != handlers_.end();) {
    IChangeHandler* const handler = *next;
    try {
      handler->OnOptionsChanged(*this);
    } catch (...) {
    }
    next = handlers_.upper_bound(handler);
  }
}

bool COptions::IsDefined(const char16_t* key) const {
  CString value;
  COptionsContainer::GetInstance().GetProfileStringW(*this, key, kNotDefined, value);
  return value != kNotDefined;
}

void COptions::RegisterChangeHandler(IChangeHandler* handler) { handlers_.insert(handler); }

void COptions::UnregisterChangeHandler(IChangeHandler* handler) { handlers_.erase(handler); }

CString COptions::ReadString(const char16_t* key, const char16_t* def) const {
  return cache_->GetText(key, [&] {
    CString text;
    COptionsContainer::GetInstance().GetProfileStringW(*this, key, def, text);
    return text;
  });
}

std::uint32_t COptions::ReadDWord(const char16_t* key, std::uint32_t def) const {
  return cache_->GetNumber(key, [&] {
    CString text;
    COptionsContainer::GetInstance().GetProfileStringW(*this, key, u"", text);
    return text.IsEmpty() ? def : zorplatform::_ttoui(text);
  });
}

bool COptions::WriteString(const char16_t* key, const char16_t* value) const {
  COptionsContainer::GetInstance().WriteProfileStringW(*this, key, value);
  cache_->Clear();
  return true;
}

bool COptions::WriteDWord(const char16_t* key, std::uint32_t value) const {
  return WriteString(key, CString().AssignInteger(value).GetString());
}
