#include "host/guard.h"
#include "support/logged_by.h"
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

namespace vexo::host {
namespace {

TEST(Guarded, GivesTheBodysResult) {
  EXPECT_EQ(Guarded(-1, [] { return 7; }), 7);
}

int Operation() {
  return Guarded(-1, []() -> int { throw std::runtime_error("the cause"); });
}

TEST(Guarded, TurnsAnExceptionIntoTheFailureAndOneLineWithTheCallersName) {
  int result = 0;
  const std::string logged = LoggedBy([&] { result = Operation(); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(logged, "test: Operation: the cause\n");
}

TEST(Guarded, SaysWhichSettingGivesMoreMemory) {
  const std::string logged = LoggedBy([] { Guarded(-1, []() -> int { throw std::bad_alloc(); }); });
  EXPECT_NE(logged.find("memory_mib in [limits]"), std::string::npos) << logged;
}

TEST(Guarded, StopsExceptionsThatAreNone) {
  EXPECT_EQ(Guarded(-1, []() -> int { throw 5; }), -1);
}

} // namespace
} // namespace vexo::host
