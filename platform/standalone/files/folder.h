#pragma once
// The folder of a file, held open: what is done by name inside it stays inside it, even when the
// folder itself is renamed.

#include "files/file_descriptor.h"
#include <chrono>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>

namespace vexo::files {

/// Throws the std::system_error of errno: "WHAT NAME: ...".
[[noreturn]] void ThrowErrno(const char *what, std::string_view name);

/// The folder that `path` names a file of: "." without a slash, and "/" for one in the root.
std::string FolderOf(const std::string &path);

/// Makes the names in an open folder durable, where the file system can.
void SyncFolder(int fd, std::string_view path);

class Folder {
public:
  /// Opens the folder that `path` names a file of.
  explicit Folder(const std::string &path);

  [[nodiscard]] int fd() const { return fd_.get(); }
  [[nodiscard]] const std::string &path() const { return path_; }
  /// The name of the file inside the folder.
  [[nodiscard]] const std::string &name() const { return name_; }

  /// Makes the names in it durable.
  void Sync() const { SyncFolder(fd_.get(), path_); }
  /// The descriptor, for who keeps it longer than this object.
  [[nodiscard]] FileDescriptor TakeDescriptor() { return std::move(fd_); }

private:
  std::string path_, name_;
  FileDescriptor fd_;
};

/// A name in a folder, whatever stands there. The folder is kept open, so that one of the same path
/// made later is not taken for it.
class FileName {
public:
  explicit FileName(const std::string &path) : folder_(path) {}
  friend bool operator==(const FileName &a, const FileName &b);

private:
  Folder folder_;
};

/// How long a lock that somebody else holds is waited for: a process that was stopped, or one of
/// another user, may hold it for ever.
inline constexpr std::chrono::milliseconds kLockPatience{10'000};

/// Opens a file to lock it; none, and errno tells why, when that fails. NFS gives an exclusive lock
/// only to who may write, so a file is opened to be read alone only where nothing else is allowed.
FileDescriptor OpenForLock(int folder, const char *name);

/// Takes the exclusive lock of an open file or folder. False when it could not be had in that time;
/// errno tells why.
[[nodiscard]] bool LockWithin(int fd, std::chrono::milliseconds patience);

/// The lock of the folder, for as long as the descriptor lives; throws. Renames of playlists hold
/// it.
FileDescriptor LockFolder(const Folder &folder);

/// As LockWithin(), but throws.
void LockExclusively(int fd, std::string_view name,
                     std::chrono::milliseconds patience = kLockPatience);

/// Makes a folder and those above it that are missing, with a mode of 0755 at most. Where it
/// cannot, who uses the folder next says why.
void MakeFolders(const std::string &path);

/// Whether anything stands at `path`, be it a link to nowhere.
bool IsAnyEntry(const std::string &path);

/// Whether both are the same file.
inline bool IsSameFile(const struct stat &a, const struct stat &b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Renames inside one folder, and never over a file that is there (EEXIST).
int RenameExclusively(int folder, const char *from, const char *to);

/// Whether errno says that the file system does not know a kind of rename or sync.
bool IsUnsupported(int error);

} // namespace vexo::files
