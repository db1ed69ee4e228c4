#include "platform/zorplatform/exception.h"

#include <gtest/gtest.h>

namespace {

using zorplatform::CException;

TEST(Exception, NamesItsCodeUnlessATextIsGiven) {
  EXPECT_STREQ(CException(CException::kShortRead).what(), "zorplatform exception -3: short read");
  EXPECT_STREQ(CException(-77).what(), "zorplatform exception -77");
  EXPECT_STREQ(CException(-1, "project.bin: record 7: bad type").what(), "project.bin: record 7: bad type");
}

}  // namespace
