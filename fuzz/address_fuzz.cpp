// Any text as an IPv4 address and as a TCP address: what is taken prints, and the printed text is read as the same;
// what is refused changes nothing; the resolver is asked for possible names only, and its answer is taken as it is.
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/value_fuzz_internal.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/host_resolver.h"
#include "util/net/ip_addr.h"
#include "util/net/tcp_addr.h"

using namespace value_fuzz;

namespace {

// Knows the names of an even length, and gives them an address made of it.
struct even_names_t : zorplatform::IHostResolver {
  std::vector<std::uint32_t> FindAddresses(const std::string& host, std::uint16_t) const override {
    Require(!host.empty() && host.size() <= zorplatform::kMaxHostBytes && std::strlen(host.c_str()) == host.size());
    Require(host.find("\xEF\xBF\xBD") == host.npos);
    if (host.size() % 2 != 0) return {};
    return {static_cast<std::uint32_t>(host.size() * 0x01010101), 7};
  }
};

template <class Function>
bool Takes(Function function) {
  try {
    function();
    return true;
  } catch (const zorplatform::CException& error) {
    Require(error.GetCode() == zorplatform::CException::kBadAddress);
    return false;
  }
}

void CheckAddress(const CString& text) {
  std::uint32_t raw = 77;
  const bool isQuad = CIpAddr::FromDottedQuad(text, raw);
  CIpAddr address;
  const bool isTaken = Takes([&] { address = CIpAddr(text); });
  Require(isQuad ? isTaken && address.GetAddr() == raw : raw == 77);
  Require(CIpAddr::IsValid(text, true) == (isTaken && address.IsValid()));
  Require(CIpAddr::IsValid(text, false) == (isQuad ? address.IsValid() : CIpAddr::IsValidHostName(text)));
  if (!isTaken) return;
  const CString printed = address.ToString();
  Require(printed.GetLength() >= 7 && printed.GetLength() <= 15 && CIpAddr::FromDottedQuad(printed, raw));
  Require(raw == address.GetAddr() && address.IsLocalHost() == printed.View().starts_with(u"127."));
}

void CheckTcpAddress(const CString& text) {
  CTcpAddr address;
  const bool isTaken = Takes([&] { address = CTcpAddr(text); });
  Require(CTcpAddr::IsValid(text) == (isTaken && address.IsValid()));
  if (!isTaken) return;
  Require(address.GetPort() != 0 && CTcpAddr(address.ToString()) == address);
  Require(CIpAddr(text.Left(text.Find(u':'))) == address.GetAddr());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto before = zorplatform::SetHostResolver(std::make_shared<even_names_t>());
  const CString text(std::string_view(reinterpret_cast<const char*>(data), size));
  CheckAddress(text);
  CheckTcpAddress(text);
  CheckTcpAddress(text + u":502");
  return 0;
}
