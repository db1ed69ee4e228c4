#include "platform/zorplatform/growable_buffer.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

std::string TextOf(const CGrowableBuffer& buffer) { return {buffer.GetBytes().begin(), buffer.GetBytes().end()}; }

TEST(GrowableBuffer, AppendsItsOwnBytesWhileItMoves) {
  CGrowableBuffer buffer;
  buffer.Append("ab", 2);
  buffer.Append(nullptr, 0);
  for (int i = 0; i < 15; ++i) buffer.Append(buffer.GetData(), buffer.GetSize());
  std::string expected = "ab";
  for (int i = 0; i < 15; ++i) expected += expected;
  EXPECT_EQ(TextOf(buffer), expected);
}

TEST(GrowableBuffer, KeepsItsMemoryWhenCutAndGivesItAwayWhenMoved) {
  CGrowableBuffer buffer;
  buffer.Append("abcdef", 6);
  const std::uint8_t* const data = buffer.GetData();
  buffer.SetSize(2);
  buffer.Append("x", 1);
  CGrowableBuffer moved;
  moved = std::move(buffer);
  EXPECT_EQ(moved.GetData(), data);
  EXPECT_EQ(TextOf(moved), "abx");
  EXPECT_TRUE(buffer.IsEmpty());  // NOLINT(bugprone-use-after-move): what is promised
}

TEST(GrowableBuffer, IsAsItWasWhenMemoryIsShort) {
  CGrowableBuffer buffer;
  buffer.Append("abc", 3);
  EXPECT_THROW(buffer.Append("x", SIZE_MAX - 1), std::bad_alloc);
  EXPECT_EQ(TextOf(buffer), "abc");
}

}  // namespace
