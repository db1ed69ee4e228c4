#include "util/net/net_ops.h"

namespace zorutil {

std::vector<CIpAddr> CNetOps::AddressesFromHostname(std::u16string_view host, std::uint16_t port) {
  return AddressesFromHostname(host, port, *zorplatform::GetHostResolver());
}

std::vector<CIpAddr> CNetOps::AddressesFromHostname(std::u16string_view host, std::uint16_t port,
                                                    const zorplatform::IHostResolver& resolver) {
  const auto addresses = zorplatform::FindHostAddresses(host, port, resolver);
  return {addresses.begin(), addresses.end()};
}

}  // namespace zorutil
