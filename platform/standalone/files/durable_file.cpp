#include "files/durable_file.h"
#include "files/file_io.h"
#include "files/folder.h"
#include "files/temporary_file.h"
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>

namespace vexo::files {

bool CreateDurably(const std::string &path, std::string_view content, unsigned mode) {
  const Folder folder(path);
  struct stat status {};
  if (fstatat(folder.fd(), folder.name().c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    return false;
  }
  TemporaryFile file(folder, mode);
  WriteAndSync(file, {content}, folder);
  if (RenameExclusively(folder.fd(), file.name(), folder.name().c_str()) != 0) {
    if (errno == EEXIST) {
      return false;
    }
    ThrowErrno("cannot create", path);
  }
  file.GiveNameAway();
  try {
    folder.Sync();
  } catch (const std::system_error &) {
    unlinkat(folder.fd(), folder.name().c_str(), 0);
    throw;
  }
  return true;
}

bool CreateUnsynced(const std::string &path, std::string_view content) {
  const Folder folder(path);
  const FileDescriptor fd(openat(folder.fd(), folder.name().c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                 kNewFileMode));
  if (!fd && errno == EEXIST) {
    return false;
  }
  if (!fd) {
    ThrowErrno("cannot create", path);
  }
  try {
    Write(fd.get(), {content}, folder);
  } catch (const std::system_error &) {
    unlinkat(folder.fd(), folder.name().c_str(), 0);
    throw;
  }
  return true;
}

void SyncIfThere(const std::string &path) {
  const Folder folder(path);
  const FileDescriptor fd(
      openat(folder.fd(), folder.name().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!fd && errno == ENOENT) {
    return;
  }
  if (!fd || fsync(fd.get()) != 0) {
    ThrowErrno("cannot sync", path);
  }
  folder.Sync();
}

void ReplaceDurably(const std::string &path, std::string_view content, unsigned mode) {
  EditOrCreateDurably(
      path, [&](std::string_view, const std::string &) { return Pieces{content}; },
      [&] { return std::string(content); }, mode);
}

void EditOrCreateDurably(const std::string &path, const Edit &edit,
                         const std::function<std::string()> &new_content, unsigned mode) {
  EditOptions options;
  options.takes_too_large = true;
  for (int attempt = 0; attempt < kMaxEditAttempts; ++attempt) {
    if (EditDurably(path, edit, options) || CreateDurably(path, new_content(), mode)) {
      return;
    }
  }
  errno = EBUSY;
  ThrowErrno("cannot replace", path);
}

namespace {

/// Gives a file another name, which nobody else has. -1, as rename(2) does.
int SetAside(const Folder &folder, const char *aside) {
  const char *const name = folder.name().c_str();
  if (renameat2(folder.fd(), name, folder.fd(), aside, RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (!IsUnsupported(errno)) {
    return -1;
  }
  const FileDescriptor lock = LockFolder(folder); // see ReplaceByRename() in edit_file.cpp
  return renameat(folder.fd(), name, folder.fd(), aside);
}

} // namespace

FileSetAside::FileSetAside(const std::string &path) : path_(path), aside_(NewTemporaryName()) {
  Folder folder(path);
  name_ = folder.name();
  if (SetAside(folder, aside_.c_str()) != 0) {
    ThrowErrno("cannot take away", path);
  }
  lock_ = OpenForLock(folder.fd(), aside_.c_str());
  if (flock(lock_.get(), LOCK_EX | LOCK_NB) != 0) {
    errno = 0; // this process has it locked itself, or who edits it and will find it gone
  }
  try {
    folder.Sync();
  } catch (const std::system_error &) {
    RenameExclusively(folder.fd(), aside_.c_str(), name_.c_str());
    throw;
  }
  folder_ = folder.TakeDescriptor();
}

FileSetAside::~FileSetAside() {
  if (!aside_.empty()) {
    RenameExclusively(folder_.get(), aside_.c_str(), name_.c_str());
  }
}

void FileSetAside::Commit() {
  if (unlinkat(folder_.get(), aside_.c_str(), 0) != 0) {
    ThrowErrno("cannot remove", path_);
  }
  aside_.clear();
}

} // namespace vexo::files
