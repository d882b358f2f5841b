#pragma once
#include <unistd.h>
#include <utility>

namespace vexo::files {

/// Owns a file descriptor; -1 is none. Take it first, check it second.
class FileDescriptor {
public:
  explicit FileDescriptor(int fd = -1) : fd_(fd) {}
  FileDescriptor(FileDescriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor &operator=(FileDescriptor &&other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~FileDescriptor() {
    if (fd_ >= 0) {
      ::close(fd_);
    }
  }
  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] explicit operator bool() const { return fd_ >= 0; }

private:
  int fd_;
};

} // namespace vexo::files
