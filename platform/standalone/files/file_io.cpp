#include "files/file_io.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <fcntl.h>
#include <sys/uio.h>
#include <system_error>

namespace vexo::files {

namespace {

/// Writes a batch whole, moving on behind what each call took.
void WriteBatch(int fd, iovec *batch, std::size_t count, const Folder &folder) {
  while (count > 0) {
    const ssize_t result = writev(fd, batch, static_cast<int>(count));
    if (result < 0 && errno != EINTR) {
      ThrowErrno("cannot write", folder.path() + "/" + folder.name());
    }
    auto taken = static_cast<std::size_t>(std::max<ssize_t>(result, 0));
    while (count > 0 && taken >= batch->iov_len) {
      taken -= batch->iov_len;
      ++batch;
      --count;
    }
    if (count > 0) {
      batch->iov_base = static_cast<char *>(batch->iov_base) + taken;
      batch->iov_len -= taken;
    }
  }
}

/// What is written at once of a large file.
constexpr std::size_t kBlock = std::size_t{1} << 20;

/// Collects what one call writes.
class Batches {
public:
  Batches(int fd, const Folder &folder) : fd_(fd), folder_(folder) {}

  void Add(std::string_view piece) {
    batch_[count_++] = {const_cast<char *>(piece.data()), piece.size()};
    size_ += piece.size();
    if (count_ == batch_.size() || size_ >= kBlock) {
      Flush();
    }
    if (size_ >= kBlock) {
      // The disk begins while the rest is written, and a sync that follows takes half the time. It
      // tells of errors, too.
      sync_file_range(fd_, 0, 0, SYNC_FILE_RANGE_WRITE);
      size_ = 0;
    }
  }

  void Flush() {
    WriteBatch(fd_, batch_.data(), count_, folder_);
    count_ = 0;
  }

private:
  int fd_;
  const Folder &folder_;
  std::array<iovec, IOV_MAX> batch_;
  std::size_t count_ = 0;
  std::size_t size_ = 0; ///< since the disk was last told
};

} // namespace

struct stat Status(int fd, std::string_view name) {
  struct stat status {};
  if (fstat(fd, &status) != 0) {
    ThrowErrno("cannot examine", name);
  }
  return status;
}

struct stat StatusOfFile(int fd, std::string_view name, std::size_t max_bytes) {
  const struct stat status = Status(fd, name);
  if (!S_ISREG(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    ThrowErrno("not a file:", name);
  }
  if (static_cast<uint64_t>(status.st_size) > max_bytes) {
    errno = EFBIG;
    ThrowErrno("too large:", name);
  }
  return status;
}

std::size_t ReadAt(int fd, char *buffer, std::size_t size, std::string_view name) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t got = pread(fd, buffer + done, size - done, static_cast<off_t>(done));
    if (got == 0) {
      break;
    }
    if (got > 0) {
      done += static_cast<std::size_t>(got);
    } else if (errno != EINTR) {
      ThrowErrno("cannot read", name);
    }
  }
  return done;
}

void Write(int fd, const Pieces &pieces, const Folder &folder) {
  Batches batches(fd, folder);
  for (std::string_view piece : pieces) {
    for (; piece.size() > kBlock; piece.remove_prefix(kBlock)) {
      batches.Add(piece.substr(0, kBlock));
    }
    batches.Add(piece);
  }
  batches.Flush();
}

bool WriteAll(int fd, std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

void WriteAndSync(const TemporaryFile &file, const Pieces &pieces, const Folder &folder) {
  Write(file.fd(), pieces, folder);
  if (fsync(file.fd()) != 0) {
    ThrowErrno("cannot sync", folder.path() + "/" + folder.name());
  }
}

namespace {

std::string ReadFile(int fd, std::string_view name, std::size_t max_bytes) {
  std::string content;
  content.resize(static_cast<std::size_t>(StatusOfFile(fd, name, max_bytes).st_size));
  content.resize(ReadAt(fd, content.data(), content.size(), name));
  return content;
}

std::optional<std::string> TryReadWholeFile(const std::string &path, std::size_t max_bytes) {
  const FileDescriptor fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!fd && (errno == ENOENT || errno == ENOTDIR)) {
    return std::nullopt;
  }
  if (!fd) {
    ThrowErrno("cannot open", path);
  }
  return ReadFile(fd.get(), path, max_bytes);
}

} // namespace

std::optional<std::string> ReadWholeFile(const std::string &path, std::size_t max_bytes) {
  constexpr int kTries = 10;
  for (int tries = 1;; ++tries) {
    try {
      return TryReadWholeFile(path, max_bytes);
    } catch (const std::system_error &error) {
      // NFS says it of a file that another machine replaced since it was opened.
      if (error.code().value() != ESTALE || tries == kTries) {
        throw;
      }
    }
  }
}

std::string ReadWholeFile(int fd, std::size_t max_bytes) {
  return ReadFile(fd, "an open file", max_bytes);
}

} // namespace vexo::files
