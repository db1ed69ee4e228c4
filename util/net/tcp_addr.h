// An IPv4 address and a TCP port, as in "10.0.0.5:502".
//
//   CTcpAddr device(u"10.0.0.5:502");
//   device.GetPort();                                            // 502
//
// A plain value; copy it freely, any number of threads may read one. Only what takes a text asks the resolver, and only
// when its host is no dotted address.
#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/zorplatform/text_parse.h"

class ZORUTIL_API CTcpAddr {
 public:
  /// No address and no port, 0 and 0.
  constexpr CTcpAddr() noexcept = default;
  /// The address in network byte order (see CIpAddr::GetAddr), the port as a number.
  constexpr CTcpAddr(std::uint32_t address, std::uint16_t port) noexcept : address_(address), port_(port) {}
  /// What CIpAddr takes, a colon, and a port of 1 to 65535 in decimal digits. The port is checked first: a host whose
  /// port is wrong is not resolved. Throws zorplatform::CException -4.
  explicit CTcpAddr(const CString& text);

  /// The raw value, in network byte order; 0 is no address.
  constexpr std::uint32_t GetAddr() const noexcept { return address_; }
  constexpr void SetAddr(std::uint32_t address) noexcept { address_ = address; }
  /// As a number, not in network byte order; 0 is no port.
  constexpr std::uint16_t GetPort() const noexcept { return port_; }
  constexpr void SetPort(std::uint16_t port) noexcept { port_ = port; }

  /// "10.0.0.5:502".
  CString ToString() const;
  /// "10.0.0.5".
  CString GetHost() const;
  /// The address is neither 0.0.0.0 nor 255.255.255.255, and there is a port.
  bool IsValid() const noexcept;
  /// Any address 127.x.x.x.
  bool IsLocalHost() const noexcept;

  /// The constructor takes the text, and the value is valid. May ask the resolver. Never throws.
  static bool IsValid(std::u16string_view text) noexcept;
  static bool IsValid(const char16_t* text) noexcept { return IsValid(zorplatform::TextOrEmpty(text)); }
  static bool IsValid(const std::same_as<CString> auto& text) noexcept { return IsValid(text.View()); }

  constexpr bool operator==(const CTcpAddr&) const noexcept = default;

 private:
  static CTcpAddr Resolve(std::u16string_view text);

  std::uint32_t address_ = 0;
  std::uint16_t port_ = 0;
};
