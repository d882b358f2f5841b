#include "support/device_root.h"
#include "system/shared_state.h"
#include "web/login_throttle.h"
#include <fstream>
#include <set>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace vexo::web {
namespace {

/// Not a constant: the configuration, which tells it, is read once, and other tests write it first.
std::string Attempts() { return system::SharedStatePath("login_attempts"); }

constexpr int64_t kStart = 1'800'000'000;

class LoginThrottle : public DeviceRootTest {
protected:
  /// Tries in vain, at once, until one has to wait; gives how many needed not.
  static uint32_t TriesAtOnce(const std::string &name, const std::string &address, int64_t now) {
    uint32_t tries = 0;
    while (tries < 1000 && CountLogin(name, address, now) == 0) {
      ++tries;
    }
    return tries;
  }

  static std::string AddressOf(uint32_t number) {
    return "192.0." + std::to_string(number / 256) + "." + std::to_string(number % 256);
  }
};

TEST_F(LoginThrottle, LetsAUserMistypeAFewTimes) {
  EXPECT_EQ(TriesAtOnce("alice", "192.0.2.1", kStart), kPatienceWithAccount.free_failures);
}

TEST_F(LoginThrottle, DoublesTheWaitUpToAMinuteForAnAccount) {
  int64_t now = kStart;
  for (uint32_t i = 0; i < kPatienceWithAccount.free_failures; ++i) {
    EXPECT_EQ(CountLogin("alice", AddressOf(i), now), 0);
  }
  uint32_t address = 100;
  for (const int64_t wait : {1, 2, 4, 8, 16, 32, 60, 60, 60}) {
    EXPECT_EQ(CountLogin("alice", AddressOf(++address), now), wait);
    EXPECT_EQ(CountLogin("alice", AddressOf(++address), now + wait - 1), 1);
    now += wait;
    EXPECT_EQ(CountLogin("alice", AddressOf(++address), now), 0) << wait;
  }
}

TEST_F(LoginThrottle, DoublesTheWaitUpToAQuarterOfAnHourForAnAddress) {
  int64_t now = kStart;
  uint32_t name = 0;
  const auto count = [&] { return CountLogin("u" + std::to_string(++name), "192.0.2.1", now); };
  for (uint32_t i = 0; i < kPatienceWithAddress.free_failures; ++i) {
    EXPECT_EQ(count(), 0);
  }
  for (const int64_t wait : {1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 900, 900}) {
    EXPECT_EQ(count(), wait);
    now += wait;
    EXPECT_EQ(count(), 0);
  }
}

TEST_F(LoginThrottle, GoesByTheNetworkOfAnIPv6Address) {
  for (uint32_t i = 0; i < kPatienceWithAddress.free_failures; ++i) {
    EXPECT_EQ(CountLogin("u" + std::to_string(i), "2001:db8:1:2::" + std::to_string(i), kStart), 0);
  }
  EXPECT_GT(CountLogin("alice", "2001:db8:1:2:ffff:1:2:3", kStart), 0);
  EXPECT_EQ(CountLogin("alice", "2001:db8:1:3::1", kStart), 0);
}

TEST_F(LoginThrottle, TakesAnIPv4AddressForItselfHoweverItIsWritten) {
  for (uint32_t i = 0; i < kPatienceWithAddress.free_failures; ++i) {
    CountLogin("u" + std::to_string(i), i % 2 == 0 ? "192.0.2.1" : "::ffff:192.0.2.1", kStart);
  }
  EXPECT_GT(CountLogin("alice", "192.0.2.1", kStart), 0);
  EXPECT_EQ(CountLogin("alice", "::ffff:192.0.2.2", kStart), 0);
}

TEST_F(LoginThrottle, LeavesOthersAlone) {
  TriesAtOnce("alice", "192.0.2.1", kStart);
  EXPECT_EQ(CountLogin("bob", "192.0.2.2", kStart), 0);
  EXPECT_EQ(CountLogin("bob", "192.0.2.1", kStart), 0);
}

TEST_F(LoginThrottle, CountsNamesThatNobodyHasAndOddOnes) {
  for (const std::string &name : {std::string(), std::string("a\0b", 3), std::string(4096, 'x')}) {
    EXPECT_EQ(TriesAtOnce(name, AddressOf(static_cast<uint32_t>(name.size())), kStart),
              kPatienceWithAccount.free_failures);
  }
}

TEST_F(LoginThrottle, ForgetsAnAccountsFailuresWhenItsUserComesIn) {
  TriesAtOnce("alice", "192.0.2.1", kStart);
  ForgiveLogin("alice", "192.0.2.1");
  EXPECT_EQ(TriesAtOnce("alice", "192.0.2.1", kStart), kPatienceWithAccount.free_failures);
}

TEST_F(LoginThrottle, LetsNobodyPayForTriesWithAnAccountOfTheirOwn) {
  uint32_t tries = 0;
  for (; tries < 1000; ++tries) {
    if (CountLogin("victim" + std::to_string(tries), "192.0.2.1", kStart) > 0) {
      break;
    }
    if (CountLogin("own", "192.0.2.1", kStart) == 0) {
      ForgiveLogin("own", "192.0.2.1");
    }
  }
  EXPECT_EQ(tries, kPatienceWithAddress.free_failures);
}

TEST_F(LoginThrottle, ForgetsAfterAnHour) {
  TriesAtOnce("alice", "192.0.2.1", kStart);
  EXPECT_EQ(TriesAtOnce("alice", "192.0.2.1", kStart + kForgetSeconds),
            kPatienceWithAccount.free_failures);
}

TEST_F(LoginThrottle, MakesNobodyWaitLongerWhenTheClockIsSetBack) {
  TriesAtOnce("alice", "192.0.2.1", kStart);
  const int64_t now = kStart - 1'000'000;
  const int64_t wait = CountLogin("alice", "192.0.2.1", now);
  EXPECT_GT(wait, 0);
  EXPECT_LE(wait, kPatienceWithAccount.longest_wait_seconds);
  EXPECT_EQ(CountLogin("alice", "192.0.2.1", now + wait), 0);
}

TEST_F(LoginThrottle, LetsEverybodyInWithinItsWaitsWhateverItsFileHolds) {
  CountLogin("alice", "192.0.2.1", kStart);
  for (const char byte : {'\x7F', '\x80', '\xFF', 'x'}) {
    std::ofstream(Attempts(), std::ios::trunc) << std::string(131'072, byte);
    const int64_t wait = CountLogin("alice", "192.0.2.1", kStart);
    EXPECT_LE(wait, kPatienceWithAddress.longest_wait_seconds);
    EXPECT_EQ(CountLogin("alice", "192.0.2.1", kStart + wait + 1), 0) << int{byte};
  }
}

TEST_F(LoginThrottle, LetsNoMoreThroughWhenTheyComeAllAtOnce) {
  constexpr int kProcesses = 24;
  for (int i = 0; i < kProcesses; ++i) {
    if (fork() == 0) {
      _exit(CountLogin("alice", "192.0.2.1", kStart) == 0 ? 1 : 0);
    }
  }
  uint32_t passed = 0;
  for (int i = 0; i < kProcesses; ++i) {
    int status = 0;
    wait(&status);
    passed += static_cast<uint32_t>(WEXITSTATUS(status));
  }
  EXPECT_EQ(passed, kPatienceWithAccount.free_failures);
}

TEST_F(LoginThrottle, KeepsASmallFileOfItsOwnerAlone) {
  for (uint32_t i = 0; i < 20000; ++i) {
    CountLogin("user" + std::to_string(i), AddressOf(i), kStart);
  }
  EXPECT_LE(std::filesystem::file_size(Attempts()), 128U << 10U);
  EXPECT_EQ(std::filesystem::status(Attempts()).permissions(), std::filesystem::perms(0600));
}

TEST_F(LoginThrottle, LetsNobodyInWhenItCannotCount) {
  std::filesystem::create_directory(Attempts());
  EXPECT_THROW(CountLogin("alice", "192.0.2.1", kStart), std::system_error);
}

TEST_F(LoginThrottle, ReadsAFileThatWasCutShort) {
  WriteBytes(Attempts(), "abc");
  EXPECT_EQ(CountLogin("alice", "192.0.2.1", kStart), 0);
}

} // namespace
} // namespace vexo::web
