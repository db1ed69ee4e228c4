#include "util/net/ip_addr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <tuple>

#include "platform/framework/rows_testing.h"
#include "util/net/net_ops.h"
#include "util/net/resolver_testing.h"

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
  for (unsigned length = 0; length <= 10; ++length) {
    for (unsigned number = 0; number < 1u << 2 * length; ++number) {
      std::string text(length, '\0');
      for (unsigned i = 0; i < length; ++i) text[i] = "29. "[number >> 2 * i & 3];
      std::uint32_t raw = 77;
      const bool isTaken = CIpAddr::FromDottedQuad(std::u16string(text.begin(), text.end()), raw);
      const std::string printed = isTaken ? CIpAddr(raw).ToString().ToUtf8() : raw == 77 ? "-" : "changed";
      if (printed != PrintedByModel(text) && ++wrong < 20) ADD_FAILURE() << '"' << text << "\": " << printed;
    }
  }
  EXPECT_EQ(wrong, 0);
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
      1.2.3.4^|-----|-; 1.2.3.4%|-----|-; 1.2.3.4~5|---a-|-; plc-4|-vhaV|10.0.0.4; 1.2.3|-vhaV|1.2.0.3; |-----|-;
      no|-vha-|0.0.0.0; all|-vha-|255.255.255.255; my-host_1.local|-vha-|-; a..b.|-vha-|-; -plc-4|-----|-; _a|-----|-;
      .a|-----|-; a~b|---a-|-; plc-4^|-----|-; plc%|-----|-;)"
                                          "1.\u00A02.\t3.\u30004\n|dv--V|1.2.3.4; \u0661.2.3.4|-vha-|-;"
                                          "1.2.3.\uFF14|-vha-|-; \u00DC\u00DF\u0661|-vha-|-; a\u00D7|---a-|-;"
                                          "\U00010400|-----|-; a\uFFFD|-----|-")) {
    SCOPED_TRACE(c[0]);
    EXPECT_EQ(Properties(TextOf(c[0]), hosts), c[1]);
    EXPECT_EQ(Printed<CIpAddr>(TextOf(c[0])), c[2]);
    hosts.TakeAsked();
  }
  for (const auto& [unit, count, properties] : {std::tuple(u'a', 63, "-vha-"),
                                                {u'a', 64, "---a-"},
                                                {u'a', 255, "---a-"},
                                                {u'a', 256, "-----"},
                                                {u'\u00E4', 127, "---a-"},
                                                {u'\u00E4', 128, "-----"},
                                                {u'1', 100'000, "-----"}}) {
    EXPECT_EQ(Properties(CString(unit, count), hosts), properties) << count;
  }
  EXPECT_EQ(Properties(u"1.2.3." + CString(u' ', 100'000) + u"4", hosts), "dv--V");
  const char16_t* const none = nullptr;
  EXPECT_FALSE(CIpAddr::IsValid(none, false) || CIpAddr::IsValid(none, true) || CIpAddr::IsValidHostName(none));
}

TEST(IpAddr, IsItsOctetsInMemory) {
  CIpAddr address;
  std::uint32_t& raw = address;
  std::memcpy(&raw, "\x7F\xFF\x00\x09", 4);
  EXPECT_EQ(address.ToString(), "127.255.0.9");
  EXPECT_TRUE(address.IsLocalHost());
  for (const char* other : {"10.127.0.1", "12.7.0.0", "9.0.0.127"}) EXPECT_FALSE(CIpAddr(Raw(other)).IsLocalHost());
}

TEST(NetOps, GivesWhatTheResolverGives) {
  CFakeResolver other({{"plc-4", {1}}}), hosts({{"plc-4", {5, 4, 5, ~0u}}});
  EXPECT_EQ(CNetOps::AddressesFromHostname(u"plc-4", 502), (std::vector<CIpAddr>{5, 4, 5, ~0u}));
  EXPECT_EQ(CNetOps::AddressesFromHostname(u"plc-4", 65535, other.Get()), std::vector<CIpAddr>{1});
  for (const char* none : {"plc-5", "", "plc-4^", "plc%"}) {
    EXPECT_TRUE(CNetOps::AddressesFromHostname(TextOf(none), 1).empty());
  }
  EXPECT_EQ(hosts.TakeAsked() + other.TakeAsked(), "plc-4/502 plc-5/1 plc-4/65535 ");
}

// With texts that the system reads without asking the network.
TEST(NetOps, LeavesOutWhatTheSystemAnswersForIPv6) {
  const auto addresses = CNetOps::AddressesFromHostname(u"127.0.0.1", 80);
  EXPECT_GT(std::count(addresses.begin(), addresses.end(), Raw("127.0.0.1")), 0);
  EXPECT_TRUE(CNetOps::AddressesFromHostname(u"::1", 80).empty());
  EXPECT_EQ(Printed<CIpAddr>(u"127.1") + Printed<CIpAddr>(u"1::2"), "127.0.0.1-");
}

}  // namespace
