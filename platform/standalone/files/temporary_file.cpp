#include "files/temporary_file.h"
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>

namespace vexo::files {

namespace {

constexpr time_t kAbandonedAfterSeconds = 60;
constexpr std::string_view kPrefix = ".vexo-";
constexpr std::string_view kSuffix = ".tmp";

/// The process that made a temporary name; 0: it does not tell.
pid_t TemporaryNameProcess(std::string_view name) {
  unsigned long process = 0;
  return sscanf(std::string(name).c_str(), ".vexo-%lx-", &process) == 1
             ? static_cast<pid_t>(process)
             : 0;
}

bool IsProcessGone(pid_t process) {
  return process <= 0 || (kill(process, 0) != 0 && errno == ESRCH);
}

/// A temporary file whose writer is gone, locked; nothing for any other.
std::optional<FileDescriptor> LockAbandoned(const Folder &folder) {
  FileDescriptor fd(
      openat(folder.fd(), folder.name().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!fd || !IsTemporaryName(folder.name())) {
    return std::nullopt;
  }
  struct stat status {};
  if (fstat(fd.get(), &status) != 0) {
    ThrowErrno("cannot examine", folder.path());
  }
  const bool abandoned = IsProcessGone(TemporaryNameProcess(folder.name())) ||
                         status.st_ctim.tv_sec + kAbandonedAfterSeconds <= time(nullptr);
  if (!abandoned || flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
    return std::nullopt;
  }
  return fd;
}

} // namespace

TemporaryFile::TemporaryFile(const Folder &folder, mode_t mode)
    : folder_(folder), name_(NewTemporaryName()),
      fd_(openat(folder.fd(), name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                 mode)) {
  if (!fd_) {
    ThrowErrno("cannot make a temporary file in", folder.path());
  }
  if (flock(fd_.get(), LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    unlinkat(folder.fd(), name_.c_str(), 0);
    errno = error;
    ThrowErrno("cannot lock a temporary file in", folder.path());
  }
}

TemporaryFile::~TemporaryFile() {
  if (!name_.empty()) {
    unlinkat(folder_.fd(), name_.c_str(), 0);
  }
}

std::string NewTemporaryName() {
  static std::atomic<unsigned> counter = 0;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::array<char, 96> name{};
  snprintf(name.data(), name.size(), ".vexo-%lx-%llx-%lx-%x.tmp",
           static_cast<unsigned long>(getpid()), static_cast<unsigned long long>(now.tv_sec),
           static_cast<unsigned long>(now.tv_nsec), ++counter);
  return name.data();
}

bool IsTemporaryName(std::string_view name) {
  return name.size() > kPrefix.size() + kSuffix.size() && name.starts_with(kPrefix) &&
         name.ends_with(kSuffix);
}

bool IsAbandonedTemporary(const std::string &path) {
  return LockAbandoned(Folder(path)).has_value();
}

bool RemoveAbandonedTemporary(const std::string &path) {
  const Folder folder(path);
  const std::optional<FileDescriptor> lock = LockAbandoned(folder);
  return lock && unlinkat(folder.fd(), folder.name().c_str(), 0) == 0;
}

} // namespace vexo::files
