#pragma once
// The calls to the system that a download makes: watched, and made to fail by switches. The
// linker's
// --wrap leads them here.

#include <string>
#include <vector>

namespace system_calls {

struct Control {
  // Calls that still succeed; negative: all of them. Those that open files fail for names in the
  // current folder only.
  int callocs_left = -1;
  int writes_left = -1;
  bool mkstemp_fails = false;
  bool fopen_fails = false;
  bool popen_fails = false;
  bool signal_fails = false;
  std::vector<std::string> commands; ///< what popen() and system() were given
};

/// Of the running test.
Control &control();

} // namespace system_calls
