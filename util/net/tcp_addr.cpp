#include "util/net/tcp_addr.h"

#include "platform/text/number_text.h"
#include "util/net/address_text_internal.h"
#include "util/net/ip_addr.h"

CTcpAddr::CTcpAddr(const CString& text) : CTcpAddr(Resolve(text.View())) {}

CString CTcpAddr::ToString() const {
  char digits[number_text::kMaxChars];
  const std::size_t count = number_text::FormatInteger(std::uint64_t{port_}, digits);
  CString text = GetHost();
  text += u':';
  return text.AppendAscii({digits, count});
}

CString CTcpAddr::GetHost() const { return CIpAddr(address_).ToString(); }

bool CTcpAddr::IsValid() const noexcept { return CIpAddr(address_).IsValid() && port_ != 0; }

bool CTcpAddr::IsLocalHost() const noexcept { return CIpAddr(address_).IsLocalHost(); }

bool CTcpAddr::IsValid(std::u16string_view text) noexcept {
  try {
    return Resolve(text).IsValid();
  } catch (...) {
    return false;
  }
}

CTcpAddr CTcpAddr::Resolve(std::u16string_view text) {
  const std::size_t colon = text.find(u':');
  if (colon == text.npos) address_text::Fail(text, " has no colon and port");
  std::uint32_t port = 0;
  for (const char16_t unit : text.substr(colon + 1)) {
    if (unit < u'0' || unit > u'9') address_text::Fail(text, ": the port holds something else than digits");
    port = port * 10 + (unit - u'0');
    if (port > UINT16_MAX) address_text::Fail(text, ": the port is above 65535");
  }
  if (port == 0) address_text::Fail(text, ": the port is missing or 0");
  return {CIpAddr::Resolve(text.substr(0, colon)), static_cast<std::uint16_t>(port)};
}
