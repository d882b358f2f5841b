#include "playlistctl/scan/scanner.h"

#include "accounts/ownership.h"
#include "playlistctl/scan/forget_library.h"
#include "playlistctl/scan/playlist_rows.h"
#include "playlistctl/scan/song_changes.h"
#include <algorithm>
#include <ctime>
#include <system_error>

namespace vexo::tools {
namespace {

using index::Song;
using index::SongFile;

/// Songs a transaction: enough to be quick, few enough that requests need not wait for long.
constexpr std::size_t kBatch = 1000;

/// With more than a tenth of a library new, the index is worth being put in order as a whole.
constexpr std::size_t kFewToMany = 10;

class SongScan {
public:
  SongScan(index::MediaIndex &index, const Library &library, const ScanOptions &options,
           Output &output, ScanResult &result)
      : index_(index), library_(library), options_(options), output_(output), result_(result) {}

  void Run(const Walk &walk, const std::vector<index::SongFile> &songs) {
    changes_ = CompareSongs(walk, songs);
    result_.unchanged = changes_.unchanged;
    const std::vector<SongFile> unreadable = index_.UnreadableFiles(library_.owner);
    PassOver(unreadable);
    std::vector<int32_t> gone;
    for (const index::SongFile &song : changes_.gone) {
      gone.push_back(song.id);
    }
    moved_ = MovedSongs(index_.SongsById(library_.owner, gone));
    ReadFiles();
    Flush();
    Forget(moved_.Left());
    std::sort(unreadable_.begin(), unreadable_.end());
    if (unreadable_ != unreadable) {
      index_.SetUnreadableFiles(library_.owner, unreadable_);
    }
    if (const std::size_t written = result_.added + result_.changed + result_.moved + result_.gone;
        written > 0 && written * kFewToMany >= result_.unchanged) {
      index_.Optimize();
    }
  }

private:
  /// What could not be read and has not changed since is not tried again.
  void PassOver(const std::vector<SongFile> &unreadable) {
    std::erase_if(changes_.to_read, [&](const FileToRead &file) {
      const SongFile status = StatusOf(file);
      if (!std::binary_search(unreadable.begin(), unreadable.end(), status)) {
        return false;
      }
      unreadable_.push_back(status);
      return true;
    });
    result_.unreadable = unreadable_.size();
  }

  static SongFile StatusOf(const FileToRead &file) {
    return {0, file.file.path, file.file.size_bytes, file.file.time_modified};
  }

  void ReadFiles() {
    std::vector<std::string> paths;
    for (const FileToRead &file : changes_.to_read) {
      paths.push_back(file.file.path);
    }
    std::size_t read = 0;
    ReadAllTags(options_.tags, paths,
                [&](std::size_t position, std::optional<Song> song, const TagFailure &failure) {
                  Take(changes_.to_read[position], std::move(song), failure);
                  output_.Progress(library_.name + ": reading tags", ++read, paths.size());
                });
  }

  void Take(const FileToRead &file, std::optional<Song> song, const TagFailure &failure) {
    if (!song) {
      output_.Line("skipped: " + Printable(file.file.path) + ": " + failure.why);
      ++result_.unreadable;
      if (!failure.may_pass) {
        unreadable_.push_back(StatusOf(file));
      }
      return;
    }
    song->owner = library_.owner;
    song->path = file.file.path;
    song->size_bytes = file.file.size_bytes;
    song->time_modified = file.file.time_modified;
    song->time_changed = file.file.time_changed;
    song->time_added = std::time(nullptr);
    song->id = file.id != 0 ? file.id : moved_.Take(*song);
    ++(file.id != 0 ? result_.changed : song->id != 0 ? result_.moved : result_.added);
    batch_.push_back(std::move(*song));
    if (batch_.size() == kBatch) {
      Flush();
    }
  }

  void Flush() {
    if (!batch_.empty()) {
      index_.WriteSongs(batch_, {});
      batch_.clear();
    }
  }

  void Forget(const std::vector<int32_t> &ids) {
    ForgetSongs(index_, ids);
    result_.gone = ids.size();
  }

  index::MediaIndex &index_;
  const Library &library_;
  const ScanOptions &options_;
  Output &output_;
  ScanResult &result_;
  SongChanges changes_;
  MovedSongs moved_{{}};
  std::vector<Song> batch_;
  std::vector<SongFile> unreadable_; ///< those that need not be tried again
};

std::optional<Walk> WalkLibrary(const Library &library, Output &output) {
  if (!library.folder.starts_with('/')) {
    output.Line(library.name + ": " + Printable(library.folder) + " is no absolute path");
    return std::nullopt;
  }
  try {
    return WalkFolder(library.folder, IsSongName, Hidden::kPass, output);
  } catch (const std::system_error &error) {
    output.Line(library.name + ": " + Printable(library.folder) +
                " cannot be read: " + error.code().message());
    return std::nullopt;
  }
}

} // namespace

ScanResult ScanLibrary(index::MediaIndex &index, const Library &library, const ScanOptions &options,
                       Output &output) {
  ScanResult result;
  const std::optional<Walk> walk = WalkLibrary(library, output);
  const std::vector<index::SongFile> songs = index.SongFiles(library.owner);
  result.complete = walk && (!walk->files.empty() || songs.empty() || options.forget_all);
  if (!result.complete) {
    output.Line(library.name + ": holds no songs now, as if it were not mounted; its " +
                std::to_string(songs.size()) + " songs are kept");
    if (walk) {
      output.Line("if they are gone for good: playlistctl scan --library " + library.name +
                  " --forget-all");
    }
    return result;
  }
  SongScan(index, library, options, output, result).Run(*walk, songs);
  accounts::MakePlaylistsFolderIfMissing(library.folder);
  const PlaylistChanges playlists =
      UpdatePlaylistRows(index, library, options.grace_period, output);
  result.playlists_added = playlists.added;
  result.playlists_renamed = playlists.moved;
  return result;
}

std::string Summary(const ScanResult &result) {
  std::string summary;
  const auto count = [&](std::size_t number, const char *what) {
    if (number > 0) {
      summary += (summary.empty() ? "" : ", ") + std::to_string(number) + " " + what;
    }
  };
  count(result.added, "new");
  count(result.changed, "changed");
  count(result.moved, "moved");
  count(result.gone, "gone");
  count(result.unchanged, "unchanged");
  count(result.unreadable, "not readable");
  count(result.playlists_added, result.playlists_added == 1 ? "playlist added" : "playlists added");
  count(result.playlists_renamed,
        result.playlists_renamed == 1 ? "playlist renamed" : "playlists renamed");
  return summary.empty() ? "no songs" : summary;
}

} // namespace vexo::tools
