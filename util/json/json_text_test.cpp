#include "util/json/json_text.h"

#include <gtest/gtest.h>

TEST(JsonText, Smoke) {
  zorutil::json::root_t root;
  const auto error = zorutil::json::ReadText("{\"a\": 1, \n\"b\": [true, null, \"x\\n\", 1.5e3]}", root);
  ASSERT_FALSE(error) << error.ToString();
  EXPECT_EQ(zorutil::json::WriteText(root), "x");
  EXPECT_EQ(zorutil::json::WriteText(root, {.indent = 0}), "x");
}
