#include "system/run_program.h"

#include "system/boundary.h"
#include "vexo/core.h"
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::system {
namespace {

/// How the program is started: nothing to read, no output that would mix with the answer, and the
/// signal settings of a fresh process whatever ours are.
class SpawnSettings {
public:
  SpawnSettings() {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
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

int WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int SpawnAndWait(const std::string &path, const std::vector<std::string> &arguments) {
  const SpawnSettings settings;
  pid_t child = 0;
  const int error = posix_spawn(&child, path.c_str(), settings.files(), settings.attributes(),
                                Arguments(path, arguments).data(), environ);
  if (error != 0) {
    LogFailure(path.c_str(), std::strerror(error));
    return -1;
  }
  return WaitFor(child);
}

} // namespace

int RunProgram(const std::string &path, const std::vector<std::string> &arguments) noexcept {
  return Guarded("RunProgram", -1, [&] { return SpawnAndWait(path, arguments); });
}

} // namespace vexo::system

int VLIBCExec(const char *path, const char *arg1, const char *arg2, const char *arg3,
              const char *arg4) {
  return vexo::system::Guarded("VLIBCExec", -1, [&] {
    std::vector<std::string> arguments;
    for (const char *argument : {arg1, arg2, arg3, arg4}) {
      if (argument == nullptr) {
        break;
      }
      arguments.emplace_back(argument);
    }
    return path == nullptr ? -1 : vexo::system::RunProgram(path, arguments);
  });
}
