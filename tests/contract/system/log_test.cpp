#include "support/logged_by.h"
#include "system/log.h"
#include <gtest/gtest.h>

namespace vexo::system {
namespace {

TEST(LogFailure, WritesOneLineWhateverTheCauseHolds) {
  EXPECT_EQ(LoggedBy([] { LogFailure("operation", "a\nb\x1B[2J"); }),
            "test: operation: a\\x0ab\\x1b[2J\n");
}

} // namespace
} // namespace vexo::system
