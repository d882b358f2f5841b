#pragma once
// Bodies on their way to the client: from a descriptor to the standard output inside the kernel.

#include <csignal>
#include <cstdint>

namespace vexo::web {

/// As long as it lives, a write to a client that is gone fails and does not end the program.
class BrokenPipeIgnored {
public:
  BrokenPipeIgnored();
  ~BrokenPipeIgnored();
  BrokenPipeIgnored(const BrokenPipeIgnored &) = delete;
  BrokenPipeIgnored &operator=(const BrokenPipeIgnored &) = delete;

private:
  struct sigaction previous_ {};
};

/// Sends `size_bytes` bytes of a file. False: the client is gone, or the file became shorter.
[[nodiscard]] bool SendFileBody(int file, uint64_t size_bytes);

/// Sends what comes through a pipe until its end, and notices a client that goes away even while
/// nothing comes. False: the client is gone.
[[nodiscard]] bool SendPipeBody(int pipe);

/// After a body that broke off nothing more may follow: what is printed from now on goes nowhere.
void CutAnswer();

} // namespace vexo::web
