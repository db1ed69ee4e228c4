#include "platform/zorplatform/exception.h"

#include <gtest/gtest.h>

namespace {

using zorplatform::CException;

TEST(Exception, CarriesItsCodeAndATextForPeople) {
  const struct {
    CException exception;
    int code;
    const char* what;
  } cases[] = {
      {CException(CException::kShortRead), -3, "zorplatform exception -3: short read"},
      {CException(-77), -77, "zorplatform exception -77: unknown code"},
      {CException(-1, "project.bin: record 7: bad type"), -1, "project.bin: record 7: bad type"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.exception.GetCode(), c.code);
    EXPECT_STREQ(c.exception.what(), c.what);
  }
  try {
    CException::Throw(CException::kAllocation, "out of room");
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), "out of room");
  }
}

}  // namespace
