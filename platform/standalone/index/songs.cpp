// Songs by id, path and chance, and what the scanner writes.

#include "index/random_generator.h"
#include "index/rows.h"
#include "index/song_writer.h"
#include "index/sql_index.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace vexo::index {
namespace {

/// `count` different numbers of [low, high], in random order. `count` is small beside the range.
std::vector<int32_t> DrawNumbers(std::size_t count, int64_t low, int64_t high) {
  std::mt19937_64 generator = RandomGenerator();
  std::uniform_int_distribution<int64_t> distribution(low, high);
  std::vector<int32_t> numbers;
  std::unordered_set<int64_t> seen;
  while (numbers.size() < count) {
    if (const int64_t number = distribution(generator); seen.insert(number).second) {
      numbers.push_back(static_cast<int32_t>(number));
    }
  }
  return numbers;
}

/// The least and the greatest id.
std::pair<int64_t, int64_t> BoundsOfIds(Database &database) {
  Statement bounds(database, "SELECT (SELECT min(id) FROM songs), (SELECT max(id) FROM songs)");
  return bounds.Step() ? std::pair(bounds.Int64(0), bounds.Int64(1))
                       : std::pair<int64_t, int64_t>();
}

/// The rows of a statement that answers id, path, size and time of files.
std::vector<SongFile> ReadSongFiles(Statement &statement) {
  std::vector<SongFile> files;
  while (statement.Step()) {
    SongFile file;
    statement.Read(0, file.id);
    file.path = statement.Text(1);
    statement.Read(2, file.size_bytes);
    statement.Read(3, file.time_modified);
    files.push_back(std::move(file));
  }
  return files;
}

/// Of `owner`.
Lookup ByIds(const char *columns, int owner) {
  return {columns, "songs WHERE songs.id = column1 AND +owner = ?1", owner};
}

Lookup ByPaths(const Dialect &dialect, const char *columns) {
  return {columns, "songs WHERE " + dialect.Finds("songs.path", "column1"), 0, "songs.owner"};
}

std::vector<std::string_view> Paths(const std::vector<std::string> &paths) {
  return SortedOnce(std::vector<std::string_view>(paths.begin(), paths.end()));
}

/// Puts songs into the order of `ids`.
void SortByPosition(std::vector<Song> &songs, const std::vector<int32_t> &ids) {
  std::unordered_map<int32_t, std::size_t> position;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    position.emplace(ids[i], i);
  }
  std::sort(songs.begin(), songs.end(), [&](const Song &left, const Song &right) {
    return position.at(left.id) < position.at(right.id);
  });
}

} // namespace

std::vector<Song> SqlIndex::SongsById(int owner, const std::vector<int32_t> &ids) {
  std::vector<Song> songs;
  database_.ForEachKey(ByIds(VEXO_SONG_COLUMNS, owner), ToKeys(ids),
                       [&](const Statement &row) { songs.push_back(ReadSong(row)); });
  return songs;
}

void SqlIndex::VisitSongsById(int owner, const std::vector<int32_t> &ids,
                              const std::function<void(const SongView &)> &visit) {
  database_.ForEachKey(ByIds(VEXO_SONG_VIEW_COLUMNS, owner), ToKeys(ids),
                       [&](const Statement &row) { visit(ViewSong(row)); });
}

std::vector<Song> SqlIndex::SongsByPath(const std::vector<std::string> &paths) {
  std::vector<Song> songs;
  database_.ForEachKey(ByPaths(database_.dialect(), VEXO_SONG_COLUMNS), Paths(paths),
                       [&](const Statement &row) { songs.push_back(ReadSong(row)); });
  return songs;
}

void SqlIndex::VisitSongsByPath(const std::vector<std::string> &paths,
                                const std::function<void(const SongView &)> &visit) {
  database_.ForEachKey(ByPaths(database_.dialect(), VEXO_SONG_VIEW_COLUMNS), Paths(paths),
                       [&](const Statement &row) { visit(ViewSong(row)); });
}

std::vector<Song> SqlIndex::RandomSongs(int owner, int count) {
  // Ids drawn at random, those that are not songs of this owner thrown away: what is left is a
  // uniform choice in a uniform order. Where the ids are too sparse for that, the owner's songs are
  // gone through once instead, and only `count` of them are ever held.
  const auto [low, high] = BoundsOfIds(database_);
  for (const int64_t draws_per_song : {2, 16}) {
    const int64_t draws = count * draws_per_song + 16;
    if (count <= 0 || draws > (high - low) / 2) {
      break;
    }
    const std::vector<int32_t> ids = DrawNumbers(static_cast<std::size_t>(draws), low, high);
    std::vector<Song> songs = SongsById(owner, ids);
    if (songs.size() >= static_cast<std::size_t>(count)) {
      SortByPosition(songs, ids);
      songs.resize(static_cast<std::size_t>(count));
      return songs;
    }
  }
  SongQuery query;
  query.random = true;
  query.limit = count;
  return count <= 0 ? std::vector<Song>() : QuerySongs(owner, query);
}

std::vector<SongFile> SqlIndex::SongFiles(int owner) {
  Statement statement(database_,
                      "SELECT id, path, size, time_modified FROM songs WHERE +owner = ?1 "
                      "ORDER BY path");
  return ReadSongFiles(statement.Bind(1, int64_t{owner}));
}

std::vector<SongFile> SqlIndex::UnreadableFiles(int owner) {
  Statement statement(database_, "SELECT 0, path, size, time_modified FROM unreadable_files "
                                 "WHERE owner = ?1 ORDER BY path");
  return ReadSongFiles(statement.Bind(1, int64_t{owner}));
}

void SqlIndex::SetUnreadableFiles(int owner, const std::vector<SongFile> &files) {
  database_.Transact(Lock::kSongs, [&] {
    Statement(database_, "DELETE FROM unreadable_files WHERE owner = ?1")
        .Bind(1, int64_t{owner})
        .Run();
    Statement add(database_, "INSERT INTO unreadable_files(owner, path, size, time_modified) "
                             "VALUES(?1, ?2, ?3, ?4)");
    for (const SongFile &file : files) {
      add.Bind(1, int64_t{owner}).Bind(2, file.path);
      add.Bind(3, static_cast<int64_t>(file.size_bytes)).Bind(4, file.time_modified).Run();
    }
  });
}

void SqlIndex::WriteSongs(const std::vector<Song> &songs, const std::vector<int32_t> &removed) {
  BeginBatches();
  database_.Transact(Lock::kSongs, [&] {
    SongWriter writer(database_);
    for (const int32_t id : removed) {
      writer.Remove(id);
    }
    for (const Song &song : songs) {
      writer.Write(song);
    }
    writer.Flush();
  });
}

} // namespace vexo::index
