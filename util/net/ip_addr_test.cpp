#include "util/net/ip_addr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/zorplatform/exception.h"
#include "util/net/net_ops.h"
#include "util/net/resolver_testing.h"

using strings_t = std::vector<std::string>;

namespace {

// What the address of a text is printed as, "" when it is none: by taking the text apart at its dots.
std::string PrintedByModel(const std::string& text) {
  if (text.empty() || text[0] == ' ' || std::count(text.begin(), text.end(), '.') != 3) return "";
  std::string printed, rest = text;
  for (int i = 0; i < 4; ++i) {
    std::string part = rest.substr(0, rest.find('.'));
    rest.erase(0, part.size() + 1);
    if (i == 3) {  // blanks around, not inside
      part.erase(0, std::min(part.find_first_not_of(' '), part.size()));
      part.erase(part.find_last_not_of(' ') + 1);
      if (part.find(' ') != part.npos) return "";
    }
    std::erase(part, ' ');
    if (part.empty() || part.size() > 3 || std::stoi(part) > 255) return "";
    printed += (i == 0 ? "" : ".") + std::to_string(std::stoi(part));
  }
  return printed;
}

TEST(IpAddrText, IsReadAsAPlainModelReadsEveryShortText) {
  constexpr char kUnits[] = {'2', '9', '.', ' '};
  int taken = 0, wrong = 0;
  for (unsigned length = 0; length <= 10; ++length) {
    for (unsigned number = 0; number < 1u << 2 * length; ++number) {
      std::string text(length, '\0');
      for (unsigned i = 0; i < length; ++i) text[i] = kUnits[number >> 2 * i & 3];
      const std::string printed = PrintedByModel(text);
      std::uint32_t raw = 77;
      const bool isTaken = CIpAddr::FromDottedQuad(std::u16string(text.begin(), text.end()), raw);
      const bool isRight = isTaken ? CIpAddr(raw).ToString() == printed : printed.empty() && raw == 77;
      if (!isRight && ++wrong < 20) ADD_FAILURE() << '"' << text << "\": " << CIpAddr(raw).ToString();
      taken += isTaken ? 1 : 0;
    }
  }
  EXPECT_GT(taken, 10'000);
  EXPECT_EQ(wrong, 0);
}

TEST(IpAddrText, KnowsItsUnits) {
  // "" is refused.
  const struct {
    std::u16string text;
    const char* printed;
  } cases[] = {{u"192.168.0.1", "192.168.0.1"},
               {u"01.02.003.4", "1.2.3.4"},
               {u"255.255.255.255", "255.255.255.255"},
               {u"1.2.3.256", ""},
               {u"1\t.\u00A02.\u30003.4\r\n", "1.2.3.4"},
               {u"1.2.3.4x", ""},
               {u"1.2.-3.4", ""},
               {u"0x1.2.3.4", ""},
               {u"\u0661.2.3.4", ""},
               {u"1.2.3.\uFF14", ""},
               {u"1.2.3.4\xD800", ""},
               {std::u16string(u"1.2.3.4\0", 8), ""},
               {u"1.2.3." + std::u16string(100'000, u' ') + u"4", "1.2.3.4"},
               {u"1.2.3." + std::u16string(100'000, u'4'), ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(CString(c.text).Left(20));
    std::uint32_t raw = 0;
    const bool isTaken = CIpAddr::FromDottedQuad(c.text, raw);
    EXPECT_EQ(isTaken ? CIpAddr(raw).ToString() : CString(), c.printed);
  }
}

TEST(IpAddr, IsItsOctetsInMemory) {
  CIpAddr address;
  EXPECT_EQ(address.ToString(), "0.0.0.0");
  std::memcpy(static_cast<void*>(&address), "\x7F\x00\x01\xFE", 4);
  EXPECT_EQ(address.ToString(), "127.0.1.254");
  std::uint32_t& raw = address;
  raw = Raw("9.99.100.200");
  EXPECT_EQ(address.ToString(), "9.99.100.200");
  for (const char* local : {"127.0.0.1", "127.255.0.9"}) EXPECT_TRUE(CIpAddr(Raw(local)).IsLocalHost()) << local;
  for (const char* other : {"10.127.0.1", "12.7.0.0", "1.0.0.127"}) EXPECT_FALSE(CIpAddr(Raw(other)).IsLocalHost());
}

TEST(IpAddr, ChecksATextWithoutAskingAnybody) {
  CFakeResolver hosts({});
  const std::u16string longest(63, u'a');
  const struct {
    std::u16string text;
    bool isValid, isHostName;
  } cases[] = {{u"10.0.0.1", true, true},
               {u"0.0.0.0", false, true},
               {u"255.255.255.255", false, true},
               {u"256.1.1.1", true, true},
               {u"0.0.0.0 ", false, false},
               {u"10.0.0.1 ", true, false},
               {u"my-host_1.local", true, true},
               {u"a..b.", true, true},
               {u"-host", false, false},
               {u".a", false, false},
               {u"_a", false, false},
               {u"a b", false, false},
               {u"a:1", false, false},
               {u"\u00DCber", true, true},
               {u"a\u00DF\u0661", true, true},
               {u"a\u00D7", false, false},
               {u"\U00010400", false, false},
               {u"a\xD800", false, false},
               {longest, true, true},
               {longest + u"a", false, false},
               {u"", false, false},
               {std::u16string(u"a\0", 2), false, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(CString(c.text));
    EXPECT_EQ(CIpAddr::IsValid(c.text, false), c.isValid);
    EXPECT_EQ(CIpAddr::IsValidHostName(c.text), c.isHostName);
  }
  const char16_t* const none = nullptr;
  EXPECT_FALSE(CIpAddr::IsValid(none, false) || CIpAddr::IsValid(none, true) || CIpAddr::IsValidHostName(none));
  EXPECT_TRUE(hosts.TakeAsked().empty());
}

TEST(IpAddr, AsksTheResolverForWhatIsNoDottedText) {
  CFakeResolver hosts({{"plc-4", {Raw("10.0.0.4"), Raw("10.0.0.5")}},
                       {"1.2.3", {Raw("1.2.0.3")}},
                       {"1.2.3.4 5", {Raw("1.1.1.1")}},
                       {"\u00DCber", {Raw("10.0.0.6")}},
                       {"nowhere", {0}},
                       {"all", {~0u}}});
  const std::u16string longest(255, u'a');
  // What the address is, "" when that throws; whether the resolver is asked; whether the text is valid then.
  const struct {
    std::u16string text;
    const char* printed;
    bool isAsked, isValid;
  } cases[] = {{u"10.0.0.1", "10.0.0.1", false, true},
               {u"0.0.0.0", "0.0.0.0", false, false},
               {u"plc-4", "10.0.0.4", true, true},
               {u"1.2.3", "1.2.0.3", true, true},
               {u"1.2.3.4 5", "1.1.1.1", true, true},
               {u"\u00DCber", "10.0.0.6", true, true},
               {u"nowhere", "0.0.0.0", true, false},
               {u"all", "255.255.255.255", true, false},
               {u"unknown", "", true, false},
               {longest, "", true, false},
               {longest + u"a", "", false, false},
               {std::u16string(128, u'\u00E4'), "", false, false},
               {u"256.1.1.1", "", false, false},
               {u" plc-4", "", false, false},
               {u"-plc-4", "", false, false},
               {u"", "", false, false},
               {u"plc\xD83D", "", false, false},
               {std::u16string(u"plc-4\0", 6), "", false, false},
               {u"a" + std::u16string(1'000'000, u'\u4E00'), "", false, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(CString(c.text).Left(20));
    std::string printed;
    try {
      printed = CIpAddr(CString(c.text)).ToString().ToUtf8();
    } catch (const zorplatform::CException& error) {
      EXPECT_EQ(error.GetCode(), -4);
      EXPECT_LT(std::strlen(error.what()), 400u);
    }
    EXPECT_EQ(printed, c.printed);
    EXPECT_EQ(hosts.TakeAsked().size(), c.isAsked ? 1u : 0u);
    EXPECT_EQ(CIpAddr::IsValid(c.text, true), c.isValid);
    hosts.TakeAsked();
  }
}

TEST(NetOps, GivesWhatTheResolverGives) {
  CFakeResolver other({{"plc-4", {Raw("10.9.9.9")}}});
  CFakeResolver hosts({{"plc-4", {Raw("10.0.0.5"), Raw("10.0.0.4"), Raw("10.0.0.5"), ~0u}}});
  EXPECT_EQ(zorutil::CNetOps::AddressesFromHostname(u"plc-4", 502),
            (std::vector<CIpAddr>{Raw("10.0.0.5"), Raw("10.0.0.4"), Raw("10.0.0.5"), ~0u}));
  EXPECT_EQ(hosts.TakeAsked(), strings_t{"plc-4/502"});
  EXPECT_EQ(zorutil::CNetOps::AddressesFromHostname(u"plc-4", 65535, other.Get()),
            std::vector<CIpAddr>{Raw("10.9.9.9")});
  EXPECT_EQ(other.TakeAsked(), strings_t{"plc-4/65535"});
  for (const CString& none : {CString(u"plc-5"), CString(), CString(u"plc-4\0", 6), CString(u"plc\xDC00")}) {
    EXPECT_TRUE(zorutil::CNetOps::AddressesFromHostname(none, 1).empty());
  }
  EXPECT_EQ(hosts.TakeAsked(), strings_t{"plc-5/1"});
}

// With texts that the system reads without asking the network.
TEST(NetOps, LeavesOutWhatTheSystemAnswersForIPv6) {
  const auto addresses = zorutil::CNetOps::AddressesFromHostname(u"127.0.0.1", 80);
  ASSERT_FALSE(addresses.empty());
  EXPECT_EQ(std::count(addresses.begin(), addresses.end(), Raw("127.0.0.1")), std::ssize(addresses));
  EXPECT_EQ(CIpAddr(CString("127.1")).ToString(), "127.0.0.1");
  EXPECT_TRUE(zorutil::CNetOps::AddressesFromHostname(u"::1", 80).empty());
  EXPECT_FALSE(CIpAddr::IsValid(u"1::2", true));
}

}  // namespace
