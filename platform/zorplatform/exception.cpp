#include "platform/zorplatform/exception.h"

namespace zorplatform {
namespace {

std::string_view NameOf(int code) {
  switch (code) {
    case CException::kEndOfStream: return "end of stream or corrupt data";
    case CException::kAllocation: return "allocation failed";
    case CException::kShortRead: return "short read";
    case CException::kBadAddress: return "bad address or port";
    case CException::kNoFixedSize: return "array of a type without fixed size";
    default: return "unknown code";
  }
}

std::string DefaultText(int code) {
  return "zorplatform exception " + std::to_string(code) + ": " + std::string(NameOf(code));
}

}  // namespace

CException::CException(int code, std::string text)
    : code_(code), text_(text.empty() ? DefaultText(code) : std::move(text)) {}

CException::CException(const CException&) = default;
CException& CException::operator=(const CException&) = default;
CException::~CException() = default;

void CException::Throw(int code) { throw CException(code); }

void CException::Throw(int code, std::string_view text) { throw CException(code, std::string(text)); }

}  // namespace zorplatform
