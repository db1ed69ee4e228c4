#include "util/net/tcp_addr.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/zorplatform/exception.h"
#include "util/net/resolver_testing.h"

namespace {

TEST(TcpAddr, ReadsAHostAndAPort) {
  CFakeResolver hosts({{"plc-4", {Raw("10.0.0.4")}}, {"nowhere", {0}}});
  // What the text is printed as, "" when the constructor throws; how often the resolver is asked.
  const struct {
    std::u16string text;
    const char* printed;
    unsigned asked;
    bool isValid;
  } cases[] = {{u"10.0.0.5:502", "10.0.0.5:502", 0, true},
               {u"1.2.3.4 :65535", "1.2.3.4:65535", 0, true},
               {u"1.2.3.4:0000000001", "1.2.3.4:1", 0, true},
               {u"0.0.0.0:1", "0.0.0.0:1", 0, false},
               {u"255.255.255.255:1", "255.255.255.255:1", 0, false},
               {u"plc-4:80", "10.0.0.4:80", 1, true},
               {u"nowhere:80", "0.0.0.0:80", 1, false},
               {u"plc-5:80", "", 1, false},
               {u"plc-4:0", "", 0, false},
               {u"plc-4:", "", 0, false},
               {u"plc-4", "", 0, false},
               {u"plc-4:65536", "", 0, false},
               {u"plc-4:4294967297", "", 0, false},
               {u"plc-4:12a", "", 0, false},
               {u"plc-4: 80", "", 0, false},
               {u"plc-4:+80", "", 0, false},
               {u"plc-4:\u0668", "", 0, false},
               {u"plc-4:80:80", "", 0, false},
               {std::u16string(u"plc-4:80\0", 9), "", 0, false},
               {std::u16string(u"plc-4\0:80", 9), "", 0, false},
               {u"plc-4:" + std::u16string(100'000, u'9'), "", 0, false},
               {u"256.0.0.1:80", "", 0, false},
               {u":80", "", 0, false},
               {u"", "", 0, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(CString(c.text).Left(20));
    std::string printed;
    try {
      const CTcpAddr address{CString(c.text)};
      printed = address.ToString().ToUtf8();
      EXPECT_EQ(address.GetHost() + u":" + std::to_string(address.GetPort()), printed);
    } catch (const zorplatform::CException& error) {
      EXPECT_EQ(error.GetCode(), -4);
    }
    EXPECT_EQ(printed, c.printed);
    EXPECT_EQ(hosts.TakeAsked().size(), c.asked);
    EXPECT_EQ(CTcpAddr::IsValid(c.text), c.isValid);
    hosts.TakeAsked();
  }
  EXPECT_FALSE(CTcpAddr::IsValid(static_cast<const char16_t*>(nullptr)));
}

TEST(TcpAddr, IsValidWithAnAddressAndAPort) {
  CTcpAddr address(Raw("127.0.0.2"), 0);
  EXPECT_FALSE(address.IsValid());
  address.SetPort(65535);
  EXPECT_TRUE(address.IsValid() && address.IsLocalHost());
  EXPECT_EQ(address.ToString(), "127.0.0.2:65535");
  address.SetAddr(~0u);
  EXPECT_FALSE(address.IsValid() || address.IsLocalHost());
  EXPECT_EQ(CTcpAddr().ToString(), "0.0.0.0:0");
}

}  // namespace
