// What the program that reads foreign pictures may still do.
#include "cover/confine.h"
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::cover {
namespace {

/// How a confined process ends that does this.
int StatusOf(const std::function<int()> &action) {
  const pid_t child = fork();
  if (child == 0) {
    Confine(1);
    _exit(action());
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

TEST(Confine, EndsWhoTakesTooLongByASignalThatSaysSo) {
  const int status = StatusOf([] {
    for (volatile unsigned turn = 0;; turn = turn + 1) {
    }
    return 0;
  });
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGXCPU);
}

TEST(Confine, LeavesNoWayToOpenAnything) {
  EXPECT_EQ(StatusOf([] { return open("/dev/null", O_RDONLY) < 0 ? errno : 0; }),
            W_EXITCODE(EPERM, 0));
  EXPECT_EQ(StatusOf([] { return socket(AF_UNIX, SOCK_STREAM, 0) < 0 ? errno : 0; }),
            W_EXITCODE(EPERM, 0));
  EXPECT_EQ(StatusOf([] { return fork() < 0 ? errno : 0; }), W_EXITCODE(EPERM, 0));
}

} // namespace
} // namespace vexo::cover
