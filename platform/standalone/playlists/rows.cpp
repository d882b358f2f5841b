#include "playlists/rows.h"
#include "files/durable_file.h"
#include "files/file_identity.h"
#include "playlists/patience.h"
#include "playlists/playlist_folders.h"
#include "playlists/seen_files.h"
#include "playlists/settled_rows.h"
#include "system/log.h"
#include <array>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace vexo::playlists {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatienceWithEdits{2000};
constexpr milliseconds kPatienceWithRemovals{500};
constexpr milliseconds kPatienceWithMoves{500};

std::optional<index::Playlist> FindRow(int owner, int32_t id) {
  std::vector<index::Playlist> rows = index::ProcessIndex().PlaylistsById(owner, {id});
  return rows.empty() ? std::nullopt : std::optional(std::move(rows.front()));
}

index::Playlist RequireRow(int owner, int32_t id) {
  auto row = FindRow(owner, id);
  if (!row) {
    throw std::runtime_error("no playlist with the id " + std::to_string(id));
  }
  return *std::move(row);
}

bool IsNotFound(const std::system_error &error) {
  return error.code() == std::errc::no_such_file_or_directory;
}

/// False: the playlist was moved away meanwhile.
bool TryChangeRow(const index::Playlist &row, const Change &change) {
  bool was_moved = false;
  const auto change_if_same = [&](std::string_view content,
                                  const std::string &path) -> std::optional<files::Pieces> {
    // The file is locked now. What is locked is another playlist when a rename and a new one of the
    // old name came between; the row tells.
    was_moved = RequireRow(row.owner, row.id).path != path;
    return was_moved ? std::nullopt : change(content, path);
  };
  return ChangeFile(row.path, change_if_same) && !was_moved;
}

/// Takes the file away, then the row; false: no file is at the row's path (any more).
bool TryRemoveRow(const index::Playlist &row) {
  try {
    files::FileSetAside file(row.path);
    const auto now = FindRow(row.owner, row.id);
    if (now && now->path != row.path) {
      return false;
    }
    index::ProcessIndex().RemovePlaylist(row.owner, row.id);
    file.Commit();
    return true;
  } catch (const std::system_error &error) {
    if (!IsNotFound(error)) {
      throw;
    }
    return false;
  }
}

void RemoveRow(const RowKey &name, Patience &patience) {
  do {
    const auto row = FindRow(name.owner, name.id);
    if (!row) {
      return;
    }
    RequireInLibrary(name.owner, row->path);
    if (TryRemoveRow(*row)) {
      return;
    }
  } while (patience.Wait());
  index::ProcessIndex().RemovePlaylist(name.owner, name.id);
}

std::string TimeText(std::time_t time) {
  std::array<char, 32> text{};
  return ctime_r(&time, text.data()) == nullptr ? "" : text.data();
}

/// Puts the size, the times and the identity of its file into a row; false: it has no file.
bool TakeFileFacts(index::Playlist &row) {
  struct statx facts {};
  constexpr unsigned kWanted = STATX_BASIC_STATS | files::kIdentityMask;
  if (statx(AT_FDCWD, row.path.c_str(), 0, kWanted, &facts) != 0) {
    return false;
  }
  row.size_bytes = facts.stx_size;
  row.change_time = TimeText(facts.stx_ctime.tv_sec);
  row.modification_time = TimeText(facts.stx_mtime.tv_sec);
  row.file = files::IdentityOf(facts);
  return true;
}

/// Writes a row as `change` leaves it; false: there is none, or `change` does not want it. While it
/// reads the file nobody else writes rows, so of two that refresh a row at once the later one reads
/// the later file.
bool RewriteRow(int owner, int32_t id, const std::function<bool(index::Playlist &)> &change) {
  index::MediaIndex &rows = index::ProcessIndex();
  bool is_written = false;
  rows.InTransaction(index::MediaIndex::Durable::kSoon, [&] {
    auto row = FindRow(owner, id);
    is_written = row && change(*row) && rows.UpdatePlaylist(owner, id, *row);
  });
  return is_written;
}

bool IsLinkOrFile(const std::string &path) {
  struct stat facts {};
  return lstat(path.c_str(), &facts) == 0;
}

/// The path of a row's file after somebody renamed it by hand inside its folder; nothing when it is
/// not there. Only a name of the same kind counts.
std::optional<std::string> PathAfterRename(const index::Playlist &row) {
  const std::filesystem::path old_path(row.path);
  std::error_code error;
  for (const auto &entry : std::filesystem::directory_iterator(old_path.parent_path(), error)) {
    const std::string path = entry.path();
    if (entry.path().extension() == old_path.extension() && row.file.inode != 0 &&
        files::IdentityOf(path) == row.file) {
      return path;
    }
  }
  return std::nullopt;
}

/// Makes room for the row of a new file at the path of this one, which has lost its file: it
/// follows the file when that was renamed by hand, and goes when the file has gone.
void GiveWay(const index::Playlist &row) {
  index::MediaIndex &rows = index::ProcessIndex();
  const std::optional<std::string> path = PathAfterRename(row);
  if (!path || rows.PlaylistByPath(row.owner, *path)) {
    rows.RemovePlaylist(row.owner, row.id);
    return;
  }
  index::Playlist moved = row;
  moved.path = *path;
  moved.title = std::filesystem::path(*path).stem();
  (void)TakeFileFacts(moved);
  rows.UpdatePlaylist(row.owner, row.id, moved);
}

} // namespace

void ChangeRow(int owner, int32_t id, const Change &change) {
  Patience patience(kPatienceWithEdits);
  do {
    const index::Playlist row = RequireRow(owner, id);
    RequireInLibrary(owner, row.path);
    if (TryChangeRow(row, change)) {
      return;
    }
  } while (patience.Wait());
  throw std::runtime_error("the file of the playlist " + std::to_string(id) + " is not there");
}

void RemoveRows(const std::vector<RowKey> &rows) {
  Patience patience(kPatienceWithRemovals);
  for (const RowKey &row : rows) {
    RemoveRow(row, patience);
  }
}

void AddRow(const index::Playlist &row) {
  RequireInLibrary(row.owner, row.path);
  index::MediaIndex &rows = index::ProcessIndex();
  if (ClaimNewFile(row.path)) {
    if (const auto stale = rows.PlaylistByPath(row.owner, row.path)) {
      GiveWay(*stale);
    }
  }
  index::Playlist added = row;
  added.file = files::IdentityOf(row.path);
  rows.AddPlaylist(added);
}

bool RefreshRow(int owner, int32_t id, const index::Playlist &values) {
  RequireInLibrary(owner, values.path);
  Patience patience(kPatienceWithMoves);
  bool is_settled = false;
  const auto refresh = [&](index::Playlist &row) {
    if (row.path == values.path || (is_settled && !IsLinkOrFile(row.path))) {
      row = values;
      (void)TakeFileFacts(row);
      return true;
    }
    return TakeFileFacts(row);
  };
  bool is_written = RewriteRow(owner, id, refresh);
  ReleaseRow();
  while (!is_written) {
    if (is_settled || !FindRow(owner, id)) {
      return false;
    }
    is_settled = !patience.Wait();
    is_written = RewriteRow(owner, id, refresh);
  }
  return true;
}

void RefreshFileFacts(const index::Playlist &row) noexcept {
  try {
    index::Playlist now = row;
    if (TakeFileFacts(now) && now != row) {
      (void)RewriteRow(row.owner, row.id, TakeFileFacts);
    }
  } catch (const std::exception &error) {
    system::LogFailure("size and time of a playlist", error.what());
  }
}

bool StaysAt(int owner, const std::string &path) {
  Patience patience(kPatienceWithMoves);
  do {
    if (!index::ProcessIndex().PlaylistByPath(owner, path)) {
      return false;
    }
  } while (patience.Wait());
  return true;
}

bool MoveRow(int owner, const std::string &old_path, const index::Playlist &values) {
  RequireInLibrary(owner, values.path);
  index::Playlist moved = values;
  moved.file = files::IdentityOf(values.path);
  return index::ProcessIndex().UpdatePlaylist(owner, old_path, moved);
}

} // namespace vexo::playlists
