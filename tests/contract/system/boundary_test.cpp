#include "support/logged_by.h"
#include "system/boundary.h"
#include <array>
#include <gtest/gtest.h>
#include <stdexcept>

namespace vexo::system {
namespace {

TEST(Guarded, GivesTheBodysResult) {
  EXPECT_EQ(Guarded("operation", -1, [] { return 7; }), 7);
}

TEST(Guarded, TurnsAnExceptionIntoTheFailureAndOneLine) {
  int result = 0;
  const std::string logged = LoggedBy([&] {
    result = Guarded("operation", -1, []() -> int { throw std::runtime_error("the cause"); });
  });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(logged, "test: operation: the cause\n");
}

TEST(LogFailure, WritesOneLineWhateverTheCauseHolds) {
  EXPECT_EQ(LoggedBy([] { LogFailure("operation", "a\nb\x1B[2J"); }),
            "test: operation: a\\x0ab\\x1b[2J\n");
}

TEST(Guarded, StopsExceptionsThatAreNone) {
  EXPECT_EQ(Guarded("operation", -1, []() -> int { throw 5; }), -1);
}

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
} // namespace vexo::system
