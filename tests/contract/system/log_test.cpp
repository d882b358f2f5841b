#include "system/log.h"

#include "support/logged_by.h"
#include <cerrno>
#include <cstdarg>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

// What syslog() and vsyslog() become with _FORTIFY_SOURCE, whatever this file is compiled with.
extern "C" void __syslog_chk(int priority, int flag, const char *format, ...);
extern "C" void __vsyslog_chk(int priority, int flag, const char *format, va_list arguments);

namespace vexo::system {
namespace {

constexpr const char *kForged = "x\nOct 1 host su: \x1B[2J\\";
constexpr const char *kEscaped = "x\\x0aOct 1 host su: \\x1b[2J\\\\";

TEST(EscapeLogText, LeavesNoControlCharacters) {
  EXPECT_EQ(EscapeLogText("a\tb\nc\rd\x1B[2J\x7F\\e"), "a\\x09b\\x0ac\\x0dd\\x1b[2J\\x7f\\\\e");
  EXPECT_EQ(EscapeLogText("C1 \u0085 \u009B"), "C1 \\xc2\\x85 \\xc2\\x9b");
  EXPECT_EQ(EscapeLogText(std::string_view("\0", 1)), "\\x00");
}

TEST(EscapeLogText, LeavesNothingThatIsNotUtf8) {
  EXPECT_EQ(EscapeLogText("\x9B[2J \xFF \xC3"), "\\x9b[2J \\xff \\xc3");
}

TEST(EscapeLogText, KeepsEverythingElse) {
  EXPECT_EQ(EscapeLogText("caf\u00E9 \U0001F600 /\"'"), "caf\u00E9 \U0001F600 /\"'");
}

TEST(LogLines, AreEscapedWhoeverWritesThem) {
  const std::string line = "test: ";
  EXPECT_EQ(LoggedBy([] { syslog(LOG_ERR, "%s", kForged); }), line + kEscaped + "\n");
  EXPECT_EQ(LoggedBy([] { __syslog_chk(LOG_ERR, 1, "%s", kForged); }), line + kEscaped + "\n");
  EXPECT_EQ(LoggedBy([] { LogFailure("operation", kForged); }),
            line + "operation: " + kEscaped + "\n");
}

void VLog(void (*log)(const char *, va_list), const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log(format, arguments);
  va_end(arguments);
}

TEST(LogLines, AreEscapedInTheOtherFormsToo) {
  const auto plain = [](const char *format, va_list arguments) {
    vsyslog(LOG_ERR, format, arguments);
  };
  const auto fortified = [](const char *format, va_list arguments) {
    __vsyslog_chk(LOG_ERR, 1, format, arguments);
  };
  EXPECT_EQ(LoggedBy([&] { VLog(plain, "%s %d", kForged, 7); }),
            "test: " + std::string(kEscaped) + " 7\n");
  EXPECT_EQ(LoggedBy([&] { VLog(fortified, "%s %d", kForged, 7); }),
            "test: " + std::string(kEscaped) + " 7\n");
}

TEST(LogLines, SayTheErrorThatTheCallerSaw) {
  const auto plain = [](const char *format, va_list arguments) {
    errno = ENOENT;
    vsyslog(LOG_ERR, format, arguments);
  };
  EXPECT_EQ(LoggedBy([&] { VLog(plain, "cannot: %m"); }),
            "test: cannot: No such file or directory\n");
}

TEST(LogLines, EndWhereTheMessageEndsItself) {
  EXPECT_EQ(LoggedBy([] { syslog(LOG_ERR, "list = [%d]\n", 7); }), "test: list = [7]\n");
}

TEST(LogLines, AreCutWhenTheyAreTooLong) {
  const std::string longest(kLongestLogMessage, 'x');
  EXPECT_EQ(LoggedBy([&] { syslog(LOG_ERR, "%s", longest.c_str()); }), "test: " + longest + "\n");
  EXPECT_EQ(LoggedBy([&] { syslog(LOG_ERR, "%sy", longest.c_str()); }),
            "test: " + longest + " ... (cut)\n");
}

TEST(LogLines, ThatRepeatAreCounted) {
  EXPECT_EQ(LoggedBy([] {
              for (int i = 0; i < 5000; ++i) {
                syslog(LOG_ERR, "%s:%d Bad parameters", "audio_playlist.cpp", 7);
              }
              syslog(LOG_ERR, "another");
              syslog(LOG_WARNING, "another");
              syslog(LOG_ERR, "last");
              syslog(LOG_ERR, "last");
            }),
            "test: audio_playlist.cpp:7 Bad parameters\n"
            "test: last message repeated 4999 times\n"
            "test: another\ntest: another\n"
            "test: last\ntest: last message repeated 1 times\n");
}

TEST(LogLines, AreCountedAtTheProgramsEnd) {
  EXPECT_EXIT(
      {
        openlog("test", LOG_PERROR, LOG_USER);
        syslog(LOG_ERR, "once");
        syslog(LOG_ERR, "once");
        exit(0);
      },
      ::testing::ExitedWithCode(0), "test: once\ntest: last message repeated 1 times\n$");
}

TEST(LogLines, BeyondTheBoundAreCounted) {
  EXPECT_EXIT(
      {
        openlog("test", LOG_PERROR, LOG_USER);
        BoundLog(2);
        for (int i = 0; i < 1000; ++i) {
          syslog(LOG_ERR, "line %d", i);
        }
        FlushLog();
        FlushLog();
        _exit(0);
      },
      ::testing::ExitedWithCode(0),
      "^test: line 0\ntest: line 1\ntest: 998 more lines were left out\n$");
}

} // namespace
} // namespace vexo::system
