#include "system_calls.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace system_calls {

Control &control() {
  static Control the_control;
  return the_control;
}

namespace {

/// Counts a call down; whether it still succeeds.
bool Succeeds(int &left) {
  if (left == 0) {
    return false;
  }
  left -= left > 0 ? 1 : 0;
  return true;
}

} // namespace
} // namespace system_calls

using system_calls::control;
using system_calls::Succeeds;

// The names that the linker's --wrap gives.
extern "C" {

void *__real_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size);
ssize_t __real_write(int file, const void *bytes, std::size_t size);
ssize_t __wrap_write(int file, const void *bytes, std::size_t size);
int __real_mkstemp(char *name);
int __wrap_mkstemp(char *name);
FILE *__real_fopen(const char *name, const char *mode);
FILE *__wrap_fopen(const char *name, const char *mode);
FILE *__real_popen(const char *command, const char *mode);
FILE *__wrap_popen(const char *command, const char *mode);
int __real_system(const char *command);
int __wrap_system(const char *command);
sighandler_t __real_signal(int number, sighandler_t handler);
sighandler_t __wrap_signal(int number, sighandler_t handler);

void *__wrap_calloc(std::size_t count, std::size_t size) {
  return Succeeds(control().callocs_left) ? __real_calloc(count, size) : nullptr;
}

ssize_t __wrap_write(int file, const void *bytes, std::size_t size) {
  if (!Succeeds(control().writes_left)) {
    errno = ENOSPC;
    return -1;
  }
  return __real_write(file, bytes, size);
}

int __wrap_mkstemp(char *name) {
  if (control().mkstemp_fails && name[0] != '/') {
    errno = ENOSPC;
    return -1;
  }
  return __real_mkstemp(name);
}

FILE *__wrap_fopen(const char *name, const char *mode) {
  return control().fopen_fails && name[0] != '/' ? nullptr : __real_fopen(name, mode);
}

FILE *__wrap_popen(const char *command, const char *mode) {
  control().commands.emplace_back(command);
  return control().popen_fails ? nullptr : __real_popen(command, mode);
}

int __wrap_system(const char *command) {
  control().commands.emplace_back(command);
  return __real_system(command);
}

sighandler_t __wrap_signal(int number, sighandler_t handler) {
  return control().signal_fails ? SIG_ERR : __real_signal(number, handler);
}
}
