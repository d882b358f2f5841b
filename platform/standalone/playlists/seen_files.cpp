#include "playlists/seen_files.h"
#include "accounts/libraries.h"
#include "files/folder.h"
#include "playlists/rows.h"
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace vexo::playlists {

namespace {

struct SeenFile {
  files::FileName name;
  std::optional<int> owner; ///< of the row that was found
  std::string path;         ///< as the row has it
  bool is_unclaimed;        ///< made here, and without a row as yet
};

/// Never destroyed: lists that are held back are written, and their rows refreshed, as the process
/// ends.
std::vector<SeenFile> &SeenHere() {
  static auto *const seen = new std::vector<SeenFile>;
  return *seen;
}

} // namespace

void NoteNewFile(const std::string &path) {
  SeenHere().push_back({files::FileName(path), std::nullopt, path, true});
}

bool ClaimNewFile(const std::string &path) {
  for (SeenFile &seen : SeenHere()) {
    if (seen.path == path && std::exchange(seen.is_unclaimed, false)) {
      return true;
    }
  }
  return false;
}

void ExpectFile(const index::Playlist &row) {
  if (accounts::RealPath(row.path)) {
    RefreshFileStatus(row);
    SeenHere().push_back({files::FileName(row.path), row.owner, row.path, false});
  }
}

bool WasTakenAway(const std::string &path) {
  const files::FileName name(path);
  return std::any_of(SeenHere().begin(), SeenHere().end(), [&](const SeenFile &seen) {
    return seen.name == name && !(seen.owner && StaysAt(*seen.owner, seen.path));
  });
}

void RefreshRowsOf(const std::string &path) {
  const files::FileName name(path);
  for (const SeenFile &seen : SeenHere()) {
    if (seen.owner && seen.name == name) {
      if (const auto row = index::ProcessIndex().PlaylistByPath(*seen.owner, seen.path)) {
        RefreshFileStatus(*row);
      }
    }
  }
}

void ForgetSeenFiles() noexcept { SeenHere().clear(); }

} // namespace vexo::playlists
