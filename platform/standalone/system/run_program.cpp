#include "system/run_program.h"

#include "system/limits.h"
#include "system/log.h"
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::system {
namespace {

/// How the program is started: nothing to read, no output that would mix with the answer, and the
/// signal settings of a fresh process whatever ours are.
class SpawnSettings {
public:
  /// `flags` besides those for signals.
  explicit SpawnSettings(short flags) {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(
        &attributes_, static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | flags));
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSettings(const SpawnSettings &) = delete;
  SpawnSettings &operator=(const SpawnSettings &) = delete;

  [[nodiscard]] const posix_spawn_file_actions_t *files() const { return &files_; }
  [[nodiscard]] const posix_spawnattr_t *attributes() const { return &attributes_; }

private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

std::vector<char *> Arguments(const std::string &path, const std::vector<std::string> &arguments) {
  std::vector<char *> argv{const_cast<char *>(path.c_str())};
  for (const std::string &argument : arguments) {
    argv.push_back(const_cast<char *>(argument.c_str()));
  }
  argv.push_back(nullptr);
  return argv;
}

std::optional<int> WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      return std::nullopt;
    }
  }
  return WIFEXITED(status) ? std::optional<int>(WEXITSTATUS(status)) : std::nullopt;
}

/// As long as it lives, what is made is not for everybody to write, also where the umask is 0.
class WritableByGroupAtMost {
public:
  WritableByGroupAtMost() : before_(umask(S_IWOTH)) { umask(before_ | S_IWOTH); }
  ~WritableByGroupAtMost() { umask(before_); }
  WritableByGroupAtMost(const WritableByGroupAtMost &) = delete;
  WritableByGroupAtMost &operator=(const WritableByGroupAtMost &) = delete;

private:
  const mode_t before_;
};

/// Starts a program, which may become a service and live on: the limits are those of this process
/// alone. Nothing, and a log line, when it cannot be started.
std::optional<pid_t> Spawn(const std::string &path, const std::vector<std::string> &arguments,
                           short flags) {
  const SpawnSettings settings(flags);
  const LimitsLifted lifted;
  const WritableByGroupAtMost mask;
  pid_t child = 0;
  const int error = posix_spawn(&child, path.c_str(), settings.files(), settings.attributes(),
                                Arguments(path, arguments).data(), environ);
  if (error != 0) {
    LogFailure(path.c_str(), std::strerror(error));
    return std::nullopt;
  }
  return child;
}

} // namespace

std::optional<int> RunProgram(const std::string &path, const std::vector<std::string> &arguments) {
  const std::optional<pid_t> child = Spawn(path, arguments, 0);
  return child ? WaitFor(*child) : std::nullopt;
}

bool StartProgram(const std::string &path, const std::vector<std::string> &arguments) {
  return Spawn(path, arguments, POSIX_SPAWN_SETSID).has_value();
}

} // namespace vexo::system
