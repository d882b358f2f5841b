#include "playlistctl/scan/playlist_rows.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <tuple>

namespace vexo::tools {
namespace {

using files::FileIdentity;
using index::Playlist;
using Kind = PlaylistDifference::Kind;

std::string TimeText(int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::array<char, 64> text{};
  return ctime_r(&time, text.data()) == nullptr ? "" : text.data();
}

/// Puts into a row what its file tells besides its name.
void TakeStatus(Playlist &row, const FoundFile &file) {
  row.change_time = TimeText(file.time_changed);
  row.modification_time = TimeText(file.time_modified);
  row.size_bytes = file.size_bytes;
  row.file = file.identity;
}

bool HasStatusOf(const Playlist &row, const FoundFile &file) {
  return row.size_bytes == file.size_bytes && row.modification_time == TimeText(file.time_modified);
}

/// Whether a title is the file's name: the whole of it, or with folders below the playlists folder.
bool IsTitleOf(const std::string &title, const std::string &path) {
  const std::string_view without_extension =
      std::string_view(path).substr(0, path.size() - FileName(path).size() + Stem(path).size());
  return !title.empty() && without_extension.ends_with("/" + title);
}

bool IsGone(const std::string &path) {
  struct stat status {};
  return stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

/// Finds each row's file: the one that it tells the identity of, wherever that is now, or else the
/// one at its path. Of several with its identity, which are links of one file, the one at its path.
class Matching {
public:
  Matching(std::vector<Playlist> rows, const std::vector<FoundFile> &files)
      : rows_(std::move(rows)), file_of_(rows_.size()) {
    for (const FoundFile &file : files) {
      unmatched_.emplace(file.path, &file);
    }
    MatchEach([this](const Playlist &row) {
      const FoundFile *const file = AtPath(row);
      return file != nullptr && file->identity == row.file ? file : nullptr;
    });
    MatchEach([this](const Playlist &row) { return WithIdentity(row.file); });
    MatchEach([this](const Playlist &row) { return AtPath(row); });
    MatchEach([this](const Playlist &row) { return OnlyOneWithStatus(row); });
  }

  [[nodiscard]] const std::vector<Playlist> &rows() const { return rows_; }
  /// The file of a row; null: none.
  [[nodiscard]] const FoundFile *FileOf(std::size_t row) const { return file_of_[row]; }
  /// The files without a row, by path.
  [[nodiscard]] const std::map<std::string, const FoundFile *> &rest() const { return unmatched_; }

private:
  template <typename Find> void MatchEach(Find find) {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (file_of_[i] == nullptr && (file_of_[i] = find(rows_[i])) != nullptr) {
        unmatched_.erase(file_of_[i]->path);
      }
    }
  }

  [[nodiscard]] const FoundFile *AtPath(const Playlist &row) const {
    const auto file = unmatched_.find(row.path);
    return file == unmatched_.end() ? nullptr : file->second;
  }

  [[nodiscard]] const FoundFile *WithIdentity(const FileIdentity &identity) const {
    const auto file = std::find_if(unmatched_.begin(), unmatched_.end(),
                                   [&](const auto &f) { return f.second->identity == identity; });
    return file == unmatched_.end() ? nullptr : file->second;
  }

  /// For a row that was written before rows told the identity: size and time must do, where no
  /// other row and no other file has them.
  [[nodiscard]] const FoundFile *OnlyOneWithStatus(const Playlist &row) const {
    if (row.file != FileIdentity()) {
      return nullptr;
    }
    const FoundFile *found = nullptr;
    for (const auto &[path, file] : unmatched_) {
      if (HasStatusOf(row, *file)) {
        if (found != nullptr) {
          return nullptr;
        }
        found = file;
      }
    }
    const auto is_candidate = [&](const Playlist &other) {
      return found != nullptr && HasStatusOf(other, *found);
    };
    const bool is_only_row = std::count_if(rows_.begin(), rows_.end(), is_candidate) == 1;
    return is_only_row ? found : nullptr;
  }

  const std::vector<Playlist> rows_;
  std::vector<const FoundFile *> file_of_;
  std::map<std::string, const FoundFile *> unmatched_;
};

/// What differs between a row and its file; nothing when nothing does.
std::optional<PlaylistDifference> Compare(const Library &library, const Playlist &row,
                                          const FoundFile &file) {
  Playlist mended = RowOf(library, file);
  mended.id = row.id;
  if (row.path != file.path) {
    return PlaylistDifference{Kind::kMoved, row, mended};
  }
  if (!IsTitleOf(row.title, row.path)) {
    return PlaylistDifference{Kind::kTitle, row, mended};
  }
  if (!HasStatusOf(row, file) || row.file != file.identity) {
    mended.title = row.title;
    return PlaylistDifference{Kind::kStatus, row, mended};
  }
  return std::nullopt;
}

/// Tells which moves go to a path that a row without a file has.
void FindOverwritten(std::vector<PlaylistDifference> &moves, const Matching &matching) {
  std::set<std::string> without_file;
  for (std::size_t i = 0; i < matching.rows().size(); ++i) {
    if (matching.FileOf(i) == nullptr) {
      without_file.insert(matching.rows()[i].path);
    }
  }
  for (PlaylistDifference &move : moves) {
    move.overwrites = without_file.contains(move.mended.path);
  }
}

/// Drops messages that the first walk of the folder has printed already.
class NoOutput : public Output {
public:
  void Line(const std::string & /*text*/) override {}
  void Progress(std::string_view /*what*/, std::size_t /*done*/, std::size_t /*all*/) override {}
};

bool IsForScan(const PlaylistDifference &difference) {
  return difference.kind == Kind::kMoved || difference.kind == Kind::kNew;
}

auto KeyOf(const PlaylistDifference &difference) {
  return std::tuple(difference.kind, difference.row.id, difference.mended.path);
}

/// What differs now, and did so before the grace period.
std::vector<PlaylistDifference> Lasting(index::MediaIndex &index, const Library &library,
                                        const std::vector<PlaylistDifference> &before) {
  std::set<decltype(KeyOf(before.front()))> keys;
  for (const PlaylistDifference &difference : before) {
    keys.insert(KeyOf(difference));
  }
  NoOutput told_already;
  std::vector<PlaylistDifference> now = ComparePlaylists(index, library, told_already);
  std::erase_if(now, [&](const auto &difference) { return !keys.contains(KeyOf(difference)); });
  return now;
}

bool AddRow(index::MediaIndex &index, const Playlist &row) {
  return !index.PlaylistByPath(row.owner, row.path) && index.AddPlaylist(row) > 0;
}

/// Gives a row the path of its file. A row that has this path gives way: for good when its file was
/// overwritten, else to the path that becomes free, until its own file is looked at.
void MoveRow(index::MediaIndex &index, const PlaylistDifference &difference, const Playlist &now,
             const Playlist &values) {
  const int owner = values.owner;
  auto other = index.PlaylistByPath(owner, values.path);
  const bool is_taken = other && other->id != now.id;
  if (is_taken && difference.overwrites) {
    (void)index.RemovePlaylist(owner, other->id);
  } else if (is_taken) {
    other->path += "/"; // no file's path, for as long as both rows would have the same one
    (void)index.UpdatePlaylist(owner, other->id, *other);
  }
  (void)index.UpdatePlaylist(owner, now.id, values);
  if (is_taken && !difference.overwrites) {
    other->path = now.path;
    (void)index.UpdatePlaylist(owner, other->id, *other);
  }
}

bool MendRow(index::MediaIndex &index, const PlaylistDifference &difference) {
  const int owner = difference.row.owner;
  const std::optional<FoundFile> file = FindFile(difference.mended.path);
  const std::vector<Playlist> rows = index.PlaylistsById(owner, {difference.row.id});
  const bool has_path = !rows.empty() && rows.front().path == difference.row.path;
  Playlist values = difference.mended;
  if (difference.kind == Kind::kLost) {
    return has_path && IsGone(values.path) && index.RemovePlaylist(owner, values.id);
  }
  if (!file) {
    return false;
  }
  TakeStatus(values, *file);
  switch (difference.kind) {
  case Kind::kNew:
    return AddRow(index, values);
  case Kind::kMoved:
    if (rows.empty() || file->identity != difference.mended.file) {
      return false;
    }
    MoveRow(index, difference, rows.front(), values);
    return true;
  default:
    return has_path && index.UpdatePlaylist(owner, values.id, values);
  }
}

} // namespace

Walk FindPlaylistFiles(const Library &library, Output &output) {
  try {
    return WalkFolder(PlaylistsFolder(library), IsPlaylistName, Hidden::kTake, output);
  } catch (const std::system_error &error) {
    if (error.code() == std::errc::no_such_file_or_directory) {
      return {};
    }
    throw;
  }
}

index::Playlist RowOf(const Library &library, const FoundFile &file) {
  Playlist row;
  row.owner = library.owner;
  row.path = file.path;
  row.title = Stem(file.path);
  row.album = FileName(file.path.substr(0, file.path.rfind('/')));
  TakeStatus(row, file);
  return row;
}

std::vector<PlaylistDifference> ComparePlaylists(index::MediaIndex &index, const Library &library,
                                                 Output &output) {
  const Walk walk = FindPlaylistFiles(library, output);
  const Matching matching(index.AllPlaylists(library.owner), walk.files);
  std::vector<PlaylistDifference> differences, moves, lost;
  for (std::size_t i = 0; i < matching.rows().size(); ++i) {
    const Playlist &row = matching.rows()[i];
    const FoundFile *const file = matching.FileOf(i);
    if (file == nullptr) {
      if (IsGone(row.path)) {
        lost.push_back({Kind::kLost, row, row});
      }
    } else if (auto difference = Compare(library, row, *file)) {
      (difference->kind == Kind::kMoved ? moves : differences).push_back(*std::move(difference));
    }
  }
  FindOverwritten(moves, matching);
  differences.insert(differences.end(), moves.begin(), moves.end());
  differences.insert(differences.end(), lost.begin(), lost.end());
  for (const auto &[path, file] : matching.rest()) {
    const Playlist row = RowOf(library, *file);
    differences.push_back({Kind::kNew, row, row});
  }
  return differences;
}

bool MendPlaylist(index::MediaIndex &index, const PlaylistDifference &difference) {
  using Durable = index::MediaIndex::Durable;
  bool is_mended = false;
  index.InTransaction(difference.kind == Kind::kStatus ? Durable::kSoon : Durable::kNow,
                      [&] { is_mended = MendRow(index, difference); });
  return is_mended;
}

PlaylistChanges UpdatePlaylistRows(index::MediaIndex &index, const Library &library,
                                   std::chrono::seconds grace_period, Output &output) {
  PlaylistChanges changes;
  try {
    std::vector<PlaylistDifference> found = ComparePlaylists(index, library, output);
    for (const PlaylistDifference &difference : found) {
      if (difference.kind == Kind::kStatus) {
        (void)MendPlaylist(index, difference);
      }
    }
    std::erase_if(found, [](const auto &difference) { return !IsForScan(difference); });
    if (found.empty()) {
      return changes;
    }
    // However old the files seem: another machine that writes them may have another clock.
    std::this_thread::sleep_for(grace_period);
    for (const PlaylistDifference &difference : Lasting(index, library, found)) {
      if (MendPlaylist(index, difference)) {
        ++(difference.kind == Kind::kNew ? changes.added : changes.moved);
      }
    }
  } catch (const std::system_error &error) {
    output.Line(library.name + ": playlists cannot be read: " + error.code().message());
  }
  return changes;
}

} // namespace vexo::tools
