#include "util/options/options.h"

#include <mutex>
#include <string_view>
#include <unordered_map>

#include "platform/framework/sync.h"
#include "platform/zorplatform/text_parse.h"
#include "util/options/number_cache_internal.h"
#include "util/options/options_container.h"

namespace {

constexpr int kMostRemembered = 255;
constexpr const char16_t* kNotDefined = u"@xxxyyyzzz!&*#$%";

CString Remembered(const CString& text) {
  if (text.GetLength() <= kMostRemembered) return text;
  const char16_t last = text[kMostRemembered - 1];
  return text.Left(last >= 0xD800 && last <= 0xDBFF ? kMostRemembered - 1 : kMostRemembered);
}

}  // namespace

// Whoever is about to read from the container takes the generation first. What was read is remembered only if the cache
// was not cleared in between, since it may be what was there before.
class COptions::CCache {
 public:
  std::uint32_t GetGeneration() const noexcept { return numbers_.GetGeneration(); }

  bool FindNumber(const char16_t* key, std::uint32_t& number) const noexcept { return numbers_.Find(key, number); }
  void StoreNumber(const char16_t* key, std::uint32_t number, std::uint32_t generation) {
    const std::lock_guard guard(lock_);
    if (generation == GetGeneration()) numbers_.Store(key, number);
  }

  bool FindText(const char16_t* key, CString& text) {
    const std::lock_guard guard(lock_);
    const auto found = texts_.find(key);
    if (found == texts_.end()) return false;
    text = found->second;
    return true;
  }
  void StoreText(const char16_t* key, const CString& text, std::uint32_t generation) {
    const CString remembered = Remembered(text);
    const std::lock_guard guard(lock_);
    if (generation == GetGeneration() && texts_.size() < zorutil::options::CNumberCache::kMostNames) {
      texts_.insert_or_assign(key, remembered);
    }
  }

  void Clear() noexcept {
    const std::lock_guard guard(lock_);
    numbers_.Clear();
    texts_.clear();
  }

 private:
  CCriticalSection lock_{4000};
  zorutil::options::CNumberCache numbers_;
  std::unordered_map<const char16_t*, CString> texts_;
};

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
  CString text;
  if (cache_->FindText(key, text)) return text;
  const std::uint32_t generation = cache_->GetGeneration();
  COptionsContainer::GetInstance().GetProfileStringW(*this, key, def, text);
  cache_->StoreText(key, text, generation);
  return text;
}

std::uint32_t COptions::ReadDWord(const char16_t* key, std::uint32_t def) const {
  std::uint32_t number = 0;
  if (cache_->FindNumber(key, number)) return number;
  const std::uint32_t generation = cache_->GetGeneration();
  CString text;
  COptionsContainer::GetInstance().GetProfileStringW(*this, key, u"", text);
  number = text.IsEmpty() ? def : zorplatform::_ttoui(text);
  cache_->StoreNumber(key, number, generation);
  return number;
}

bool COptions::WriteString(const char16_t* key, const char16_t* value) const {
  COptionsContainer::GetInstance().WriteProfileStringW(*this, key, value);
  cache_->Clear();
  return true;
}

bool COptions::WriteDWord(const char16_t* key, std::uint32_t value) const {
  return WriteString(key, CString().AssignInteger(value).GetString());
}
