#include "playlists/held_versions.h"

#include "files/file_descriptor.h"
#include "files/file_io.h"
#include "files/folder.h"
#include "playlists/condition.h"
#include "playlists/playlist_folders.h"
#include "playlists/settled_rows.h"
#include "playlists/version.h"
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace vexo::playlists {
namespace {

/// More lost races than a working machine has.
constexpr int kMostTries = 100;

std::vector<files::FileDescriptor> &HeldHere() {
  static std::vector<files::FileDescriptor> held;
  return held;
}

bool StandsAt(const std::string &path, int fd) {
  struct stat named {};
  struct stat open {};
  return lstat(path.c_str(), &named) == 0 && fstat(fd, &open) == 0 && named.st_ino == open.st_ino &&
         named.st_dev == open.st_dev;
}

/// The file at `path`, locked; nothing when none is there.
std::optional<files::FileDescriptor> LockAt(const std::string &path) {
  for (int tries = 0; tries < kMostTries; ++tries) {
    files::FileDescriptor file = files::OpenForLock(AT_FDCWD, path.c_str());
    if (!file && errno == ENOENT) {
      return std::nullopt;
    }
    if (!file) {
      files::ThrowErrno("cannot open", path);
    }
    const bool is_locked = files::LockWithin(file.get(), files::kLockPatience);
    if (!is_locked && errno != ESTALE) { // which NFS says of a file that was replaced
      files::ThrowErrno(errno == EWOULDBLOCK ? "somebody else has locked" : "cannot lock", path);
    }
    if (is_locked && StandsAt(path, file.get())) {
      return file;
    }
  }
  errno = EBUSY;
  files::ThrowErrno("cannot hold", path);
}

/// Nothing when no file is there.
std::optional<std::string> TryHold(const std::string &path) {
  RequireInPlaylistsFolder(path);
  std::optional<files::FileDescriptor> file = LockAt(path);
  if (!file) {
    return std::nullopt;
  }
  const std::string content = files::ReadWholeFile(file->get());
  RequireVersion(content);
  HeldHere().push_back(*std::move(file));
  return ContentVersion(content);
}

[[noreturn]] void FailAsNotThere() {
  RequireVersion(std::nullopt);
  throw VersionError("the playlist is not there");
}

} // namespace

std::string HoldFile(const std::string &path) {
  std::optional<std::string> version = TryHold(path);
  if (!version) {
    FailAsNotThere();
  }
  return *std::move(version);
}

std::string HoldRowsFile(int owner, int32_t id) {
  std::string path;
  for (int tries = 0; tries < kMostTries; ++tries) {
    const std::vector<index::Playlist> rows = FindSettledRows(owner, {id});
    if (rows.empty() || rows.front().path == path) {
      break; // there is none, or its file was waited for and did not come
    }
    path = rows.front().path;
    if (std::optional<std::string> version = TryHold(path)) {
      return *std::move(version);
    }
  }
  FailAsNotThere();
}

void ReleaseFiles() noexcept { HeldHere().clear(); }

} // namespace vexo::playlists
