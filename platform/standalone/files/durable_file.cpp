#include "files/durable_file.h"
#include "files/file_io.h"
#include "files/folder.h"
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>

namespace vexo::files {

namespace {

constexpr time_t kAbandonedAfterSeconds = 60;

std::string ReadFile(int fd, std::string_view name, std::size_t max_bytes) {
  std::string content;
  content.resize(static_cast<std::size_t>(FactsOfFile(fd, name, max_bytes).st_size));
  content.resize(ReadAt(fd, content.data(), content.size(), name));
  return content;
}

} // namespace

std::optional<std::string> ReadWholeFile(const std::string &path, std::size_t max_bytes) {
  const FileDescriptor fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!fd && (errno == ENOENT || errno == ENOTDIR)) {
    return std::nullopt;
  }
  if (!fd) {
    ThrowErrno("cannot open", path);
  }
  return ReadFile(fd.get(), path, max_bytes);
}

std::string ReadWholeFile(int fd, std::size_t max_bytes) {
  return ReadFile(fd, "an open file", max_bytes);
}

bool CreateDurably(const std::string &path, std::string_view content, unsigned mode) {
  const Folder folder(path);
  struct stat facts {};
  if (fstatat(folder.fd(), folder.name().c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0) {
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

bool CreateUnsynced(const std::string &path, std::string_view content, unsigned mode) {
  const Folder folder(path);
  const FileDescriptor fd(openat(folder.fd(), folder.name().c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
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
      path, [&](std::string_view) { return Pieces{content}; }, [&] { return std::string(content); },
      mode);
}

void EditOrCreateDurably(const std::string &path, const PieceEdit &edit,
                         const std::function<std::string()> &new_content, unsigned mode) {
  for (int attempt = 0; attempt < kMaxEditAttempts; ++attempt) {
    if (EditPiecesDurably(path, edit, WhenTooLarge::kGiveNothing) ||
        CreateDurably(path, new_content(), mode)) {
      return;
    }
  }
  errno = EBUSY;
  ThrowErrno("cannot replace", path);
}

FileSetAside::FileSetAside(const std::string &path) : path_(path), aside_(NewTemporaryName()) {
  Folder folder(path);
  name_ = folder.name();
  if (RenameExclusively(folder.fd(), name_.c_str(), aside_.c_str()) != 0) {
    ThrowErrno("cannot take away", path);
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

namespace {

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
  const time_t changed = Facts(fd.get(), folder.path()).st_ctim.tv_sec;
  const bool abandoned = IsProcessGone(TemporaryNameProcess(folder.name())) ||
                         changed + kAbandonedAfterSeconds <= time(nullptr);
  if (!abandoned || flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
    return std::nullopt;
  }
  return fd;
}

} // namespace

bool IsAbandonedTemporary(const std::string &path) {
  return LockAbandoned(Folder(path)).has_value();
}

bool RemoveAbandonedTemporary(const std::string &path) {
  const Folder folder(path);
  const std::optional<FileDescriptor> lock = LockAbandoned(folder);
  return lock && unlinkat(folder.fd(), folder.name().c_str(), 0) == 0;
}

} // namespace vexo::files
