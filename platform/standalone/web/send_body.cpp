#include "web/send_body.h"

#include "files/file_descriptor.h"
#include "files/file_io.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <unistd.h>

namespace vexo::web {
namespace {

constexpr std::size_t kChunkBytes = std::size_t{1} << 20U;
constexpr std::size_t kCopyBytes = std::size_t{64} << 10U;

/// Where the kernel cannot move the bytes by itself (an output that appends, for one). As
/// sendfile(): the bytes that were sent, 0 at the end, -1 when it failed.
ssize_t CopyChunk(int from, std::size_t most_bytes) {
  std::array<char, kCopyBytes> buffer;
  const ssize_t count = read(from, buffer.data(), std::min(most_bytes, buffer.size()));
  return count > 0 &&
                 !files::WriteAll(STDOUT_FILENO, {buffer.data(), static_cast<std::size_t>(count)})
             ? -1
             : count;
}

/// Calls `move`, which moves bytes inside the kernel, or copies where that is not possible.
template <typename Move> ssize_t MoveChunk(int from, std::size_t most_bytes, const Move &move) {
  for (;;) {
    const ssize_t count = move();
    if (count < 0 && errno == EINTR) {
      continue;
    }
    return count < 0 && (errno == EINVAL || errno == ENOSYS) ? CopyChunk(from, most_bytes) : count;
  }
}

/// Waits for bytes or the end; false when the client went away meanwhile.
bool WaitForBytes(int pipe) {
  std::array<pollfd, 2> watched{{{pipe, POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
  while (poll(watched.data(), watched.size(), -1) < 0) {
    if (errno != EINTR) {
      return true; // reading and writing tell as well, if later
    }
  }
  return watched[1].revents == 0;
}

void EnlargePipe(int pipe) {
  // Fewer hand-overs; one that cannot grow, or is no pipe, serves as it is.
  static_cast<void>(fcntl(pipe, F_SETPIPE_SZ, static_cast<int>(kChunkBytes)));
}

ssize_t MoveFromPipe(int pipe, std::size_t most_bytes) {
  return MoveChunk(pipe, most_bytes, [&] {
    return splice(pipe, nullptr, STDOUT_FILENO, nullptr, most_bytes, SPLICE_F_MOVE);
  });
}

/// Sends what waits in the pipe as one chunk. As sendfile().
ssize_t SendChunk(int pipe) {
  int waiting = 0;
  if (ioctl(pipe, FIONREAD, &waiting) != 0 || waiting <= 0) {
    return waiting;
  }
  const auto size = std::min(static_cast<std::size_t>(waiting), kChunkBytes);
  const std::string head = ChunkHead(size);
  if (!files::WriteAll(STDOUT_FILENO, head)) {
    return -1;
  }
  for (std::size_t left = size; left > 0;) {
    const ssize_t count = MoveFromPipe(pipe, left);
    if (count <= 0) {
      return -1;
    }
    left -= static_cast<std::size_t>(count);
  }
  return files::WriteAll(STDOUT_FILENO, "\r\n") ? static_cast<ssize_t>(size) : -1;
}

/// Calls `send`, which is as sendfile(), whenever bytes have come, until the end.
template <typename Send> bool SendPieces(int pipe, const Send &send) {
  EnlargePipe(STDOUT_FILENO);
  while (WaitForBytes(pipe)) {
    const ssize_t count = send();
    if (count <= 0) {
      return count == 0;
    }
  }
  return false;
}

} // namespace

BrokenPipeIgnored::BrokenPipeIgnored() {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &previous_);
}

BrokenPipeIgnored::~BrokenPipeIgnored() { sigaction(SIGPIPE, &previous_, nullptr); }

bool SendFileBody(int file, uint64_t size_bytes) {
  EnlargePipe(STDOUT_FILENO);
  while (size_bytes > 0) {
    const std::size_t most = std::min<uint64_t>(size_bytes, kChunkBytes);
    const ssize_t count =
        MoveChunk(file, most, [&] { return sendfile(STDOUT_FILENO, file, nullptr, most); });
    if (count <= 0) {
      return false;
    }
    size_bytes -= static_cast<uint64_t>(count);
  }
  return true;
}

bool SendPipeBody(int pipe) {
  return SendPieces(pipe, [pipe] { return MoveFromPipe(pipe, kChunkBytes); });
}

std::optional<std::string> ReadAhead(int pipe, std::size_t most_bytes) {
  std::string bytes(most_bytes, '\0');
  std::size_t size = 0;
  while (size < most_bytes) {
    if (!WaitForBytes(pipe)) {
      return std::nullopt;
    }
    const ssize_t count = read(pipe, bytes.data() + size, most_bytes - size);
    if (count <= 0 && !(count < 0 && errno == EINTR)) {
      break;
    }
    size += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  }
  bytes.resize(size);
  return bytes;
}

std::string ChunkHead(std::size_t size_bytes) {
  std::array<char, 24> head{};
  std::snprintf(head.data(), head.size(), "%zx\r\n", size_bytes);
  return head.data();
}

bool SendPipeAsChunks(int pipe) {
  return SendPieces(pipe, [pipe] { return SendChunk(pipe); });
}

void CutAnswer() {
  const files::FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (nowhere) {
    dup2(nowhere.get(), STDOUT_FILENO);
  }
}

} // namespace vexo::web
