#pragma once
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// Runs `work` in `count` processes at once, each with its number, and tells how many ended with 0.
inline int RunAtOnce(int count, const std::function<int(int)> &work) {
  std::vector<pid_t> children;
  for (int i = 0; i < count; ++i) {
    children.push_back(fork());
    if (children.back() == 0) {
      _exit(work(i));
    }
  }
  int succeeded = 0;
  for (const pid_t child : children) {
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    succeeded += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
  }
  return succeeded;
}
