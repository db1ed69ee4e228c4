#include "platform/zorplatform/exception.h"

namespace zorplatform {
namespace {

const char* NameOf(int code) {
  switch (code) {
    case CException::kEndOfStream: return "zorplatform exception -1: end of stream or corrupt data";
    case CException::kAllocation: return "zorplatform exception -2: allocation failed";
    case CException::kShortRead: return "zorplatform exception -3: short read";
    case CException::kBadAddress: return "zorplatform exception -4: bad address or port";
    case CException::kNoFixedSize: return "zorplatform exception -5: array of a type without fixed size";
    default: return nullptr;
  }
}

}  // namespace

CException::CException(int code, std::string text) : code_(code), text_(std::move(text)) {
  if (text_.empty() && NameOf(code) == nullptr) text_ = "zorplatform exception " + std::to_string(code);
}

CException::CException(const CException&) = default;
CException& CException::operator=(const CException&) = default;
CException::~CException() = default;

const char* CException::what() const noexcept { return text_.empty() ? NameOf(code_) : text_.c_str(); }

void CException::Throw(int code) { throw CException(code); }

void CException::Throw(int code, std::string_view text) { throw CException(code, std::string(text)); }

}  // namespace zorplatform
