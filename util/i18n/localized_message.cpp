#include "util/i18n/localized_message.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/zorplatform/exception.h"
#include "util/i18n/message_template.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"

namespace i18n {

using zorplatform::CException;
using zorutil::primitives::ReadLittle;
using zorutil::primitives::WriteLittle;

ILocalizedMessage::~ILocalizedMessage() = default;

CLocalizedMessage::CLocalizedMessage(CLocalizedResource resource) : resource_(std::move(resource)) {}

CLocalizedMessage::CLocalizedMessage(CLocalizedResource resource, std::vector<CVariant>&& arguments)
    : resource_(std::move(resource)), arguments_(std::move(arguments)) {}

// Part by part, so that a long chain does not go through as many destructors at once.
CLocalizedMessage::~CLocalizedMessage() {
  std::unique_ptr<ILocalizedMessage> rest = std::move(appended_);
  while (auto* const part = dynamic_cast<CLocalizedMessage*>(rest.get()))
    rest = std::exchange(part->appended_, nullptr);
}

CString CLocalizedMessage::GetPartText(unsigned short languageId) const {
  if (!resource_.IsValid()) return arguments_.empty() ? CString() : arguments_[0].ToString();
  const CString text = resource_.GetText(languageId);
  if (text.IsEmpty()) return CString("<<Missing string resource " + std::to_string(resource_.GetId()) + ">>");
  return ExpandTemplate(text, arguments_);
}

CString CLocalizedMessage::GetMessageText(unsigned short languageId) {
  CString text = GetPartText(languageId);
  ILocalizedMessage* next = appended_.get();
  while (next != nullptr) {
    auto* const part = dynamic_cast<CLocalizedMessage*>(next);
    text += part != nullptr ? part->GetPartText(languageId) : next->GetMessageText(languageId);
    next = part != nullptr ? part->appended_.get() : nullptr;
  }
  return text;
}

bool CLocalizedMessage::IsLocalized() const {
  const CLocalizedMessage* part = this;
  while (part->resource_.IsValid()) {
    const ILocalizedMessage* const next = part->appended_.get();
    if (next == nullptr) return true;
    part = dynamic_cast<const CLocalizedMessage*>(next);
    if (part == nullptr) return next->IsLocalized();
  }
  return false;
}

void CLocalizedMessage::Append(std::unique_ptr<ILocalizedMessage> message) { appended_ = std::move(message); }

void CLocalizedMessage::Serialize(zorutil::ISerializer& out) const {
  unsigned parts = 0;
  for (const CLocalizedMessage* part = this; part != nullptr;
       part = dynamic_cast<const CLocalizedMessage*>(part->appended_.get())) {
    if (++parts > kMaxParts) CException::Throw(CException::kEndOfStream, "a message of too many parts to be written");
  }
  const CLocalizedMessage* part = this;
  for (;;) {
    part->resource_.Serialize(out);
    WriteLittle(out, part->flag_);
    WriteLittle(out, static_cast<std::uint32_t>(part->arguments_.size()));
    for (const CVariant& argument : part->arguments_) zorutil::Serialize(argument, out);
    const ILocalizedMessage* const next = part->appended_.get();
    WriteLittle<std::uint8_t>(out, next != nullptr);
    if (next == nullptr) return;
    part = dynamic_cast<const CLocalizedMessage*>(next);
    if (part == nullptr) return next->Serialize(out);
  }
}

void CLocalizedMessage::Deserialize(zorutil::ISerializer& in) {
  constexpr std::uint32_t kFirstRoom = 16;  // more only as arguments arrive
  CLocalizedMessage read;
  CLocalizedMessage* part = &read;
  for (unsigned parts = 1;; ++parts) {
    part->resource_.Deserialize(in);
    part->flag_ = ReadLittle<std::uint8_t>(in);
    const auto count = ReadLittle<std::uint32_t>(in);
    part->arguments_.reserve(std::min(count, kFirstRoom));
    for (std::uint32_t i = 0; i < count; ++i) zorutil::Deserialize(part->arguments_.emplace_back(), in);
    const auto hasAppended = ReadLittle<std::uint8_t>(in);
    if (hasAppended == 0) break;
    if (hasAppended != 1 || parts == kMaxParts) {
      CException::Throw(CException::kEndOfStream, hasAppended == 1 ? "corrupt message: too many parts"
                                                                   : "corrupt message: neither an end nor a next part");
    }
    auto next = std::make_unique<CLocalizedMessage>();
    CLocalizedMessage* const made = next.get();
    part->appended_ = std::move(next);
    part = made;
  }
  resource_ = std::move(read.resource_);
  flag_ = read.flag_;
  arguments_ = std::move(read.arguments_);
  appended_ = std::move(read.appended_);
}

std::unique_ptr<ILocalizedMessage> MakeLocalizedMessage(unsigned id, std::vector<CVariant> arguments) {
  return std::make_unique<CLocalizedMessage>(CLocalizedResource(id), std::move(arguments));
}

std::unique_ptr<ILocalizedMessage> MakeNonLocalizedMessage(const CString& text) {
  std::vector<CVariant> arguments;
  arguments.emplace_back(text);
  return std::make_unique<CLocalizedMessage>(CLocalizedResource(), std::move(arguments));
}

std::unique_ptr<ILocalizedMessage> CopyLocalizedMessage(std::unique_ptr<ILocalizedMessage>& message) {
  std::unique_ptr<ILocalizedMessage> copy;
  std::unique_ptr<ILocalizedMessage>* end = &copy;
  for (const ILocalizedMessage* next = message.get(); next != nullptr;) {
    auto made = std::make_unique<CLocalizedMessage>();
    auto* const appended = &made->appended_;
    if (const auto* const part = dynamic_cast<const CLocalizedMessage*>(next)) {
      made->resource_ = part->resource_;
      made->flag_ = part->flag_;
      made->arguments_ = part->arguments_;
      next = part->appended_.get();
    } else {
      zorutil::memory_serializer_t bytes;
      next->Serialize(bytes);
      bytes.Rewind();
      made->Deserialize(bytes);
      next = nullptr;
    }
    *end = std::move(made);
    end = appended;
  }
  return copy;
}

}  // namespace i18n
