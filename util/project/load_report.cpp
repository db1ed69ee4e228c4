#include "util/project/load_report.h"

#include <algorithm>
#include <utility>

#include "platform/text/surrogates_internal.h"
#include "util/i18n/message_ids.h"

namespace zorutil::project {

namespace {

// Whether a message of documents begins with its own place.
bool NamesItsPlace(unsigned messageId) {
  return messageId >= i18n::IDS_XML_FAULT && messageId <= i18n::IDS_DOCUMENT_EMPTY;
}

// Names may have a million characters: the middle of a long text is left out.
CString Shortened(const CString& text) {
  constexpr std::size_t kHalf = 1000;
  const std::u16string_view view = text;
  if (view.size() <= 2 * kHalf) return text;
  std::u16string_view tail = view.substr(view.size() - kHalf);
  if (utf::IsLowSurrogate(tail.front())) tail.remove_prefix(1);
  return CString(utf::CutBetweenCharacters(view, kHalf)) + u" ... " + CString(tail);
}

}  // namespace

load_report_t::load_report_t() = default;
load_report_t::load_report_t(load_report_t&&) noexcept = default;
load_report_t& load_report_t::operator=(load_report_t&&) noexcept = default;
load_report_t::~load_report_t() = default;

void load_report_t::Start(CString file) {
  *this = load_report_t();
  file_ = std::move(file);
}

void load_report_t::AddAt(int line, int column, std::unique_ptr<i18n::ILocalizedMessage> message) {
  ++count_;
  if (errors_.size() < kMaxErrors)
    errors_.push_back({line, column, CString(path_.View()), std::move(message)});  // of its own, for LeaveObject
}

void load_report_t::Add(void* element, std::unique_ptr<i18n::ILocalizedMessage> message) {
  const int line = element != nullptr && lineOf_ != nullptr ? lineOf_(document_, element) : 0;
  AddAt(line, 0, std::move(message));
}

void load_report_t::EnterObject(const CString& name) {
  path_.Reserve(path_.GetLength() + 1 + name.GetLength());
  lengths_.push_back(path_.GetLength());
  if (!path_.IsEmpty()) path_ += u'.';
  path_ += name;
}

void load_report_t::LeaveObject() noexcept {
  path_.Delete(lengths_.back(), path_.GetLength() - lengths_.back());
  lengths_.pop_back();
}

// What an error without a path of its own is about becomes known only on the way out.
void load_report_t::OnFailedObject(const CString& name) noexcept {
  try {
    failed_ = failed_.IsEmpty() ? name : name + u'.' + failed_;
  } catch (const std::bad_alloc&) {
    // The path is then shorter than it might be.
  }
}

CString load_report_t::EndFailedObject() {
  for (load_error_t& error : errors_) {
    if (error.path.IsEmpty()) error.path = failed_;
  }
  return std::exchange(failed_, CString());
}

CString load_report_t::ToString(const load_error_t& error, unsigned short languageId) const {
  CString text;
  const bool namesItsPlace = NamesItsPlace(error.message->GetMessageId());
  if (!namesItsPlace) {
    const auto append = [&](const CString& part) {
      if (part.IsEmpty()) return;
      if (!text.IsEmpty()) text += u", ";
      text += part;
    };
    append(file_);
    const auto appendPlace = [&](unsigned id, int number) {
      if (number > 0) append(i18n::MakeLocalizedMessage(id, {CVariant::FromInt32(number)})->GetMessageText(languageId));
    };
    appendPlace(i18n::IDS_LINE, error.line);
    appendPlace(i18n::IDS_COLUMN, error.column);
    if (!text.IsEmpty()) text += u": ";
    if (!error.path.IsEmpty()) text += Shortened(error.path) + u": ";
  }
  return text + Shortened(error.message->GetMessageText(languageId));
}

CString load_report_t::ToString(unsigned short languageId) const {
  CString text;
  const auto append = [&](const CString& line) {
    if (!text.IsEmpty()) text += u'\n';
    text += line;
  };
  for (const load_error_t& error : errors_) append(ToString(error, languageId));
  if (count_ > errors_.size()) {
    const auto more = static_cast<std::int32_t>(std::min<std::size_t>(count_ - errors_.size(), INT32_MAX));
    append(i18n::MakeLocalizedMessage(i18n::IDS_PROJECT_MORE_ERRORS, {CVariant::FromInt32(more)})
               ->GetMessageText(languageId));
  }
  return text;
}

}  // namespace zorutil::project
