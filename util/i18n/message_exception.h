// An exception that carries a message for people beside its code.
//
//   try {
//     i18n::message_exception_t::Throw(i18n::MakeLocalizedMessage(i18n::IDS_VALUE_OF_WRONG_TYPE), kBadValue);
//   } catch (const i18n::message_exception_t& error) {
//     Show(error.GetMessageText(i18n::kLanguageGerman));
//   }
//
// Catch it by reference: a copy takes the message from its source. One thread at a time uses an exception, but what()
// and GetMessageText may run on any number of them.
#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/localized_message.h"

namespace i18n {

class ZORUTIL_API message_exception_t : public std::exception {
 public:
  /// `message` may be null.
  message_exception_t(std::unique_ptr<ILocalizedMessage>&& message, int code) noexcept;
  /// The texts and the number say where it happened; they mean what who throws and who catches agree on.
  message_exception_t(std::unique_ptr<ILocalizedMessage>&& message, const CString& text1, const CString& text2,
                      int number, int code) noexcept;
  /// Both take the code, the number and the message; the source is left without a message. The two context texts stay
  /// behind: those of the new exception are empty.
  message_exception_t(message_exception_t& other) noexcept;
  message_exception_t(message_exception_t&& other) noexcept;
  message_exception_t& operator=(const message_exception_t&) = delete;
  ~message_exception_t() override;

  /// Throws one without context.
  [[noreturn]] static void Throw(std::unique_ptr<ILocalizedMessage> message, int code);

  /// What the throwing function documents; never read by the exception itself.
  int GetErrorCode() const noexcept { return code_; }
  /// False once it was detached or taken by a copy.
  bool HasMessage() const noexcept { return message_ != nullptr; }
  /// Hands the message over, and leaves the exception without one.
  std::unique_ptr<ILocalizedMessage> DetachMessage() noexcept { return std::move(message_); }
  /// Empty without a message; otherwise as ILocalizedMessage::GetMessageText.
  CString GetMessageText(unsigned short languageId) const;

  /// Two texts and a number that say where it happened, as who throws and who catches agree; empty and 0 at first.
  /// @{
  const CString& GetText1() const noexcept { return text1_; }
  void SetText1(const CString& text) noexcept { text1_ = text; }
  const CString& GetText2() const noexcept { return text2_; }
  void SetText2(const CString& text) noexcept { text2_ = text; }
  int GetNumber() const noexcept { return number_; }
  void SetNumber(int number) noexcept { number_ = number; }
  /// @}

  /// The message in the product language of the first call, in UTF-8. A fixed text when there is no message or it
  /// cannot be rendered. Valid as long as the exception.
  const char* what() const noexcept override;

 private:
  int code_;
  std::unique_ptr<ILocalizedMessage> message_;
  CString text1_;
  CString text2_;
  int number_ = 0;
  mutable std::atomic<const std::string*> what_{nullptr};
};

}  // namespace i18n
