#pragma once
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

/// Processes that are forked at once and work when they are told: by then the test may have
/// threads, and the child of a process that has some may not even allocate.
class WaitingProcesses {
public:
  /// Each process will end with what `work` gives for its number.
  WaitingProcesses(int count, const std::function<int(int)> &work) {
    EXPECT_EQ(pipe(start_), 0);
    for (int i = 0; i < count; ++i) {
      children_.push_back(fork());
      if (children_.back() == 0) {
        WaitForStart();
        _exit(work(i));
      }
    }
    close(start_[0]);
  }
  ~WaitingProcesses() { Run(); }
  WaitingProcesses(const WaitingProcesses &) = delete;
  WaitingProcesses &operator=(const WaitingProcesses &) = delete;

  /// Lets them work, and tells how many ended with 0.
  int Run() {
    if (!children_.empty()) {
      close(start_[1]);
    }
    int succeeded = 0;
    for (const pid_t child : std::exchange(children_, {})) {
      int status = 0;
      EXPECT_EQ(waitpid(child, &status, 0), child);
      succeeded += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
    }
    return succeeded;
  }

private:
  /// The pipe ends when the parent closes its side.
  void WaitForStart() const {
    char nothing = 0;
    close(start_[1]);
    while (read(start_[0], &nothing, 1) > 0) {
    }
  }

  int start_[2] = {-1, -1};
  std::vector<pid_t> children_;
};

/// The number of a process that has ended.
inline pid_t EndedProcess() {
  const pid_t child = fork();
  if (child == 0) {
    _exit(0);
  }
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
  return child;
}

/// Runs `work` in `count` processes at once, each with its number, and tells how many ended with 0.
inline int RunAtOnce(int count, const std::function<int(int)> &work) {
  return WaitingProcesses(count, work).Run();
}
