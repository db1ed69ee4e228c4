// An error as a value: a code for programs and a message for people, returned from functions.
//
//   i18n::zor_error_t error = Configure(device);
//   if (error.GetErrorCode() != 0) Show(error.GetMessageText(0));
//
// It owns its message, and handing it on hands the message on: a copy takes the message from its source, which keeps
// the code. One thread at a time uses an error.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/localized_message.h"

namespace i18n {

class ZORUTIL_API zor_error_t {
 public:
  /// No error: code 0 and no message.
  zor_error_t() noexcept = default;
  /// `message` may be null.
  zor_error_t(std::int32_t code, std::unique_ptr<ILocalizedMessage>&& message) noexcept;

  /// Each takes the code and the message; the source keeps its code and has no message any more. Assigning an error to
  /// itself changes nothing.
  zor_error_t(zor_error_t& other) noexcept;
  zor_error_t(zor_error_t&& other) noexcept;
  zor_error_t& operator=(zor_error_t& other) noexcept;
  zor_error_t& operator=(zor_error_t&& other) noexcept;
  ~zor_error_t();

  /// 0 is success; others are what the returning function documents.
  std::int32_t GetErrorCode() const noexcept { return code_; }
  /// Whether there is a text for people; false once it was handed on.
  bool HasMessage() const noexcept { return message_ != nullptr; }
  /// Empty without a message; otherwise as ILocalizedMessage::GetMessageText.
  CString GetMessageText(unsigned short languageId) const;

 private:
  std::int32_t code_ = 0;
  std::unique_ptr<ILocalizedMessage> message_;
};

}  // namespace i18n
