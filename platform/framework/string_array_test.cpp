#include "platform/framework/string_array.h"

#include <gtest/gtest.h>

#include "platform/framework/invalid_arg.h"

namespace {

TEST(StringArray, RefusesIndexesOutsideAndStaysAsItWas) {
  const CStringArray before = {u"a", u"b"};
  CStringArray list = before;
  EXPECT_THROW(list.GetAt(2), CInvalidArgException);
  EXPECT_THROW(list.SetAt(2, u"x"), CInvalidArgException);
  EXPECT_THROW(list.InsertAt(3, u"x"), CInvalidArgException);
  EXPECT_THROW(list.RemoveAt(1, 2), CInvalidArgException);
  EXPECT_THROW(list.SetSize(-1), CInvalidArgException);
  EXPECT_THROW(CStringArray().GetAt(0), CInvalidArgException);
  EXPECT_EQ(list, before);
}

}  // namespace
