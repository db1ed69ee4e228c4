// Any UTF-16 units as a host name: its form is told by each unit alone, and a resolver is asked for well-formed names
// only, with the name that was given.
#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz/value_fuzz_internal.h"
#include "platform/text/collation.h"
#include "platform/text/utf.h"
#include "util/net/net_ops.h"

using namespace value_fuzz;

namespace {

struct one_name_t : zorplatform::IHostResolver {
  std::vector<std::uint32_t> FindAddresses(const std::string& host, std::uint16_t port) const override {
    Require(port == 502 && utf::ToUtf16(host) == expected && host.size() <= zorplatform::kMaxHostBytes);
    isAsked = true;
    return {1, 0, 1};
  }
  std::u16string expected;
  mutable bool isAsked = false;
};

bool IsNamePart(char16_t unit) {
  return collation::IsAlphaNumeric(unit) || std::u16string_view(u"_-.").find(unit) != std::u16string_view::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::u16string text(size / 2, u'\0');
  if (!text.empty()) std::memcpy(text.data(), data, text.size() * 2);
  const bool isName = CIpAddr::IsValidHostName(text);
  Require(isName == (!text.empty() && text.size() < 64 && collation::IsAlphaNumeric(text[0]) &&
                     std::all_of(text.begin(), text.end(), IsNamePart)));

  one_name_t resolver;
  resolver.expected = text;
  const auto addresses = zorutil::CNetOps::AddressesFromHostname(text, 502, resolver);
  Require(addresses.size() == (resolver.isAsked ? 3u : 0u));
  Require(resolver.isAsked || !isName);  // a name of 63 units fits the limit in bytes
  Require(!resolver.isAsked || text.find(u'\0') == text.npos);
  return 0;
}
