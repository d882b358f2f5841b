#include "files/edit_file.h"
#include "files/file_descriptor.h"
#include "files/folder.h"
#include "files/temporary_file.h"
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/mman.h>
#include <system_error>

namespace vexo::files {

namespace {

/// A file as it stood at its name, open and locked.
struct LockedFile {
  FileDescriptor fd;
  struct stat status {};
};

/// Nothing when no file stands there.
std::optional<LockedFile> OpenLocked(const Folder &folder, std::size_t max_bytes) {
  LockedFile file{FileDescriptor(
      openat(folder.fd(), folder.name().c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC))};
  const std::string path = folder.path() + "/" + folder.name();
  if (!file.fd && errno == ENOENT) {
    return std::nullopt;
  }
  if (!file.fd) {
    ThrowErrno("cannot open", path);
  }
  LockExclusively(file.fd.get(), path);
  file.status = StatusOfFile(file.fd.get(), path, max_bytes);
  return file;
}

/// Whether `name` in the folder is the locked file, with the content that was read.
bool IsUnchanged(const Folder &folder, const char *name, const LockedFile &file) {
  struct stat now {};
  // A machine may remember what stood at a name; what the file has lost, its server knows.
  return file.status.st_nlink > 0 && fstatat(folder.fd(), name, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
         IsSameFile(now, file.status) && now.st_size == file.status.st_size &&
         now.st_mtim.tv_sec == file.status.st_mtim.tv_sec &&
         now.st_mtim.tv_nsec == file.status.st_mtim.tv_nsec;
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

/// How an edit, or one try of it, ended.
enum class Outcome { kDone, kLostRace, kGaveUp };

/// For file systems that cannot exchange, as NFS and CephFS. A rename by hand between the test and
/// the replacement is not seen; those of playlists hold the folder's lock.
Outcome ReplaceByRename(const Folder &folder, const LockedFile &old, TemporaryFile &file) {
  const FileDescriptor lock = LockFolder(folder);
  if (!IsUnchanged(folder, folder.name().c_str(), old)) {
    return Outcome::kLostRace;
  }
  if (renameat(folder.fd(), file.name(), folder.fd(), folder.name().c_str()) != 0) {
    ThrowErrno("cannot replace", folder.path() + "/" + folder.name());
  }
  file.GiveNameAway();
  folder.Sync();
  return Outcome::kDone;
}

/// Puts the new file where the old one stands; changes nothing when by now something else does, or
/// nothing.
Outcome PutInPlace(const Folder &folder, const LockedFile &old, TemporaryFile &file) {
  if (Exchange(folder, file) != 0) {
    if (errno == ENOENT) {
      return Outcome::kGaveUp;
    }
    if (IsUnsupported(errno)) {
      return ReplaceByRename(folder, old, file);
    }
    ThrowErrno("cannot replace", folder.path() + "/" + folder.name());
  }
  if (!IsUnchanged(folder, file.name(), old)) {
    ExchangeBack(folder, file);
    return Outcome::kLostRace;
  }
  try {
    folder.Sync();
  } catch (const std::system_error &) {
    ExchangeBack(folder, file);
    throw;
  }
  return Outcome::kDone;
}

/// The new file takes over what it can of the old one's owner and mode.
void CopyOwnerAndMode(const TemporaryFile &file, const struct stat &status) {
  const bool is_ours = status.st_uid == geteuid() && status.st_gid == getegid();
  if (!is_ours && fchown(file.fd(), status.st_uid, status.st_gid) != 0) {
    // Only a privileged process may give files away; the content matters more than the owner.
    errno = 0;
  }
  if (fchmod(file.fd(), status.st_mode & 0777) != 0) {
    ThrowErrno("cannot set the mode of", file.name());
  }
}

struct FreeMemory {
  void operator()(char *memory) const { std::free(memory); }
};

/// Memory for a file's content. A large one comes in huge pages, as handing it out in small ones
/// takes longer than reading the file.
std::unique_ptr<char, FreeMemory> ContentMemory(std::size_t size) {
  constexpr std::size_t kHugePage = std::size_t{2} << 20;
  if (size < kHugePage) {
    return std::unique_ptr<char, FreeMemory>(static_cast<char *>(std::malloc(size + 1)));
  }
  const std::size_t whole_pages = (size + kHugePage - 1) / kHugePage * kHugePage;
  std::unique_ptr<char, FreeMemory> memory(
      static_cast<char *>(std::aligned_alloc(kHugePage, whole_pages)));
  if (memory) {
    madvise(memory.get(), whole_pages, MADV_HUGEPAGE);
  }
  return memory;
}

/// `path` is what the caller calls the file.
Outcome TryEdit(const Folder &folder, const std::string &path, const Edit &edit,
                const EditOptions &options) {
  const std::optional<LockedFile> old =
      OpenLocked(folder, options.takes_too_large ? SIZE_MAX : kMaxFileBytes);
  if (!old) {
    return Outcome::kGaveUp;
  }
  if (!IsUnchanged(folder, folder.name().c_str(), *old)) {
    return Outcome::kLostRace;
  }
  if (!options.verify()) {
    return Outcome::kGaveUp;
  }
  const auto whole_size = static_cast<std::size_t>(old->status.st_size);
  const std::size_t size = whole_size > kMaxFileBytes ? 0 : whole_size;
  const auto content = ContentMemory(size);
  if (!content) {
    throw std::bad_alloc();
  }
  const std::size_t got = ReadAt(old->fd.get(), content.get(), size, folder.name());
  const std::optional<Pieces> pieces = edit(std::string_view(content.get(), got), path);
  if (!pieces) {
    return Outcome::kDone;
  }
  TemporaryFile file(folder, 0600);
  CopyOwnerAndMode(file, old->status);
  WriteAndSync(file, *pieces, folder);
  return PutInPlace(folder, *old, file);
}

/// NFS says ESTALE of an open file that another machine has replaced.
Outcome TryOrLoseRace(const Folder &folder, const std::string &path, const Edit &edit,
                      const EditOptions &options) {
  try {
    return TryEdit(folder, path, edit, options);
  } catch (const std::system_error &error) {
    if (error.code().value() != ESTALE) {
      throw;
    }
    return Outcome::kLostRace;
  }
}

} // namespace

bool EditDurably(const std::string &path, const Edit &edit, const EditOptions &options) {
  const Folder folder(path);
  for (int attempt = 0; attempt < kMaxEditAttempts; ++attempt) {
    const Outcome outcome = TryOrLoseRace(folder, path, edit, options);
    if (outcome != Outcome::kLostRace) {
      return outcome == Outcome::kDone;
    }
  }
  errno = EBUSY;
  ThrowErrno("cannot edit", path);
}

bool EditTextDurably(const std::string &path, const TextEdit &edit) {
  std::optional<std::string> content;
  return EditDurably(
      path, [&](std::string_view old_content, const std::string &) -> std::optional<Pieces> {
        content = edit(old_content);
        return content ? std::optional<Pieces>({*content}) : std::nullopt;
      });
}

} // namespace vexo::files
