#include "system/child_program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace vexo::system {
namespace {

using files::FileDescriptor;

[[noreturn]] void Fail(const char *what) {
  throw std::system_error(errno, std::generic_category(), what);
}

struct Pipe {
  FileDescriptor reading, writing;
};

Pipe MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    Fail("pipe");
  }
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

std::vector<char *> Pointers(const std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string &text : texts) {
    pointers.push_back(const_cast<char *>(text.c_str()));
  }
  pointers.push_back(nullptr);
  return pointers;
}

void Limit(__rlimit_resource resource, rlim_t most) {
  rlimit limit{};
  getrlimit(resource, &limit);
  if (most < limit.rlim_max) {
    limit.rlim_max = most;
  }
  limit.rlim_cur = limit.rlim_max;
  setrlimit(resource, &limit);
}

void LimitChild(const ChildLimits &limits) {
  Limit(RLIMIT_AS, limits.memory_bytes == 0 ? RLIM_INFINITY : limits.memory_bytes);
  Limit(RLIMIT_CPU, limits.cpu_seconds == 0 ? RLIM_INFINITY : limits.cpu_seconds);
  Limit(RLIMIT_FSIZE, 0);
  Limit(RLIMIT_CORE, 0);
  static_cast<void>(setpriority(PRIO_PROCESS, 0, limits.nice));
  static_cast<void>(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
}

/// The signal settings of a fresh process, whatever ours are.
void ResetSignals() {
  std::signal(SIGPIPE, SIG_DFL);
  std::signal(SIGXCPU, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// In the child: what it was forked for. Nothing here takes memory.
[[noreturn]] void Run(pid_t parent, char *const *arguments, int input, int output,
                      const ChildLimits &limits) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  constexpr unsigned kFirstOther = STDERR_FILENO + 1;
  // The copies made by dup2() stay open in the program.
  if (getppid() == parent && nowhere >= 0 && dup2(input, STDIN_FILENO) >= 0 &&
      dup2(output, STDOUT_FILENO) >= 0 && dup2(nowhere, STDERR_FILENO) >= 0) {
    close_range(kFirstOther, ~0U, 0);
    ResetSignals();
    LimitChild(limits);
    std::array<char, 32> path{"PATH=/usr/bin:/bin"};
    const std::array<char *, 2> environment{path.data(), nullptr};
    execve(arguments[0], arguments, environment.data());
  }
  _exit(ChildProgram::kCannotStart);
}

} // namespace

ChildProgram::ChildProgram(const std::string &path, const std::vector<std::string> &arguments,
                           int input, const ChildLimits &limits) {
  Pipe pipe = MakePipe();
  std::vector<std::string> texts = {path};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  const std::vector<char *> pointers = Pointers(texts);
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ < 0) {
    Fail("fork");
  }
  if (process_ == 0) {
    Run(parent, pointers.data(), input, pipe.writing.get(), limits);
  }
  output_ = std::move(pipe.reading);
}

ChildProgram::~ChildProgram() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    Wait();
  }
}

std::optional<std::string> ChildProgram::ReadAll(std::size_t most_bytes,
                                                 std::chrono::milliseconds patience) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + patience;
  std::string bytes;
  std::array<char, 1 << 16> buffer;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd watched{output_.get(), POLLIN, 0};
    const int ready = left > 0 ? poll(&watched, 1, static_cast<int>(left)) : 0;
    if (ready < 0 && errno == EINTR) {
      continue;
    }
    const ssize_t count = ready > 0 ? read(output_.get(), buffer.data(), buffer.size()) : -1;
    if (count == 0) {
      return bytes;
    }
    if (count < 0 || bytes.size() + static_cast<std::size_t>(count) > most_bytes) {
      return std::nullopt;
    }
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

ChildEnd ChildProgram::Wait() {
  int status = 0;
  while (waitpid(process_, &status, 0) < 0) {
    if (errno != EINTR) {
      Fail("waitpid");
    }
  }
  process_ = -1;
  return WIFEXITED(status) ? ChildEnd{WEXITSTATUS(status), 0} : ChildEnd{-1, WTERMSIG(status)};
}

} // namespace vexo::system
