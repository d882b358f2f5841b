#pragma once
// The system calls of the player client, watched and made to fail. The test program is linked so
// that the program's calls come here first.

#include <functional>
#include <sys/select.h>
#include <sys/time.h>
#include <vector>

namespace system_calls {

struct Control {
  /// The time-outs that select() was asked for, in order.
  std::vector<timeval> timeouts;
  /// What a wait of select() really takes at most; as asked when it is not positive.
  int timeout_milliseconds = 200;
  /// Run before select() waits; writing: it waits to write.
  std::function<void(bool writing)> before_select;
  /// select() tells that something is ready, and names nothing.
  bool select_names_nothing = false;
  /// send() takes only so many bytes, when not negative.
  long send_takes = -1;
  /// socket() fails.
  bool socket_fails = false;
  /// Calls of calloc() that still succeed; negative: all of them.
  int callocs_left = -1;
  /// When not null, what every calloc() gives: a list without end in no memory.
  void *only_memory = nullptr;
};

/// What holds for the running test.
Control &control();

} // namespace system_calls
