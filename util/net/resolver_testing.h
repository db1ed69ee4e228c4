// For tests: a resolver that knows what it is told, notes what it is asked, and is that of the process while it lives.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/zorplatform/host_resolver.h"
#include "util/net/ip_addr.h"

class CFakeResolver {
 public:
  struct table_t : zorplatform::IHostResolver {
    std::vector<std::uint32_t> FindAddresses(const std::string& host, std::uint16_t port) const override {
      asked.push_back(host + '/' + std::to_string(port));
      const auto found = hosts.find(host);
      return found == hosts.end() ? std::vector<std::uint32_t>() : found->second;
    }
    std::map<std::string, std::vector<std::uint32_t>> hosts;
    mutable std::vector<std::string> asked;
  };

  explicit CFakeResolver(std::map<std::string, std::vector<std::uint32_t>> hosts) {
    table_->hosts = std::move(hosts);
    before_ = zorplatform::SetHostResolver(table_);
  }
  ~CFakeResolver() { zorplatform::SetHostResolver(before_); }
  CFakeResolver(const CFakeResolver&) = delete;
  CFakeResolver& operator=(const CFakeResolver&) = delete;

  /// "host/port" of each question since the last call.
  std::vector<std::string> TakeAsked() { return std::exchange(table_->asked, {}); }
  const zorplatform::IHostResolver& Get() const { return *table_; }

 private:
  std::shared_ptr<table_t> table_ = std::make_shared<table_t>();
  std::shared_ptr<const zorplatform::IHostResolver> before_;
};

/// The raw value of a dotted text.
inline std::uint32_t Raw(const char* dotted) {
  std::uint32_t raw = 0;
  CIpAddr::FromDottedQuad(CString(dotted), raw);
  return raw;
}
