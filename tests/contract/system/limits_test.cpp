#include "system/limits.h"

#include "support/device_root.h"
#include "support/logged_by.h"
#include "system/run_program.h"
#include <functional>
#include <sys/wait.h>

namespace vexo::system {
namespace {

#if defined(__has_feature)
#define HAS_FEATURE(name) __has_feature(name)
#else
#define HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || HAS_FEATURE(address_sanitizer)
constexpr bool kMapsTerabytes = true;
#else
constexpr bool kMapsTerabytes = false;
#endif

constexpr rlim_t kMib = rlim_t{1} << 20U;

rlim_t Soft(__rlimit_resource resource) {
  rlimit limit{};
  getrlimit(resource, &limit);
  return limit.rlim_cur;
}

void SetSoft(__rlimit_resource resource, rlim_t soft) {
  rlimit limit{};
  getrlimit(resource, &limit);
  limit.rlim_cur = soft;
  setrlimit(resource, &limit);
}

class Limits : public DeviceRootTest {
protected:
  /// Whether `check` holds in a process of its own, with this configuration.
  static bool Holds(const std::string &configuration, const std::function<bool()> &check) {
    WriteBytes(kConfigFile, configuration);
    const pid_t child = fork();
    if (child == 0) {
      _exit(check() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }
};

bool AreSet(rlim_t memory_mib, rlim_t cpu_seconds) {
  LimitProcess();
  const rlim_t memory = kMapsTerabytes ? RLIM_INFINITY : memory_mib * kMib;
  return Soft(RLIMIT_AS) == memory && Soft(RLIMIT_CPU) == cpu_seconds;
}

TEST_F(Limits, AreThoseOfTheConfiguration) {
  EXPECT_TRUE(
      Holds("[limits]\nmemory_mib = 300\ncpu_seconds = 7\n", [] { return AreSet(300, 7); }));
}

TEST_F(Limits, HaveDefaults) {
  EXPECT_TRUE(Holds("", [] { return AreSet(2048, 60); }));
}

TEST_F(Limits, AreNoneWhereTheConfigurationSaysSo) {
  EXPECT_TRUE(Holds("[limits]\nmemory_mib = 0\ncpu_seconds = 0\n", [] {
    LimitProcess();
    return Soft(RLIMIT_AS) == RLIM_INFINITY && Soft(RLIMIT_CPU) == RLIM_INFINITY;
  }));
}

TEST_F(Limits, AreTheDefaultsForWhatIsNoNumber) {
  for (const char *value : {"much", "-1", "1.5", "", "99999999999999999999", "9000000000000000"}) {
    EXPECT_TRUE(Holds("[limits]\nmemory_mib = " + std::string(value) + "\n", [] {
      bool are_set = false;
      const std::string logged = LoggedBy([&] { are_set = AreSet(2048, 60); });
      return are_set && logged.find("memory_mib") != std::string::npos;
    })) << value;
  }
}

TEST_F(Limits, DoNotRaiseWhatIsLower) {
  EXPECT_TRUE(Holds("", [] {
    SetSoft(RLIMIT_CPU, 3);
    return AreSet(2048, 3);
  }));
}

TEST_F(Limits, OfTimeAreLiftedForGood) {
  EXPECT_TRUE(Holds("", [] {
    LimitProcess();
    LiftCpuLimit();
    return Soft(RLIMIT_CPU) == RLIM_INFINITY;
  }));
}

TEST_F(Limits, AreNotThoseOfProgramsThatAreStarted) {
  EXPECT_TRUE(Holds("", [] {
    LimitProcess();
    const char *const unlimited = "[ $(ulimit -t) = unlimited ] && [ $(ulimit -v) = unlimited ]";
    return RunProgram("/bin/sh", {"-c", unlimited}) == 0 && AreSet(2048, 60);
  }));
}

} // namespace
} // namespace vexo::system
