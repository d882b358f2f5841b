#include "files/folder.h"
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>
#include <thread>

namespace vexo::files {

std::string FolderOf(const std::string &path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) {
    return ".";
  }
  return slash == 0 ? "/" : path.substr(0, slash);
}

void ThrowErrno(const char *what, std::string_view name) {
  const int error = errno;
  throw std::system_error(error, std::generic_category(),
                          std::string(what).append(" ").append(name));
}

Folder::Folder(const std::string &path)
    : path_(FolderOf(path)), name_(path.substr(path.rfind('/') + 1)),
      fd_(open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!fd_) {
    ThrowErrno("cannot open folder", path_);
  }
}

void SyncFolder(int fd, std::string_view path) {
  if (fsync(fd) != 0 && !IsUnsupported(errno)) {
    ThrowErrno("cannot sync folder", path);
  }
}

bool operator==(const FileName &a, const FileName &b) {
  struct stat first {
  }, second{};
  return a.folder_.name() == b.folder_.name() && fstat(a.folder_.fd(), &first) == 0 &&
         fstat(b.folder_.fd(), &second) == 0 && IsSameFile(first, second);
}

bool LockWithin(int fd, std::chrono::milliseconds patience) {
  // flock() has no time-out. All who wait ask equally often, so that nobody is left behind.
  constexpr std::chrono::milliseconds kBetweenTries{2};
  const auto end = std::chrono::steady_clock::now() + patience;
  while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(kBetweenTries);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void LockExclusively(int fd, std::string_view name, std::chrono::milliseconds patience) {
  if (!LockWithin(fd, patience)) {
    ThrowErrno(errno == EWOULDBLOCK ? "somebody else has locked" : "cannot lock", name);
  }
}

FileDescriptor OpenForLock(int folder, const char *name) {
  constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  FileDescriptor file(openat(folder, name, O_RDWR | kFlags));
  if (!file && (errno == EACCES || errno == EPERM || errno == EROFS)) {
    file = FileDescriptor(openat(folder, name, O_RDONLY | kFlags));
  }
  return file;
}

FileDescriptor LockFolder(const Folder &folder) {
  FileDescriptor lock(openat(folder.fd(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!lock) {
    ThrowErrno("cannot open folder", folder.path());
  }
  LockExclusively(lock.get(), folder.path());
  return lock;
}

void MakeFolders(const std::string &path) {
  constexpr mode_t kMode = 0755;
  if (mkdir(path.c_str(), kMode) != 0 && errno == ENOENT && path != FolderOf(path)) {
    MakeFolders(FolderOf(path));
    mkdir(path.c_str(), kMode);
  }
}

bool IsAnyEntry(const std::string &path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

int RenameExclusively(int folder, const char *from, const char *to) {
  if (renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (!IsUnsupported(errno)) {
    return -1;
  }
  return linkat(folder, from, folder, to, 0) == 0 ? unlinkat(folder, from, 0) : -1;
}

bool IsUnsupported(int error) { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP; }

} // namespace vexo::files
