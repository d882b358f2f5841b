#pragma once
// Bodies on their way to the client: from a descriptor to the standard output inside the kernel.

#include <csignal>
#include <cstdint>
#include <optional>
#include <string>

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

/// Reads up to `most_bytes` bytes of a pipe, fewer at its end. Nothing: the client is gone.
[[nodiscard]] std::optional<std::string> ReadAhead(int pipe, std::size_t most_bytes);

/// The line before so many bytes of a chunk (RFC 9112, 7.1).
std::string ChunkHead(std::size_t size_bytes);

/// As SendPipeBody(), but in chunks, and without the last one.
[[nodiscard]] bool SendPipeAsChunks(int pipe);

/// After a body that broke off nothing more may follow: what is printed from now on goes nowhere.
void CutAnswer();

} // namespace vexo::web
