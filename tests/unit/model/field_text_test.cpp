#include "model/field_text.h"

#include <gtest/gtest.h>

namespace {

TEST(FieldText, IsCutToOneByteLessThanTheField) {
  EXPECT_EQ(CutToField("abc", 4), "abc");
  EXPECT_EQ(CutToField("abcd", 4), "abc");
  EXPECT_EQ(CutToField("", 4), "");
}

TEST(FieldText, IsAlwaysTerminated) {
  char field[4] = {'x', 'x', 'x', 'x'};
  SetField(field, "abcdef");
  EXPECT_STREQ(field, "abc");
  SetField(field, nullptr);
  EXPECT_STREQ(field, "");
  PrintToField(field, sizeof(field), "%d-%s", 12, "abc");
  EXPECT_STREQ(field, "12-");
}

} // namespace
