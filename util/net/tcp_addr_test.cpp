#include "util/net/tcp_addr.h"

#include <gtest/gtest.h>

#include "platform/framework/rows_testing.h"
#include "util/net/resolver_testing.h"

namespace {

TEST(TcpAddr, ReadsAHostAndAPort) {
  CFakeResolver hosts({{"plc-4", {Raw("10.0.0.4")}}, {"no", {0}}});
  // The text, what it is printed as, what the resolver is asked, and whether the text is valid.
  for (const auto& c : rows_testing::Rows(R"(
      10.0.0.5:502|10.0.0.5:502||1; 1.2.3.4~:65535|1.2.3.4:65535||1; 127.0.0.1:0000000001|127.0.0.1:1||1;
      0.0.0.0:1|0.0.0.0:1||0; 255.255.255.255:1|255.255.255.255:1||0; plc-4:80|10.0.0.4:80|plc-4/0 |1;
      no:80|0.0.0.0:80|no/0 |0; plc-5:80|-|plc-5/0 |0; plc-4:0|-||0; plc-4:|-||0; plc-4|-||0; plc-4:65536|-||0;
      plc-4:4294967297|-||0; plc-4:12a|-||0; plc-4:~80|-||0; plc-4:+80|-||0; plc-4:٨|-||0; plc-4:80:80|-||0;
      plc-4:80^|-||0; plc-4^:80|-||0; 256.0.0.1:80|-||0; :80|-||0; |-||0)")) {
    SCOPED_TRACE(c[0]);
    EXPECT_EQ(Printed<CTcpAddr>(TextOf(c[0])), c[1]);
    EXPECT_EQ(hosts.TakeAsked(), c[2]);
    EXPECT_EQ(CTcpAddr::IsValid(TextOf(c[0])), c[3] == "1");
    hosts.TakeAsked();
  }
}

TEST(TcpAddr, IsValidWithAnAddressAndAPort) {
  CTcpAddr address(Raw("127.0.0.2"), 0);
  EXPECT_FALSE(address.IsValid());
  address.SetPort(1);
  EXPECT_TRUE(address.IsValid() && address.IsLocalHost());
  address.SetAddr(~0u);
  EXPECT_FALSE(address.IsValid() || address.IsLocalHost());
}

}  // namespace
