#include "util/i18n/zor_error.h"

#include <utility>

namespace i18n {

zor_error_t::zor_error_t(std::int32_t code, std::unique_ptr<ILocalizedMessage>&& message) noexcept
    : code_(code), message_(std::move(message)) {}

zor_error_t::zor_error_t(zor_error_t& other) noexcept : code_(other.code_), message_(std::move(other.message_)) {}

zor_error_t::zor_error_t(zor_error_t&& other) noexcept : zor_error_t(other) {}

zor_error_t& zor_error_t::operator=(zor_error_t& other) noexcept {
  code_ = other.code_;
  if (this != &other) message_ = std::move(other.message_);
  return *this;
}

zor_error_t& zor_error_t::operator=(zor_error_t&& other) noexcept { return *this = other; }

zor_error_t::~zor_error_t() = default;

CString zor_error_t::GetMessageText(unsigned short languageId) const {
  return message_ == nullptr ? CString() : message_->GetMessageText(languageId);
}

}  // namespace i18n
