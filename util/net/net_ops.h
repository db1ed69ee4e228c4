// All IPv4 addresses of a host.
//
//   for (const CIpAddr& each : zorutil::CNetOps::AddressesFromHostname(u"localhost", 502)) Show(each.ToString());
//
// No state; any number of threads. Each call asks the resolver (platform/zorplatform/host_resolver.h), and may block.
#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/zorplatform/host_resolver.h"
#include "platform/zorplatform/text_parse.h"
#include "util/net/ip_addr.h"

namespace zorutil {

class ZORUTIL_API CNetOps {
 public:
  /// In the resolver's order and with its duplicates: the system's names an address once for each socket type. Empty
  /// for a host that is unknown, that has IPv6 addresses only, or whose text can be no name. A dotted text, too, is the
  /// resolver's to read.
  static std::vector<CIpAddr> AddressesFromHostname(std::u16string_view host, std::uint16_t port);
  static std::vector<CIpAddr> AddressesFromHostname(const char16_t* host, std::uint16_t port) {
    return AddressesFromHostname(zorplatform::TextOrEmpty(host), port);
  }
  static std::vector<CIpAddr> AddressesFromHostname(const std::same_as<CString> auto& host, std::uint16_t port) {
    return AddressesFromHostname(host.View(), port);
  }
  /// Asks this resolver instead of that of the process.
  static std::vector<CIpAddr> AddressesFromHostname(std::u16string_view host, std::uint16_t port,
                                                    const zorplatform::IHostResolver& resolver);
};

}  // namespace zorutil
