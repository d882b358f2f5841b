#include "playlists/new_files.h"
#include "accounts/libraries.h"
#include "files/durable_file.h"
#include "files/folder.h"
#include "playlists/m3u.h"
#include "playlists/m3u_edits.h"
#include "playlists/playlist_folders.h"
#include "playlists/rows.h"
#include "system/paths.h"
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vexo::playlists {

namespace {

constexpr unsigned kOwnOnly = 0600;

/// A file that this process made or found the row of. Its folder is kept open, so that a folder of
/// the same path made later is not taken for the same one.
struct SeenFile {
  files::Folder folder;
  std::optional<int> owner; ///< of the row that was found
  std::string path;         ///< as the row has it
  bool is_unclaimed;        ///< made here, and without a row as yet
};

std::vector<SeenFile> &SeenHere() {
  static std::vector<SeenFile> seen;
  return seen;
}

bool IsSameName(const files::Folder &a, const files::Folder &b) {
  struct stat first {
  }, second{};
  return a.name() == b.name() && fstat(a.fd(), &first) == 0 && fstat(b.fd(), &second) == 0 &&
         files::IsSameFile(first, second);
}

/// A file that was there is gone for good unless it has a row that stays: that row only lost it.
bool IsGoneForGood(const SeenFile &file) { return !file.owner || !StaysAt(*file.owner, file.path); }

std::string NewContent(std::span<const NewEntry> songs, const std::string &path) {
  const files::Folder folder(path);
  for (const SeenFile &seen : SeenHere()) {
    if (!songs.empty() && IsSameName(seen.folder, folder) && IsGoneForGood(seen)) {
      throw std::runtime_error("renamed or deleted meanwhile: " + path);
    }
  }
  return std::string(kM3uHead) + M3uEntries(songs);
}

/// The rows that this process found with the file's path tell of the file that was there before.
void RefreshRowsOf(const std::string &path) {
  const files::Folder folder(path);
  for (const SeenFile &seen : SeenHere()) {
    if (seen.owner && IsSameName(seen.folder, folder)) {
      if (const auto row = index::ProcessIndex().PlaylistByPath(*seen.owner, seen.path)) {
        RefreshFileFacts(*row);
      }
    }
  }
}

std::string ContentOf(const std::vector<index::Song> &songs) {
  std::string content(kM3uHead);
  for (const index::Song &song : songs) {
    AppendM3uEntry(content,
                   {song.path, song.artist, song.title, static_cast<float>(song.duration_seconds)});
  }
  return content;
}

/// Removes what stands at `path` when it is a link.
void RemoveLink(const std::string &path) {
  struct stat facts {};
  if (lstat(path.c_str(), &facts) == 0 && S_ISLNK(facts.st_mode) && unlink(path.c_str()) != 0) {
    files::ThrowErrno("cannot remove the link", path);
  }
}

} // namespace

void WriteSongs(std::span<const NewEntry> songs, const std::string &path) {
  RequireInPlaylistsFolder(path);
  const Change change = Replacing(songs);
  bool is_new = false;
  files::EditOrCreateDurably(
      path, [&](std::string_view content) { return change(content, path); },
      [&] {
        is_new = true;
        return NewContent(songs, path);
      });
  RefreshRowsOf(path);
  if (is_new) {
    SeenHere().push_back({files::Folder(path), std::nullopt, path, true});
  }
}

void ExpectFile(const index::Playlist &row) {
  if (accounts::RealPath(row.path)) {
    RefreshFileFacts(row);
    SeenHere().push_back({files::Folder(row.path), row.owner, row.path, false});
  }
}

bool ClaimNewFile(const std::string &path) {
  for (SeenFile &seen : SeenHere()) {
    if (seen.path == path && std::exchange(seen.is_unclaimed, false)) {
      return true;
    }
  }
  return false;
}

void WriteTemporaryPlaylist(const std::vector<index::Song> &songs, const std::string &path) {
  RequireInFolder(system::kTemporary, path);
  RemoveLink(path);
  files::ReplaceDurably(path, ContentOf(songs), kOwnOnly);
}

} // namespace vexo::playlists
