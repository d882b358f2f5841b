#include "playlists/rows.h"
#include "files/durable_file.h"
#include "files/edit_file.h"
#include "files/file_identity.h"
#include "files/folder.h"
#include "playlists/condition.h"
#include "playlists/playlist_folders.h"
#include "playlists/settled_rows.h"
#include "system/log.h"
#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <thread>

namespace vexo::playlists {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLongestEditWait{2000};
constexpr milliseconds kLongestRemovalWait{500};
constexpr milliseconds kLongestMoveWait{500};

/// A rename moves the file first and writes the row a moment later. A caller that finds no file at
/// a row's path retries with exponential back-off, up to a limit.
class Backoff {
public:
  explicit Backoff(milliseconds limit) : left_(limit) {}

  /// Sleeps a little; false, without sleep, when the limit is reached.
  bool Wait() {
    if (left_ <= milliseconds::zero()) {
      return false;
    }
    std::this_thread::sleep_for(step_);
    left_ -= step_;
    step_ = std::min(2 * step_, kLongestStep);
    return true;
  }

private:
  static constexpr milliseconds kLongestStep{64};
  milliseconds left_, step_{1};
};

index::Playlist RequireRow(int owner, int32_t id) {
  auto row = FindRow(owner, id);
  if (!row) {
    RequireVersion(std::nullopt);
    throw std::runtime_error("no playlist with the id " + std::to_string(id));
  }
  return *std::move(row);
}

bool IsNotFound(const std::system_error &error) {
  return error.code() == std::errc::no_such_file_or_directory;
}

/// False: the playlist was moved away meanwhile.
bool TryEditRow(const index::Playlist &row, const files::Edit &edit) {
  // What is locked is another playlist when a rename and a new one of the old name came between;
  // the row tells.
  files::EditOptions options;
  options.verify = [&] { return RequireRow(row.owner, row.id).path == row.path; };
  return files::EditDurably(row.path, Versioned(edit), options);
}

/// Writes a row, and gives what `write` gives. A server may end when it has written and before it
/// says so; where `is_done` tells that, the write has not failed.
bool WriteRow(const std::function<bool()> &write, const std::function<bool()> &is_done) {
  try {
    return write();
  } catch (const index::IndexError &) {
    if (!is_done()) {
      throw;
    }
    return true;
  }
}

/// Takes the file away, then the row; false: no file is at the row's path (any more).
bool TryRemoveRow(const index::Playlist &row) {
  try {
    files::FileSetAside file(row.path);
    const auto now = FindRow(row.owner, row.id);
    if (now && now->path != row.path) {
      return false;
    }
    WriteRow([&] { return index::ProcessIndex().RemovePlaylist(row.owner, row.id); },
             [&] { return !FindRow(row.owner, row.id); });
    file.Commit();
    return true;
  } catch (const std::system_error &error) {
    if (!IsNotFound(error)) {
      throw;
    }
    return false;
  }
}

void RemoveRow(const RowKey &key, Backoff &backoff) {
  do {
    const auto row = FindRow(key.owner, key.id);
    if (!row) {
      return;
    }
    RequireInLibrary(key.owner, row->path);
    if (TryRemoveRow(*row)) {
      return;
    }
  } while (backoff.Wait());
  index::ProcessIndex().RemovePlaylist(key.owner, key.id);
}

std::string TimeText(std::time_t time) {
  std::array<char, 32> text{};
  return ctime_r(&time, text.data()) == nullptr ? "" : text.data();
}

/// Puts the size, the times and the identity of its file into a row; false: it has no file.
bool TakeFileStatus(index::Playlist &row) {
  struct statx status {};
  constexpr unsigned kWanted = STATX_BASIC_STATS | files::kIdentityMask;
  if (statx(AT_FDCWD, row.path.c_str(), 0, kWanted, &status) != 0) {
    return false;
  }
  row.size_bytes = status.stx_size;
  row.change_time = TimeText(status.stx_ctime.tv_sec);
  row.modification_time = TimeText(status.stx_mtime.tv_sec);
  row.file = files::IdentityOf(status);
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
  (void)TakeFileStatus(moved);
  rows.UpdatePlaylist(row.owner, row.id, moved);
}

} // namespace

void EditRow(const RowKey &key, const files::Edit &edit) {
  Backoff backoff(kLongestEditWait);
  do {
    const index::Playlist row = RequireRow(key.owner, key.id);
    RequireInLibrary(key.owner, row.path);
    if (TryEditRow(row, edit)) {
      return;
    }
  } while (backoff.Wait());
  RequireVersion(std::nullopt);
  throw std::runtime_error("the file of the playlist " + std::to_string(key.id) + " is not there");
}

void RemoveRows(const std::vector<RowKey> &rows) {
  Backoff backoff(kLongestRemovalWait);
  for (const RowKey &key : rows) {
    RemoveRow(key, backoff);
  }
}

void AddRow(const index::Playlist &row, bool is_new_file) {
  RequireInLibrary(row.owner, row.path);
  index::MediaIndex &rows = index::ProcessIndex();
  if (is_new_file) {
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
  Backoff backoff(kLongestMoveWait);
  bool is_last_try = false;
  const auto refresh = [&](index::Playlist &row) {
    if (row.path == values.path || (is_last_try && !files::IsAnyEntry(row.path))) {
      row = values;
      (void)TakeFileStatus(row);
      return true;
    }
    return TakeFileStatus(row);
  };
  bool is_written = RewriteRow(owner, id, refresh);
  ReleaseRow();
  while (!is_written) {
    if (is_last_try || !FindRow(owner, id)) {
      return false;
    }
    is_last_try = !backoff.Wait();
    is_written = RewriteRow(owner, id, refresh);
  }
  return true;
}

void RefreshFileStatus(const index::Playlist &row) noexcept {
  try {
    index::Playlist now = row;
    if (TakeFileStatus(now) && now != row) {
      (void)RewriteRow(row.owner, row.id, TakeFileStatus);
    }
  } catch (const std::exception &error) {
    system::LogFailure("size and time of a playlist", error.what());
  }
}

bool StaysAt(int owner, const std::string &path) {
  Backoff backoff(kLongestMoveWait);
  do {
    if (!index::ProcessIndex().PlaylistByPath(owner, path)) {
      return false;
    }
  } while (backoff.Wait());
  return true;
}

bool MoveRow(int owner, const std::string &old_path, const index::Playlist &values) {
  RequireInLibrary(owner, values.path);
  index::Playlist moved = values;
  moved.file = files::IdentityOf(values.path);
  index::MediaIndex &rows = index::ProcessIndex();
  const auto is_moved = [&] {
    const auto row = rows.PlaylistByPath(owner, moved.path);
    return row && row->file == moved.file && !rows.PlaylistByPath(owner, old_path);
  };
  return WriteRow([&] { return rows.UpdatePlaylist(owner, old_path, moved); }, is_moved);
}

} // namespace vexo::playlists
