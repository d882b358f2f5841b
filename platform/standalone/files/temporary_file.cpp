#include "files/temporary_file.h"
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace vexo::files {

namespace {

constexpr time_t kAbandonedAfterSeconds = 60;
/// Clocks of machines differ, and what another one set aside may wait for the index.
constexpr time_t kAbandonedElsewhereAfterSeconds = 600;
constexpr std::string_view kPrefix = ".vexo-";
constexpr std::string_view kSuffix = ".tmp";

/// Where a process has its number: other machines have processes of the same number, and so have
/// containers on this one. Never 0.
uint64_t ProcessSpace() {
  constexpr const char *kBoot = "/proc/sys/kernel/random/boot_id";
  std::array<char, 9> text{}; // the first of its digits are as random as all
  const FileDescriptor boot(open(kBoot, O_RDONLY | O_CLOEXEC));
  if (!boot || read(boot.get(), text.data(), text.size() - 1) < 0) {
    text = {};
  }
  struct stat numbers {};
  const bool is_known = stat("/proc/self/ns/pid", &numbers) == 0;
  return (strtoull(text.data(), nullptr, 16) << 32U | (is_known ? numbers.st_ino : 1)) | 1U;
}

uint64_t RandomNumber() {
  uint64_t number = 0;
  if (getrandom(&number, sizeof number, 0) != sizeof number) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    number = static_cast<uint64_t>(now.tv_sec) << 30U ^ static_cast<uint64_t>(now.tv_nsec);
  }
  return number;
}

/// What a temporary name tells of the process that made it; 0 where it does not tell.
struct Maker {
  unsigned long process = 0;
  unsigned long long space = 0; ///< names of older versions do not tell: it was this machine
};

Maker MakerOf(const std::string &name) {
  Maker maker;
  unsigned long long random = 0;
  int end = 0;
  const int found = sscanf(name.c_str(), ".vexo-%lx-%llx-%llx.tmp%n", &maker.process, &maker.space,
                           &random, &end);
  return found == 3 && static_cast<std::size_t>(end) == name.size() ? maker : Maker{maker.process};
}

bool IsProcessGone(unsigned long process) {
  return process == 0 || (kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH);
}

bool IsAbandoned(const std::string &name, const struct stat &status) {
  const time_t age = time(nullptr) - status.st_ctim.tv_sec;
  const Maker maker = MakerOf(name);
  if (maker.space != 0 && maker.space != ProcessSpace()) {
    return age >= kAbandonedElsewhereAfterSeconds;
  }
  return IsProcessGone(maker.process) || age >= kAbandonedAfterSeconds;
}

/// A temporary file whose writer is gone, locked; nothing for any other.
std::optional<FileDescriptor> LockAbandoned(const Folder &folder) {
  FileDescriptor fd = OpenForLock(folder.fd(), folder.name().c_str());
  if (!fd || !IsTemporaryName(folder.name())) {
    return std::nullopt;
  }
  struct stat status {};
  if (fstat(fd.get(), &status) != 0) {
    ThrowErrno("cannot examine", folder.path());
  }
  if (!IsAbandoned(folder.name(), status) || flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
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
  static const uint64_t space = ProcessSpace();
  std::array<char, 96> name{};
  snprintf(name.data(), name.size(), ".vexo-%lx-%llx-%llx.tmp",
           static_cast<unsigned long>(getpid()), static_cast<unsigned long long>(space),
           static_cast<unsigned long long>(RandomNumber()));
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
