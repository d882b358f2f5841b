// Playlist rows of the SQLite engine.

#include "index/sqlite_index.h"
#include "index/sqlite_rows.h"

#include <cstdlib>

namespace vexo::index {
namespace {

/// Binds what a row holds besides its id and owner, from `parameter` on.
void BindValues(Statement &statement, int parameter, const Playlist &playlist) {
  for (const std::string *text : {&playlist.path, &playlist.title, &playlist.album,
                                  &playlist.change_time, &playlist.modification_time}) {
    statement.Bind(parameter++, *text);
  }
  for (const uint64_t number : {playlist.size_bytes, playlist.file.inode}) {
    statement.Bind(parameter++, static_cast<int64_t>(number));
  }
  statement.Bind(parameter, playlist.file.born_ns);
}

constexpr const char *kUpdate =
    "UPDATE playlists SET path = ?3, title = ?4, album = ?5, change_time = ?6, "
    "modification_time = ?7, size = ?8, inode = ?9, born_ns = ?10 WHERE owner = ?1 AND ";

} // namespace

int32_t SqliteIndex::AddPlaylist(const Playlist &playlist) {
  Statement statement(database_, "INSERT INTO playlists(owner, path, title, album, change_time, "
                                 "modification_time, size, inode, born_ns) "
                                 "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)");
  statement.Bind(1, int64_t{playlist.owner});
  BindValues(statement, 2, playlist);
  statement.Run();
  return static_cast<int32_t>(sqlite3_last_insert_rowid(database_.get()));
}

bool SqliteIndex::UpdatePlaylist(int owner, int32_t id, const Playlist &values) {
  Statement statement(database_, std::string(kUpdate) + "id = ?2");
  statement.Bind(1, int64_t{owner}).Bind(2, int64_t{id});
  BindValues(statement, 3, values);
  statement.Run();
  return sqlite3_changes(database_.get()) > 0;
}

bool SqliteIndex::UpdatePlaylist(int owner, const std::string &old_path, const Playlist &values) {
  Statement statement(database_, std::string(kUpdate) + "path = ?2");
  statement.Bind(1, int64_t{owner}).Bind(2, old_path);
  BindValues(statement, 3, values);
  statement.Run();
  return sqlite3_changes(database_.get()) > 0;
}

bool SqliteIndex::RemovePlaylist(int owner, int32_t id) {
  Statement statement(database_, "DELETE FROM playlists WHERE owner = ?1 AND id = ?2");
  statement.Bind(1, int64_t{owner}).Bind(2, int64_t{id}).Run();
  return sqlite3_changes(database_.get()) > 0;
}

std::vector<Playlist> SqliteIndex::PlaylistsById(int owner, const std::vector<int32_t> &ids) {
  if (!playlist_by_id_) {
    playlist_by_id_.emplace(database_, "SELECT " VEXO_PLAYLIST_COLUMNS
                                       " FROM playlists WHERE id = ?1 AND +owner = ?2");
  }
  std::vector<Playlist> rows;
  playlist_by_id_->Bind(2, int64_t{owner});
  ForEachId(database_, *playlist_by_id_, ids,
            [&] { rows.push_back(ReadPlaylist(*playlist_by_id_)); });
  return rows;
}

std::optional<Playlist> SqliteIndex::PlaylistByPath(int owner, const std::string &path) {
  Statement statement(database_, "SELECT " VEXO_PLAYLIST_COLUMNS
                                 " FROM playlists WHERE owner = ?1 AND path = ?2");
  if (!statement.Bind(1, int64_t{owner}).Bind(2, path).Step()) {
    return std::nullopt;
  }
  return ReadPlaylist(statement);
}

std::vector<Playlist> SqliteIndex::AllPlaylists(int owner) {
  Statement statement(database_, "SELECT " VEXO_PLAYLIST_COLUMNS
                                 " FROM playlists WHERE owner = ?1 ORDER BY path");
  return ReadPlaylists(statement.Bind(1, int64_t{owner}));
}

namespace {

/// Commits without a sync while it lives: the next synced commit makes these durable as well.
class Unsynced {
public:
  explicit Unsynced(Database &database) : database_(database) {
    database_.Execute("PRAGMA synchronous=NORMAL");
  }
  ~Unsynced() {
    sqlite3_exec(database_.get(), "PRAGMA synchronous=FULL", nullptr, nullptr, nullptr);
  }
  Unsynced(const Unsynced &) = delete;
  Unsynced &operator=(const Unsynced &) = delete;

private:
  Database &database_;
};

} // namespace

void SqliteIndex::InTransaction(Durable durable, const std::function<void()> &work) {
  std::optional<Unsynced> unsynced;
  if (durable == Durable::kSoon) {
    unsynced.emplace(database_);
  }
  Transaction transaction(database_);
  work();
  transaction.Commit();
}

} // namespace vexo::index
