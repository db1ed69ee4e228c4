// The family's exception for programming errors and malformed streams: a small negative code, and for people a text.
//
//   zorplatform::CException::Throw(zorplatform::CException::kShortRead, "project.bin: record 7: end of file");
//
// A value. What catches it by its code need not look at the text.
#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "platform/export.h"

namespace zorplatform {

class ZORPLATFORM_API CException : public std::exception {
 public:
  /// The codes in use.
  enum code_t : int {
    kEndOfStream = -1,  ///< reading past the end, a corrupt stream, a duplicate or unknown type
    kAllocation = -2,   ///< an array or string could not be allocated
    kShortRead = -3,    ///< a file serializer reached the end of its file
    kBadAddress = -4,   ///< an address or port that cannot be parsed or resolved
    kNoFixedSize = -5,  ///< an array of a type without fixed size
  };

  /// `text` says what was being done and where, and is what() as it stands; without one the code is named, as in
  /// "zorplatform exception -3: short read".
  explicit CException(int code, std::string text = {});
  CException(const CException&);
  CException& operator=(const CException&);
  ~CException() override;

  /// One of code_t, or any other number that a program chose.
  int GetCode() const noexcept { return code_; }
  /// UTF-8, never null; valid as long as the exception.
  const char* what() const noexcept override;

  /// Throws a CException of that code and text.
  [[noreturn]] static void Throw(int code);
  [[noreturn]] static void Throw(int code, std::string_view text);

 private:
  int code_;
  std::string text_;
};

}  // namespace zorplatform
