#pragma once
// What the tests of rule files share.

#include "support/device_root.h"
#include "support/logged_by.h"
#include "support/processes.h"
#include "vexo/itunes.h"
#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs the body in a process of its own, which reads the configuration and opens the index afresh;
/// whether it gave true. What it prints comes with the test's output.
template <typename Body> bool InOwnProcess(Body body) {
  return RunAtOnce(1, [&](int) {
           const bool holds = body();
           std::fflush(nullptr);
           return holds ? 0 : 1;
         }) == 1;
}

/// Runs the body in a process of its own that is killed at its `stop`th halt (each system call has
/// two, at its entry and at its exit); whether the body came to its end before.
template <typename Body> bool EndsBeforeStop(int stop, Body body) {
  const pid_t child = fork();
  if (child == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    std::raise(SIGSTOP);
    body();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  for (int i = 0; i < stop && WIFSTOPPED(status); ++i) {
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, &status, 0);
  }
  if (!WIFSTOPPED(status)) {
    return true;
  }
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return false;
}

/// A record as its callers hold it: all zero, its rules released in the end.
struct Record : iTunesPlaylist {
  Record() : iTunesPlaylist{} {}
  ~Record() { iTunesPLNodesFree(nodes); }
  Record(const Record &) = delete;
  Record &operator=(const Record &) = delete;
};

inline const std::string kSharedRules = vexo::system::kSharedSmartRules;
