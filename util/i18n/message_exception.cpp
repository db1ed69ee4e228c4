#include "util/i18n/message_exception.h"

#include <utility>

namespace i18n {

message_exception_t::message_exception_t(std::unique_ptr<ILocalizedMessage>&& message, int code) noexcept
    : code_(code), message_(std::move(message)) {}

message_exception_t::message_exception_t(std::unique_ptr<ILocalizedMessage>&& message, const CString& text1,
                                         const CString& text2, int number, int code) noexcept
    : code_(code), message_(std::move(message)), text1_(text1), text2_(text2), number_(number) {}

message_exception_t::message_exception_t(message_exception_t& other) noexcept
    : std::exception(other), code_(other.code_), message_(std::move(other.message_)), number_(other.number_) {}

message_exception_t::message_exception_t(message_exception_t&& other) noexcept : message_exception_t(other) {}

message_exception_t::~message_exception_t() { delete what_.load(std::memory_order_acquire); }

void message_exception_t::Throw(std::unique_ptr<ILocalizedMessage> message, int code) {
  throw message_exception_t(std::move(message), code);
}

CString message_exception_t::GetMessageText(unsigned short languageId) const {
  return message_ == nullptr ? CString() : message_->GetMessageText(languageId);
}

const char* message_exception_t::what() const noexcept {
  if (const std::string* const text = what_.load(std::memory_order_acquire)) return text->c_str();
  if (message_ == nullptr) return "error without a message";
  try {
    auto made = std::make_unique<const std::string>(message_->GetMessageText(0).ToUtf8());
    const std::string* expected = nullptr;
    if (!what_.compare_exchange_strong(expected, made.get(), std::memory_order_acq_rel)) return expected->c_str();
    return made.release()->c_str();
  } catch (...) {
    return "error whose message cannot be shown";
  }
}

}  // namespace i18n
