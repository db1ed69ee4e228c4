// Addresses: read, checked, resolved, printed.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>

#include "platform/framework/rows_testing.h"
#include "util/net/net_ops.h"
#include "util/net/resolver_testing.h"
#include "util/net/tcp_addr.h"

namespace {

using zorutil::CNetOps;

// What a text of digits, dots and blanks is printed as, "-" when it is no address: by taking it apart at its dots.
std::string PrintedByModel(const std::string& text) {
  if (text.starts_with(' ') || std::count(text.begin(), text.end(), '.') != 3) return "-";
  std::string printed, rest = text;
  for (int i = 0; i < 4; ++i) {
    std::string part = rest.substr(0, rest.find('.'));
    rest.erase(0, part.size() + 1);
    const bool isParted = part.find_first_not_of(' ', part.find(' ', part.find_first_not_of(' '))) != part.npos;
    std::erase(part, ' ');
    if ((i == 3 && isParted) || part.empty() || part.size() > 3 || std::stoi(part) > 255) return "-";
    printed += (i == 0 ? "" : ".") + std::to_string(std::stoi(part));
  }
  return printed;
}

TEST(IpAddr, ReadsEveryShortTextAsAPlainModelDoes) {
  int wrong = 0;
  for (unsigned code = 0; code < 1u << 21 && wrong < 20; ++code) {
    std::string text;
    for (unsigned rest = code; rest > 1; rest /= 4) text += "29. "[rest % 4];
    std::uint32_t raw = 77;
    const bool isTaken = CIpAddr::FromDottedQuad(std::u16string(text.begin(), text.end()), raw);
    const std::string printed = isTaken ? CIpAddr(raw).ToString().ToUtf8() : raw == 77 ? "-" : "changed";
    if (printed != PrintedByModel(text)) ADD_FAILURE() << ++wrong << ". \"" << text << "\": " << printed;
  }
}

// Whether a text is dotted, valid without resolving, in the form of a host name, asked for, and valid with resolving.
std::string Properties(const CString& text, CFakeResolver& hosts) {
  std::uint32_t raw = 0;
  std::string is = CIpAddr::FromDottedQuad(text, raw) ? "d" : "-";
  is += CIpAddr::IsValid(text, false) ? 'v' : '-';
  is += CIpAddr::IsValidHostName(text) ? 'h' : '-';
  EXPECT_EQ(hosts.TakeAsked(), "");
  const bool isValid = CIpAddr::IsValid(text, true);
  is += hosts.TakeAsked() == text.ToUtf8() + "/0 " ? 'a' : '-';
  return is += isValid ? 'V' : '-';
}

TEST(IpAddr, IsReadCheckedAndResolved) {
  CFakeResolver hosts({{"plc-4", {Raw("10.0.0.4"), 1}}, {"1.2.3", {Raw("1.2.0.3")}}, {"no", {0}}, {"all", {~0u}}});
  for (const auto& c : rows_testing::Rows(R"(
      192.168.0.1|dvh-V|192.168.0.1; 01.02.003.4|dvh-V|1.2.3.4; 0.0.0.0|d-h--|0.0.0.0; 9.99.100.200|dvh-V|9.99.100.200;
      255.255.255.255|d-h--|255.255.255.255; 0.0.0.0~|d----|0.0.0.0; 10.0.0.1~|dv--V|10.0.0.1; 256.1.1.1|-vh--|-;
      ~1.2.3.4|-----|-; 1.2.3.4.5|-vha-|-; 1234.1.1.1|-vha-|-; 1.2.3.4x|-vha-|-; 1.2.-3.4|-vha-|-; 0x1.2.3.4|-vha-|-;
      1.2.3.4^|-----|-; 1.2.3.4%|-----|-; 1.2.3.4~5|---a-|-; 00~01.2.3.4|---a-|-; plc-4|-vhaV|10.0.0.4; |-----|-;
      1.2.3|-vhaV|1.2.0.3; no|-vha-|0.0.0.0; all|-vha-|255.255.255.255; my-host_1.local|-vha-|-; a..b.|-vha-|-;
      -plc-4|-----|-; _a|-----|-; .a|-----|-; a~b|---a-|-; plc-4^|-----|-; plc%|-----|-; 63*a|-vha-|-; 64*a|---a-|-;
      255*a|---a-|-; 256*a|-----|-; 127*ä|---a-|-; 128*ä|-----|-; 100000*1|-----|-;)"
                                          "1.\u00A02.\t3.\u30004\n|dv--V|1.2.3.4; \u0661.2.3.4|-vha-|-;"
                                          "1.2.3.\uFF14|-vha-|-; \u00DC\u00DF\u0661|-vha-|-; a\u00D7|---a-|-;"
                                          "\U00010400|-----|-; a\uFFFD|-----|-")) {
    SCOPED_TRACE(c[0]);
    EXPECT_EQ(Properties(TextOf(c[0]), hosts), c[1]);
    EXPECT_EQ(Printed<CIpAddr>(TextOf(c[0])), c[2]);
    hosts.TakeAsked();
  }
  EXPECT_EQ(Properties(u"1.2.3." + CString(u' ', 100'000) + u"4", hosts), "dv--V");
  const char16_t* const none = nullptr;
  EXPECT_FALSE(CIpAddr::IsValid(none, false) || CIpAddr::IsValid(none, true) || CIpAddr::IsValidHostName(none));
}

TEST(IpAddr, IsItsOctetsInMemory) {
  const auto address = std::bit_cast<CIpAddr>(std::array<std::uint8_t, 4>{127, 255, 0, 9});
  EXPECT_TRUE(address.ToString() == "127.255.0.9" && address.IsLocalHost());
  EXPECT_FALSE(CIpAddr(Raw("128.127.0.1")).IsLocalHost());
}

TEST(TcpAddr, ReadsAHostAndAPort) {
  CFakeResolver hosts({{"plc-4", {Raw("10.0.0.4")}}, {"no", {0}}});
  // The text, what it is printed as, what the resolver is asked, and whether the text is valid.
  for (const auto& c : rows_testing::Rows(R"(
      10.0.0.5:502|10.0.0.5:502||1; 1.2.3.4~:65535|1.2.3.4:65535||1; 127.0.0.1:0000000001|127.0.0.1:1||1;
      0.0.0.0:1|0.0.0.0:1||0; 255.255.255.255:1|255.255.255.255:1||0; plc-4:80|10.0.0.4:80|plc-4/0 |1;
      no:80|0.0.0.0:80|no/0 |0; plc-5:80|-|plc-5/0 |0; plc-4:0|-||0; plc-4:|-||0; plc-4|-||0; plc-4:65536|-||0;
      plc-4:4294967297|-||0; plc-4:12a|-||0; plc-4:~80|-||0; plc-4:+80|-||0; plc-4:８|-||0; plc-4:80:80|-||0;
      plc-4:80^|-||0; plc-4^:80|-||0; 256.0.0.1:80|-||0; :80|-||0; |-||0)")) {
    SCOPED_TRACE(c[0]);
    EXPECT_EQ(Printed<CTcpAddr>(TextOf(c[0])), c[1]);
    EXPECT_EQ(hosts.TakeAsked(), c[2]);
    EXPECT_EQ(CTcpAddr::IsValid(TextOf(c[0])), c[3] == "1");
    hosts.TakeAsked();
  }
  EXPECT_TRUE(CTcpAddr(1, 1).IsValid() && !CTcpAddr(1, 0).IsValid() && !CTcpAddr(~0u, 1).IsValid());
}

TEST(NetOps, GivesWhatTheResolverGives) {
  const auto find = [](const char* host) { return CNetOps::AddressesFromHostname(TextOf(host), 502); };
  CFakeResolver other({{"plc-4", {1}}});
  {
    CFakeResolver hosts({{"plc-4", {5, 4, 5, ~0u}}});
    EXPECT_EQ(find("plc-4"), (std::vector<CIpAddr>{5, 4, 5, ~0u}));
    for (const char* none : {"plc-5", "", "plc-4^", "plc%"}) EXPECT_TRUE(find(none).empty());
    EXPECT_EQ(CNetOps::AddressesFromHostname(u"plc-4", 65535, other.Get()), std::vector<CIpAddr>{1});
    EXPECT_EQ(hosts.TakeAsked() + other.TakeAsked(), "plc-4/502 plc-5/502 plc-4/65535 ");
  }
  EXPECT_EQ(find("plc-4"), std::vector<CIpAddr>{1});
  // The system reads these without asking the network; the last two are IPv6.
  zorplatform::SetHostResolver(nullptr);
  EXPECT_EQ(find("127.0.0.1").front(), Raw("127.0.0.1"));
  EXPECT_EQ(Printed<CIpAddr>(u"127.1") + Printed<CIpAddr>(u"1::2"), "127.0.0.1-");
  EXPECT_TRUE(find("::1").empty());
}

}  // namespace
