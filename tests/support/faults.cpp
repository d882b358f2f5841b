#include "support/faults.h"
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <fcntl.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace faults {

namespace {

struct Switches {
  Call call = Call::kOpen;
  int calls_left = 0; ///< until the fault; 0: none is set
  int error = 0;
  int steps_left = 0; ///< until the end of the process; 0: it lives
  std::function<void()> before_rename;
};

Switches &Set() {
  static Switches switches;
  return switches;
}

/// 0: the call goes on; an error, or kShort, when it does not.
int Arrive(Call call) {
  Switches &set = Set();
  if (set.steps_left > 0 && --set.steps_left == 0) {
    kill(getpid(), SIGKILL);
  }
  if (call == Call::kRename && set.before_rename) {
    std::exchange(set.before_rename, nullptr)();
  }
  return set.calls_left > 0 && set.call == call && --set.calls_left == 0 ? set.error : 0;
}

/// Whether the call fails; errno is set then.
bool Fails(Call call) {
  const int error = Arrive(call);
  if (error != 0) {
    errno = error;
  }
  return error != 0;
}

} // namespace

Fault::Fault(Call call, int nth, int error) {
  Set().call = call;
  Set().calls_left = nth;
  Set().error = error;
}

Fault::~Fault() { Set().calls_left = 0; }

bool Fault::Happened() { return Set().calls_left == 0; }

bool KilledAt(int step, const std::function<void()> &operation) {
  const pid_t child = fork();
  if (child == 0) {
    Set().steps_left = step;
    operation();
    _exit(0);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    std::abort();
  }
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

void BeforeNextRename(std::function<void()> interference) {
  Set().before_rename = std::move(interference);
}

} // namespace faults

extern "C" {

int __real_open(const char *path, int flags, ...);
int __real_openat(int folder, const char *path, int flags, ...);
int __real_flock(int fd, int operation);
ssize_t __real_writev(int fd, const iovec *pieces, int count);
int __real_fsync(int fd);
int __real_renameat(int from_folder, const char *from, int to_folder, const char *to);
int __real_renameat2(int from_folder, const char *from, int to_folder, const char *to,
                     unsigned flags);
int __real_unlinkat(int folder, const char *path, int flags);

int __wrap_open(const char *path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
  va_end(arguments);
  return faults::Fails(faults::Call::kOpen) ? -1 : __real_open(path, flags, mode);
}

int __wrap_openat(int folder, const char *path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
  va_end(arguments);
  return faults::Fails(faults::Call::kOpen) ? -1 : __real_openat(folder, path, flags, mode);
}

int __wrap_flock(int fd, int operation) {
  return faults::Fails(faults::Call::kLock) ? -1 : __real_flock(fd, operation);
}

ssize_t __wrap_writev(int fd, const iovec *pieces, int count) {
  const int fault = faults::Arrive(faults::Call::kWrite);
  if (fault == faults::kShort && count > 0) {
    const iovec half{pieces->iov_base, pieces->iov_len / 2};
    return __real_writev(fd, &half, 1);
  }
  if (fault != 0) {
    errno = fault;
    return -1;
  }
  return __real_writev(fd, pieces, count);
}

int __wrap_fsync(int fd) { return faults::Fails(faults::Call::kSync) ? -1 : __real_fsync(fd); }

int __wrap_renameat(int from_folder, const char *from, int to_folder, const char *to) {
  return faults::Fails(faults::Call::kRename) ? -1
                                              : __real_renameat(from_folder, from, to_folder, to);
}

int __wrap_renameat2(int from_folder, const char *from, int to_folder, const char *to,
                     unsigned flags) {
  return faults::Fails(faults::Call::kRename)
             ? -1
             : __real_renameat2(from_folder, from, to_folder, to, flags);
}

int __wrap_unlinkat(int folder, const char *path, int flags) {
  return faults::Fails(faults::Call::kUnlink) ? -1 : __real_unlinkat(folder, path, flags);
}

} // extern "C"
