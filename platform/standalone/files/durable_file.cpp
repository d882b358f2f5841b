#include "files/durable_file.h"
#include "files/folder.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/uio.h>
#include <system_error>

namespace vexo::files {

namespace {

/// How often an edit begins anew because somebody else was quicker. Each time somebody's edit has
/// succeeded, so the bound is there for what no working machine does.
constexpr int kMaxAttempts = 10000;
constexpr time_t kAbandonedAfterSeconds = 60;

struct stat Facts(int fd, std::string_view name) {
  struct stat facts {};
  if (fstat(fd, &facts) != 0) {
    ThrowErrno("cannot examine", name);
  }
  return facts;
}

struct stat FactsOfFile(int fd, std::string_view name, std::size_t max_bytes) {
  const struct stat facts = Facts(fd, name);
  if (!S_ISREG(facts.st_mode)) {
    errno = S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
    ThrowErrno("not a file:", name);
  }
  if (static_cast<uint64_t>(facts.st_size) > max_bytes) {
    errno = EFBIG;
    ThrowErrno("too large:", name);
  }
  return facts;
}

/// Reads up to `size` bytes from the beginning on; fewer at the end of the file.
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

std::string ReadFile(int fd, std::string_view name, std::size_t max_bytes) {
  std::string content;
  content.resize(static_cast<std::size_t>(FactsOfFile(fd, name, max_bytes).st_size));
  content.resize(ReadAt(fd, content.data(), content.size(), name));
  return content;
}

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

void WriteAndSync(const TemporaryFile &file, const Pieces &pieces, const Folder &folder) {
  std::array<iovec, IOV_MAX> batch;
  std::size_t count = 0;
  for (const std::string_view piece : pieces) {
    batch[count++] = {const_cast<char *>(piece.data()), piece.size()};
    if (count == batch.size()) {
      WriteBatch(file.fd(), batch.data(), count, folder);
      count = 0;
    }
  }
  WriteBatch(file.fd(), batch.data(), count, folder);
  if (fsync(file.fd()) != 0) {
    ThrowErrno("cannot sync", folder.path() + "/" + folder.name());
  }
}

/// A file as it stands at its name, open and locked.
struct LockedFile {
  explicit LockedFile(const Folder &folder)
      : fd(openat(folder.fd(), folder.name().c_str(),
                  O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)) {
    const std::string path = folder.path() + "/" + folder.name();
    if (!fd) {
      ThrowErrno("cannot open", path);
    }
    LockExclusively(fd.get(), path);
    facts = FactsOfFile(fd.get(), path, kMaxFileBytes);
  }

  FileDescriptor fd;
  struct stat facts {};
};

/// Whether `name` in the folder is the locked file, with the content that was read.
bool IsUnchanged(const Folder &folder, const char *name, const LockedFile &file) {
  struct stat now {};
  return fstatat(folder.fd(), name, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
         IsSameFile(now, file.facts) && now.st_size == file.facts.st_size &&
         now.st_mtim.tv_sec == file.facts.st_mtim.tv_sec &&
         now.st_mtim.tv_nsec == file.facts.st_mtim.tv_nsec;
}

int Exchange(const Folder &folder, const TemporaryFile &file) {
  return renameat2(folder.fd(), file.name(), folder.fd(), folder.name().c_str(), RENAME_EXCHANGE);
}

/// Undoes an exchange. When nothing stands at the name any more, what was displaced takes it alone.
void ExchangeBack(const Folder &folder, TemporaryFile &file) {
  if (Exchange(folder, file) != 0) {
    RenameExclusively(folder.fd(), file.name(), folder.name().c_str());
    file.GiveNameAway();
  }
}

/// For file systems that cannot exchange: a rename between the test and the replacement is not
/// seen.
bool ReplaceByRename(const Folder &folder, const LockedFile &old, TemporaryFile &file) {
  if (!IsUnchanged(folder, folder.name().c_str(), old)) {
    return false;
  }
  if (renameat(folder.fd(), file.name(), folder.fd(), folder.name().c_str()) != 0) {
    ThrowErrno("cannot replace", folder.path() + "/" + folder.name());
  }
  file.GiveNameAway();
  folder.Sync();
  return true;
}

/// Puts the new file where the old one stands. False, with nothing changed, when by now something
/// else stands there. Throws ENOENT when nothing does.
bool PutInPlace(const Folder &folder, const LockedFile &old, TemporaryFile &file) {
  if (Exchange(folder, file) != 0) {
    if (IsUnsupported(errno)) {
      return ReplaceByRename(folder, old, file);
    }
    ThrowErrno("cannot replace", folder.path() + "/" + folder.name());
  }
  if (!IsUnchanged(folder, file.name(), old)) {
    ExchangeBack(folder, file);
    return false;
  }
  try {
    folder.Sync();
  } catch (const std::system_error &) {
    ExchangeBack(folder, file);
    throw;
  }
  return true;
}

/// The new file takes over what it can of the old one's owner and mode.
void CopyOwnerAndMode(const TemporaryFile &file, const struct stat &facts) {
  const bool is_ours = facts.st_uid == geteuid() && facts.st_gid == getegid();
  if (!is_ours && fchown(file.fd(), facts.st_uid, facts.st_gid) != 0) {
    // Only a privileged process may give files away; the content matters more than the owner.
    errno = 0;
  }
  if (fchmod(file.fd(), facts.st_mode & 0777) != 0) {
    ThrowErrno("cannot set the mode of", file.name());
  }
}

/// Whether `operation` fails with this error; other errors are thrown.
template <typename Operation> bool Fails(std::errc expected, Operation operation) {
  try {
    operation();
    return false;
  } catch (const std::system_error &error) {
    if (error.code() != expected) {
      throw;
    }
    return true;
  }
}

/// One try of an edit; false when somebody else was quicker.
bool TryEdit(const Folder &folder, const PieceEdit &edit) {
  const LockedFile old(folder);
  if (!IsUnchanged(folder, folder.name().c_str(), old)) {
    return false;
  }
  const auto size = static_cast<std::size_t>(old.facts.st_size);
  const auto content = std::make_unique_for_overwrite<char[]>(size);
  const std::size_t got = ReadAt(old.fd.get(), content.get(), size, folder.name());
  const std::optional<Pieces> pieces = edit(std::string_view(content.get(), got));
  if (!pieces) {
    return true;
  }
  TemporaryFile file(folder, 0600);
  CopyOwnerAndMode(file, old.facts);
  WriteAndSync(file, *pieces, folder);
  return PutInPlace(folder, old, file);
}

} // namespace

std::string ReadWholeFile(const std::string &path, std::size_t max_bytes) {
  const FileDescriptor fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!fd) {
    ThrowErrno("cannot open", path);
  }
  return ReadFile(fd.get(), path, max_bytes);
}

std::string ReadWholeFile(int fd, std::size_t max_bytes) {
  return ReadFile(fd, "an open file", max_bytes);
}

void CreateDurably(const std::string &path, std::string_view content, unsigned mode) {
  const Folder folder(path);
  struct stat facts {};
  if (fstatat(folder.fd(), folder.name().c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0) {
    errno = EEXIST;
    ThrowErrno("cannot create", path);
  }
  TemporaryFile file(folder, mode);
  WriteAndSync(file, {content}, folder);
  if (RenameExclusively(folder.fd(), file.name(), folder.name().c_str()) != 0) {
    ThrowErrno("cannot create", path);
  }
  file.GiveNameAway();
  try {
    folder.Sync();
  } catch (const std::system_error &) {
    unlinkat(folder.fd(), folder.name().c_str(), 0);
    throw;
  }
}

void ReplaceDurably(const std::string &path, std::string_view content, unsigned mode) {
  EditOrCreateDurably(
      path, [&](std::string_view) { return Pieces{content}; }, [&] { return std::string(content); },
      mode);
}

void EditOrCreateDurably(const std::string &path, const PieceEdit &edit,
                         const std::function<std::string()> &new_content, unsigned mode) {
  for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
    if (!Fails(std::errc::no_such_file_or_directory, [&] { EditPiecesDurably(path, edit); }) ||
        !Fails(std::errc::file_exists, [&] { CreateDurably(path, new_content(), mode); })) {
      return;
    }
  }
  errno = EBUSY;
  ThrowErrno("cannot replace", path);
}

void EditPiecesDurably(const std::string &path, const PieceEdit &edit) {
  const Folder folder(path);
  for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
    if (TryEdit(folder, edit)) {
      return;
    }
  }
  errno = EBUSY;
  ThrowErrno("cannot edit", path);
}

void EditDurably(const std::string &path, const Edit &edit) {
  std::optional<std::string> content;
  EditPiecesDurably(path, [&](std::string_view old_content) -> std::optional<Pieces> {
    content = edit(old_content);
    return content ? std::optional<Pieces>({*content}) : std::nullopt;
  });
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
