// Songs by id, path and chance, and what the scanner writes.

#include "index/random_generator.h"
#include "index/sqlite_index.h"
#include "index/sqlite_rows.h"
#include "index/sqlite_song_writer.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

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

/// "(VALUES(?2),(?3),...)", a table of so many keys.
std::string TableOfKeys(std::size_t count) {
  std::string table = "(VALUES";
  for (std::size_t i = 0; i < count; ++i) {
    table += (i == 0 ? "(?" : ",(?") + std::to_string(i + 2) + ")";
  }
  return table + ")";
}

/// Calls `read` with each row of a song that one of `keys`, the values of `column`, names: of
/// `owner`, when there is one. Many are looked up by one run of a statement, as its beginning and
/// its end cost more than a song. The keys are sorted, each is there once, and the rows come in
/// their order, so that no page is looked for twice.
template <typename Key, typename Read>
void ForEachSong(Database &database, const std::string &columns, const char *column,
                 std::optional<int> owner, const std::vector<Key> &keys, Read read) {
  constexpr std::size_t kMostAtOnce = 64;
  const std::size_t at_once = std::min(keys.size(), kMostAtOnce);
  if (at_once == 0) {
    return;
  }
  // CROSS JOIN: the keys are the outer loop.
  Statement statement(database, "SELECT " + columns + " FROM " + TableOfKeys(at_once) +
                                    " CROSS JOIN songs ON " + column + " = column1" +
                                    (owner ? " WHERE +owner = ?1" : ""));
  statement.Bind(1, int64_t{owner.value_or(0)});
  const Moment moment(database, (keys.size() + at_once - 1) / at_once);
  for (auto key = keys.begin(); key != keys.end(); statement.Reset()) {
    for (std::size_t i = 0; i < at_once; ++i) {
      const int parameter = static_cast<int>(i) + 2;
      if (key != keys.end()) {
        statement.Bind(parameter, *key++);
      } else {
        statement.BindNull(parameter);
      }
    }
    while (statement.Step()) {
      read(statement);
    }
  }
}

std::vector<int64_t> Ids(const std::vector<int32_t> &ids) {
  return SortedOnce(std::vector<int64_t>(ids.begin(), ids.end()));
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

std::vector<Song> SqliteIndex::SongsById(int owner, const std::vector<int32_t> &ids) {
  std::vector<Song> songs;
  ForEachSong(database_, VEXO_SONG_COLUMNS, "id", owner, Ids(ids),
              [&](const Statement &row) { songs.push_back(ReadSong(row)); });
  return songs;
}

void SqliteIndex::VisitSongsById(int owner, const std::vector<int32_t> &ids,
                                 const std::function<void(const SongView &)> &visit) {
  ForEachSong(database_, VEXO_SONG_VIEW_COLUMNS, "id", owner, Ids(ids),
              [&](const Statement &row) { visit(ViewSong(row)); });
}

std::vector<Song> SqliteIndex::SongsByPath(const std::vector<std::string> &paths) {
  std::vector<Song> songs;
  ForEachSong(database_, VEXO_SONG_COLUMNS, "path", std::nullopt, Paths(paths),
              [&](const Statement &row) { songs.push_back(ReadSong(row)); });
  return songs;
}

void SqliteIndex::VisitSongsByPath(const std::vector<std::string> &paths,
                                   const std::function<void(const SongView &)> &visit) {
  ForEachSong(database_, VEXO_SONG_VIEW_COLUMNS, "path", std::nullopt, Paths(paths),
              [&](const Statement &row) { visit(ViewSong(row)); });
}

std::vector<Song> SqliteIndex::RandomSongs(int owner, int count) {
  // Ids drawn at random, those that are not songs of this owner thrown away: what is left is a
  // uniform choice in a uniform order. Where the ids are too sparse for that, the owner's songs are
  // gone through once instead, and only `count` of them are ever held.
  const int64_t low = database_.Number("SELECT min(id) FROM songs");
  const int64_t high = database_.Number("SELECT max(id) FROM songs");
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

std::vector<SongFile> SqliteIndex::SongFiles(int owner) {
  Statement statement(database_,
                      "SELECT id, path, size, time_modified FROM songs WHERE +owner = ?1 "
                      "ORDER BY path");
  return ReadSongFiles(statement.Bind(1, int64_t{owner}));
}

std::vector<SongFile> SqliteIndex::UnreadableFiles(int owner) {
  Statement statement(database_, "SELECT 0, path, size, time_modified FROM unreadable_files "
                                 "WHERE owner = ?1 ORDER BY path");
  return ReadSongFiles(statement.Bind(1, int64_t{owner}));
}

void SqliteIndex::SetUnreadableFiles(int owner, const std::vector<SongFile> &files) {
  Transaction transaction(database_);
  Statement(database_, "DELETE FROM unreadable_files WHERE owner = ?1")
      .Bind(1, int64_t{owner})
      .Run();
  Statement add(database_, "INSERT INTO unreadable_files(owner, path, size, time_modified) "
                           "VALUES(?1, ?2, ?3, ?4)");
  for (const SongFile &file : files) {
    add.Bind(1, int64_t{owner}).Bind(2, file.path);
    add.Bind(3, static_cast<int64_t>(file.size_bytes)).Bind(4, file.time_modified).Run();
  }
  transaction.Commit();
}

void SqliteIndex::WriteSongs(const std::vector<Song> &songs, const std::vector<int32_t> &removed) {
  BeginBatches();
  Transaction transaction(database_);
  SongWriter writer(database_);
  for (const int32_t id : removed) {
    writer.Remove(id);
  }
  for (const Song &song : songs) {
    writer.Write(song);
  }
  writer.Flush();
  transaction.Commit();
}

} // namespace vexo::index
