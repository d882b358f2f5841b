#include "files/lock_file.h"

#include "files/file_descriptor.h"
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>

namespace vexo::files {

namespace {

bool IsFolder(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
}

/// As statfs(2) tells them.
bool KeepsFolderLocksToItself(int fd) {
  constexpr unsigned kNfs = 0x6969, kFuse = 0x65735546, kCifs = 0xFF534D42, kSmb2 = 0xFE534D42;
  struct statfs system {};
  if (fstatfs(fd, &system) != 0) {
    return false;
  }
  const auto type = static_cast<unsigned>(system.f_type);
  return type == kNfs || type == kFuse || type == kCifs || type == kSmb2;
}

FileDescriptor OpenLockFile(int folder) {
  return FileDescriptor(openat(folder, kLockFile, O_RDWR | O_NOFOLLOW | O_CLOEXEC));
}

/// A new lock file is for those whom the folder is for. Nothing when there is one by now: that may
/// be a link to a file of somebody else, who must not lose it to the folder's owner.
FileDescriptor MakeLockFile(int folder) {
  constexpr mode_t kOwnOnly = 0600;
  FileDescriptor file(
      openat(folder, kLockFile, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnOnly));
  struct stat status {};
  if (file && fstat(folder, &status) == 0) {
    if (fchown(file.get(), status.st_uid, status.st_gid) != 0) {
      errno = 0; // only a privileged process may; then the folder's mode tells who may what
    }
    fchmod(file.get(), (status.st_mode & 0666U) | kOwnOnly);
  }
  return file;
}

} // namespace

bool ReplaceByLockFile(int folder) noexcept {
  FileDescriptor file = OpenLockFile(folder);
  if (!file && errno == ENOENT) {
    file = MakeLockFile(folder);
  }
  if (!file && errno == EEXIST) {
    file = OpenLockFile(folder);
  }
  return file && dup3(file.get(), folder, O_CLOEXEC) == folder;
}

bool LeadToLockFile(int fd) noexcept {
  return !IsFolder(fd) || !KeepsFolderLocksToItself(fd) || ReplaceByLockFile(fd);
}

} // namespace vexo::files
