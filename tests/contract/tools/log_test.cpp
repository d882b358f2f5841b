#include "playlistctl/command_line.h"
#include "playlistctl/log.h"
#include "support/device_root.h"
#include "system/admin_log.h"
#include <cstdlib>
#include <ctime>

namespace vexo::tools {
namespace {

/// Another time zone while it lives.
class TimeZone {
public:
  explicit TimeZone(const char *zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  ~TimeZone() {
    unsetenv("TZ");
    tzset();
  }
  TimeZone(const TimeZone &) = delete;
  TimeZone &operator=(const TimeZone &) = delete;
};

TEST(ReadableLogLine, ShowsLocalTimeCodeAndTexts) {
  const TimeZone zone("XXX-2");
  EXPECT_EQ(ReadableLogLine("2026-11-21T23:15:00Z\t13200003\tremove playlist(s)"),
            "2026-11-22 01:15:00  13200003  remove playlist(s)");
  EXPECT_EQ(ReadableLogLine("2026-11-21T03:15:00Z\t00000001\ta\tb\tc"),
            "2026-11-21 05:15:00  00000001  a, b, c");
}

TEST(ReadableLogLine, LeavesALineThatIsNoneOfTheLogs) {
  for (const char *line : {"", "no tabs", "yesterday\t13200003\ttext", "2026-11-21T03:15:00Z"}) {
    EXPECT_EQ(ReadableLogLine(line), line);
  }
}

TEST(LastLines, GivesThatManyOrAllThereAre) {
  struct Row {
    const char *log;
    std::size_t count;
    const char *last;
  };
  const Row rows[] = {
      {"", 2, ""},
      {"a\n", 1, "a\n"},
      {"a\nb\nc\n", 1, "c\n"},
      {"a\nb\nc\n", 2, "b\nc\n"},
      {"a\nb\nc\n", 3, "a\nb\nc\n"},
      {"a\nb\nc\n", 9, "a\nb\nc\n"},
      {"a\nb\nc\n", 0, "a\nb\nc\n"},
      {"a\nb", 1, "b"},
      {"\n", 1, "\n"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(LastLines(row.log, row.count), row.last) << row.count << " of " << row.log;
  }
}

class LogCommand : public DeviceRootTest {
protected:
  static std::string Run(const std::vector<std::string> &arguments) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(RunCommandLine(arguments), 0);
    return ::testing::internal::GetCapturedStdout();
  }
};

TEST_F(LogCommand, PrintsNothingWithoutALog) { EXPECT_EQ(Run({"log"}), ""); }

TEST_F(LogCommand, PrintsTheEvents) {
  system::AppendAdminLog(1, {"first"});
  system::AppendAdminLog(2, {"second"});
  const std::string all = Run({"log"});
  EXPECT_NE(all.find("00000001  first\n"), std::string::npos);
  EXPECT_NE(all.find("00000002  second\n"), std::string::npos);
  const std::string last = Run({"log", "-n", "1"});
  EXPECT_EQ(last.find("first"), std::string::npos);
  EXPECT_NE(last.find("00000002  second\n"), std::string::npos);
}

} // namespace
} // namespace vexo::tools
