// For tests: a resolver that knows what it is told, notes what it is asked, and is that of the process while it lives.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/framework/cstring.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/host_resolver.h"
#include "util/net/ip_addr.h"

class CFakeResolver {
 public:
  using hosts_t = std::map<std::string, std::vector<std::uint32_t>>;

  explicit CFakeResolver(hosts_t hosts) {
    table_->hosts = std::move(hosts);
    before_ = zorplatform::SetHostResolver(table_);
  }
  ~CFakeResolver() { zorplatform::SetHostResolver(before_); }
  CFakeResolver(const CFakeResolver&) = delete;
  CFakeResolver& operator=(const CFakeResolver&) = delete;

  /// "host/port" of each question since the last call, and a blank behind it.
  std::string TakeAsked() { return std::exchange(table_->asked, {}); }
  const zorplatform::IHostResolver& Get() const { return *table_; }

 private:
  struct table_t : zorplatform::IHostResolver {
    std::vector<std::uint32_t> FindAddresses(const std::string& host, std::uint16_t port) const override {
      asked += host + '/' + std::to_string(port) + ' ';
      const auto found = hosts.find(host);
      return found == hosts.end() ? std::vector<std::uint32_t>() : found->second;
    }
    hosts_t hosts;
    mutable std::string asked;
  };

  std::shared_ptr<table_t> table_ = std::make_shared<table_t>();
  std::shared_ptr<const zorplatform::IHostResolver> before_;
};

/// The raw value of a dotted text.
inline std::uint32_t Raw(const char* dotted) {
  std::uint32_t raw = 0;
  CIpAddr::FromDottedQuad(CString(dotted), raw);
  return raw;
}

/// A field of a table as the text that it stands for: '~' is a blank, '^' a NUL, '%' half a surrogate pair, and "63*a"
/// is 63 times the unit.
inline CString TextOf(const std::string& field) {
  CString text(field);
  if (const int star = text.Find(u'*'); star > 0) text = CString(text[star + 1], std::stoi(field));
  text.Replace(u'~', u' ');
  text.Replace(u'^', u'\0');
  text.Replace(u'%', char16_t{0xD800});
  return text;
}

/// What a constructor makes of a text, printed; "-" when it throws the exception of addresses, its code otherwise.
template <class Address>
std::string Printed(const CString& text) {
  try {
    return Address(text).ToString().ToUtf8();
  } catch (const zorplatform::CException& error) {
    return error.GetCode() == zorplatform::CException::kBadAddress ? "-" : std::to_string(error.GetCode());
  }
}
