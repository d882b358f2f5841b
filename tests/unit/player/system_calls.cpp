#include "system_calls.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/socket.h>

namespace system_calls {

Control &control() {
  static Control the_control;
  return the_control;
}

} // namespace system_calls

using system_calls::control;

// The names that the linker's --wrap gives.
extern "C" {

int __real_select(int count, fd_set *readable, fd_set *writable, fd_set *special, timeval *timeout);
int __wrap_select(int count, fd_set *readable, fd_set *writable, fd_set *special, timeval *timeout);
ssize_t __real_send(int descriptor, const void *bytes, std::size_t size, int flags);
ssize_t __wrap_send(int descriptor, const void *bytes, std::size_t size, int flags);
int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol);
void *__real_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size);

int __wrap_select(int count, fd_set *readable, fd_set *writable, fd_set *special,
                  timeval *timeout) {
  control().timeouts.push_back(*timeout);
  if (control().before_select) {
    control().before_select(writable != nullptr);
  }
  if (control().select_names_nothing) {
    FD_ZERO(writable != nullptr ? writable : readable);
    return 1;
  }
  if (control().timeout_milliseconds > 0) {
    *timeout = {control().timeout_milliseconds / 1000,
                (control().timeout_milliseconds % 1000) * 1000};
  }
  return __real_select(count, readable, writable, special, timeout);
}

ssize_t __wrap_send(int descriptor, const void *bytes, std::size_t size, int flags) {
  const long takes = control().send_takes;
  return __real_send(descriptor, bytes,
                     takes < 0 ? size : std::min(size, static_cast<std::size_t>(takes)), flags);
}

int __wrap_socket(int domain, int type, int protocol) {
  if (control().socket_fails) {
    errno = EMFILE;
    return -1;
  }
  return __real_socket(domain, type, protocol);
}

void *__wrap_calloc(std::size_t count, std::size_t size) {
  if (control().callocs_left == 0) {
    return nullptr;
  }
  if (control().callocs_left > 0) {
    --control().callocs_left;
  }
  return control().only_memory != nullptr ? control().only_memory : __real_calloc(count, size);
}
}
