#include "playlists/settled_rows.h"
#include "files/file_descriptor.h"
#include "files/folder.h"
#include <chrono>
#include <fcntl.h>
#include <set>
#include <string>

namespace vexo::playlists {

namespace {

using std::chrono::milliseconds;

/// A rename in another folder than that of the row's path moves a row twice at most while it is
/// looked for; more is what no working machine does.
constexpr int kMostMoves = 10;

/// The folder of the row that is held.
files::FileDescriptor &HeldFolder() {
  static files::FileDescriptor folder;
  return folder;
}

/// The lock of a folder; nothing when it cannot be had.
files::FileDescriptor LockFolder(const std::string &folder, milliseconds patience) {
  files::FileDescriptor fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return fd && files::LockWithin(fd.get(), patience) ? std::move(fd) : files::FileDescriptor();
}

/// The folders of those rows whose files are not there.
std::set<std::string> FoldersOfMissing(const std::vector<index::Playlist> &rows) {
  std::set<std::string> folders;
  for (const index::Playlist &row : rows) {
    if (!files::IsAnyEntry(row.path)) {
      folders.insert(files::FolderOf(row.path));
    }
  }
  return folders;
}

void WaitForRenamesIn(const std::set<std::string> &folders) {
  using std::chrono::steady_clock;
  ReleaseRow(); // or this process might wait for itself
  const auto end = steady_clock::now() + files::kLockPatience;
  for (const std::string &folder : folders) {
    (void)LockFolder(folder, std::chrono::duration_cast<milliseconds>(end - steady_clock::now()));
  }
}

} // namespace

std::optional<index::Playlist> FindRow(int owner, int32_t id) {
  std::vector<index::Playlist> rows = index::ProcessIndex().PlaylistsById(owner, {id});
  return rows.empty() ? std::nullopt : std::optional(std::move(rows.front()));
}

std::vector<index::Playlist> FindSettledRows(int owner, const std::vector<int32_t> &ids) {
  std::vector<index::Playlist> rows = index::ProcessIndex().PlaylistsById(owner, ids);
  const std::set<std::string> folders = FoldersOfMissing(rows);
  if (folders.empty()) {
    return rows;
  }
  WaitForRenamesIn(folders);
  return index::ProcessIndex().PlaylistsById(owner, ids);
}

std::optional<index::Playlist> HoldRow(int owner, int32_t id) {
  ReleaseRow();
  std::optional<index::Playlist> row = FindRow(owner, id);
  for (int moves = 0; row && moves < kMostMoves; ++moves) {
    files::FileDescriptor lock = LockFolder(files::FolderOf(row->path), files::kLockPatience);
    std::optional<index::Playlist> now = FindRow(owner, id);
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
