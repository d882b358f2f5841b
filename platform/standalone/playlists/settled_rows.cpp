#include "playlists/settled_rows.h"
#include "files/file_descriptor.h"
#include "files/folder.h"
#include <algorithm>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>

namespace vexo::playlists {

namespace {

/// A rename in another folder than that of the row's path moves a row twice at most while it is
/// looked for; more is what no working machine does.
constexpr int kMostMoves = 10;

/// The folder of the row that is held.
files::FileDescriptor &HeldFolder() {
  static files::FileDescriptor folder;
  return folder;
}

/// The lock of the folder that a file lies in; nothing when it cannot be had.
files::FileDescriptor LockFolderOf(const std::string &path) {
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  files::FileDescriptor fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return fd && files::LockWithin(fd.get(), files::kLockPatience) ? std::move(fd)
                                                                 : files::FileDescriptor();
}

bool HasNoFile(const index::Playlist &row) {
  struct stat status {};
  return lstat(row.path.c_str(), &status) != 0;
}

std::optional<index::Playlist> RowById(int owner, int32_t id) {
  std::vector<index::Playlist> rows = index::ProcessIndex().PlaylistsById(owner, {id});
  return rows.empty() ? std::nullopt : std::optional(std::move(rows.front()));
}

} // namespace

std::vector<index::Playlist> FindSettledRows(int owner, const std::vector<int32_t> &ids) {
  std::vector<index::Playlist> rows = index::ProcessIndex().PlaylistsById(owner, ids);
  const auto moving = std::find_if(rows.begin(), rows.end(), HasNoFile);
  if (moving == rows.end()) {
    return rows;
  }
  const files::FileDescriptor lock = LockFolderOf(moving->path);
  return index::ProcessIndex().PlaylistsById(owner, ids);
}

std::optional<index::Playlist> HoldRow(int owner, int32_t id) {
  ReleaseRow();
  std::optional<index::Playlist> row = RowById(owner, id);
  for (int moves = 0; row && moves < kMostMoves; ++moves) {
    files::FileDescriptor lock = LockFolderOf(row->path);
    std::optional<index::Playlist> now = RowById(owner, id);
    if (!lock || !now || now->path == row->path) {
      HeldFolder() = std::move(lock);
      return now;
    }
    row = std::move(now);
  }
  return row;
}

void ReleaseRow() noexcept { HeldFolder() = files::FileDescriptor(); }

} // namespace vexo::playlists
