#include "host/arguments.h"
#include <array>
#include <gtest/gtest.h>

namespace vexo::host {
namespace {

TEST(CopyOut, CopiesWhatFitsWithItsTerminator) {
  std::array<char, 4> buffer{"xyz"};
  EXPECT_TRUE(CopyOut("abc", buffer.data(), 4));
  EXPECT_STREQ(buffer.data(), "abc");
}

TEST(CopyOut, CopiesNothingThatDoesNotFit) {
  std::array<char, 4> buffer{"xyz"};
  EXPECT_FALSE(CopyOut("abcd", buffer.data(), 4));
  EXPECT_FALSE(CopyOut("", buffer.data(), 0));
  EXPECT_FALSE(CopyOut("", buffer.data(), -1));
  EXPECT_STREQ(buffer.data(), "xyz");
}

} // namespace
} // namespace vexo::host
