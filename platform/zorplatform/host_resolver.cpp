#include "platform/zorplatform/host_resolver.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>
#include <mutex>
#include <utility>

#include "platform/text/utf.h"

namespace zorplatform {
namespace {

std::vector<std::uint32_t> AskSystem(const char* host, const char* service, const addrinfo* hints) {
  addrinfo* answers = nullptr;
  if (::getaddrinfo(host, service, hints, &answers) != 0) return {};
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(answers, &::freeaddrinfo);
  std::vector<std::uint32_t> addresses;
  for (const addrinfo* each = answers; each != nullptr; each = each->ai_next) {
    if (each->ai_family != AF_INET || each->ai_addrlen < sizeof(sockaddr_in)) continue;
    sockaddr_in address;
    std::memcpy(&address, each->ai_addr, sizeof address);
    addresses.push_back(address.sin_addr.s_addr);
  }
  return addresses;
}

class CSystemResolver : public IHostResolver {
 public:
  std::vector<std::uint32_t> FindAddresses(const std::string& host, std::uint16_t port) const override {
    return AskSystem(host.c_str(), std::to_string(port).c_str(), nullptr);
  }
  // Devices' networks often have name servers that let questions for IPv6 addresses time out.
  std::optional<std::uint32_t> FindAddress(const std::string& host) const override {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    const auto addresses = AskSystem(host.c_str(), nullptr, &hints);
    if (addresses.empty()) return std::nullopt;
    return addresses.front();
  }
};

struct setting_t {
  std::mutex mutex;
  std::shared_ptr<const IHostResolver> resolver;
};

setting_t& Setting() {
  static setting_t setting;
  return setting;
}

// False when the text can be no name.
bool AsName(std::u16string_view host, std::string& name) {
  if (host.empty() || host.size() > kMaxHostBytes || host.find(u'\0') != host.npos) return false;
  name = utf::ToUtf8(host);
  return name.size() <= kMaxHostBytes && name.find("\xEF\xBF\xBD") == name.npos;
}

}  // namespace

IHostResolver::~IHostResolver() = default;

std::optional<std::uint32_t> IHostResolver::FindAddress(const std::string& host) const {
  const auto addresses = FindAddresses(host, 0);
  if (addresses.empty()) return std::nullopt;
  return addresses.front();
}

std::shared_ptr<const IHostResolver> GetHostResolver() {
  static const std::shared_ptr<const IHostResolver> system = std::make_shared<CSystemResolver>();
  setting_t& setting = Setting();
  const std::lock_guard guard(setting.mutex);
  return setting.resolver != nullptr ? setting.resolver : system;
}

std::shared_ptr<const IHostResolver> SetHostResolver(std::shared_ptr<const IHostResolver> resolver) {
  setting_t& setting = Setting();
  const std::lock_guard guard(setting.mutex);
  return std::exchange(setting.resolver, std::move(resolver));
}

std::optional<std::uint32_t> FindHostAddress(std::u16string_view host) {
  std::string name;
  if (!AsName(host, name)) return std::nullopt;
  return GetHostResolver()->FindAddress(name);
}

std::vector<std::uint32_t> FindHostAddresses(std::u16string_view host, std::uint16_t port) {
  return FindHostAddresses(host, port, *GetHostResolver());
}

std::vector<std::uint32_t> FindHostAddresses(std::u16string_view host, std::uint16_t port,
                                             const IHostResolver& resolver) {
  std::string name;
  if (!AsName(host, name)) return {};
  return resolver.FindAddresses(name, port);
}

}  // namespace zorplatform
