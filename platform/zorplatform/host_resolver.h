// Who knows the IPv4 addresses of a host name: the system's resolver, or whatever a program or a test puts in its
// place.
//
//   class CPlantHosts : public zorplatform::IHostResolver {
//     std::vector<std::uint32_t> FindAddresses(const std::string& host, std::uint16_t port) const override;
//   };
//   zorplatform::SetHostResolver(std::make_shared<CPlantHosts>());       // from now on, for the whole process
//   if (const auto address = zorplatform::FindHostAddress(u"plc-4")) Connect(*address);
//
// Addresses are 32-bit values whose bytes in memory are the four octets, first octet first (network byte order). The
// functions may run on any number of threads; no lock is held while a resolver works, which may take as long as the
// system's timeouts. A resolver that was replaced lives until the calls that use it have returned.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"

namespace zorplatform {

class ZORPLATFORM_API IHostResolver {
 public:
  virtual ~IHostResolver();

  /// The IPv4 addresses in the resolver's order, duplicates included; none for a host that is unknown or has other
  /// addresses only. `host` is UTF-8, neither empty nor longer than kMaxHostBytes, without NUL and U+FFFD. Called from
  /// several threads at once.
  virtual std::vector<std::uint32_t> FindAddresses(const std::string& host, std::uint16_t port) const = 0;
  /// The one to take when one is enough; by default the first of FindAddresses for port 0.
  virtual std::optional<std::uint32_t> FindAddress(const std::string& host) const;
};

/// The resolver of the process: the system's, unless another one was set. Never null. The system's asks for IPv4 alone
/// where one address is enough, else for all families and socket types, and leaves out what is not IPv4; the same
/// address then comes once for each socket type. It also takes what the system takes for an address, such as "10.1" for
/// 10.0.0.1.
ZORPLATFORM_API std::shared_ptr<const IHostResolver> GetHostResolver();
/// Null is the system's again. Returns what was set before: null for the system's.
ZORPLATFORM_API std::shared_ptr<const IHostResolver> SetHostResolver(std::shared_ptr<const IHostResolver> resolver);

/// Longer than any name that the name service knows.
inline constexpr std::size_t kMaxHostBytes = 255;

/// Asks the resolver of the process, or the given one. A text that can be no name (empty, longer than kMaxHostBytes in
/// UTF-8, with a NUL, an unpaired surrogate or U+FFFD) has no address, and nobody is asked. What a resolver throws, and
/// std::bad_alloc, passes through.
/// @{
ZORPLATFORM_API std::optional<std::uint32_t> FindHostAddress(std::u16string_view host);
ZORPLATFORM_API std::vector<std::uint32_t> FindHostAddresses(std::u16string_view host, std::uint16_t port);
ZORPLATFORM_API std::vector<std::uint32_t> FindHostAddresses(std::u16string_view host, std::uint16_t port,
                                                             const IHostResolver& resolver);
/// @}

}  // namespace zorplatform
