// Playlist rows of the SQLite engine.

#include "index/rows.h"
#include "index/sql_index.h"

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

int32_t SqlIndex::AddPlaylist(const Playlist &playlist) {
  database_.LockForNext(Lock::kPlaylists);
  Statement statement(database_, "INSERT INTO playlists(owner, path, title, album, change_time, "
                                 "modification_time, size, inode, born_ns) "
                                 "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)");
  statement.Bind(1, int64_t{playlist.owner});
  BindValues(statement, 2, playlist);
  return statement.Insert();
}

bool SqlIndex::UpdatePlaylist(int owner, int32_t id, const Playlist &values) {
  database_.LockForNext(Lock::kPlaylists);
  Statement statement(database_, std::string(kUpdate) + "id = ?2");
  statement.Bind(1, int64_t{owner}).Bind(2, int64_t{id});
  BindValues(statement, 3, values);
  return statement.Change() > 0;
}

bool SqlIndex::UpdatePlaylist(int owner, const std::string &old_path, const Playlist &values) {
  database_.LockForNext(Lock::kPlaylists);
  Statement statement(database_, kUpdate + database_.dialect().Finds("path", "?2"));
  statement.Bind(1, int64_t{owner}).Bind(2, old_path);
  BindValues(statement, 3, values);
  return statement.Change() > 0;
}

bool SqlIndex::RemovePlaylist(int owner, int32_t id) {
  database_.LockForNext(Lock::kPlaylists);
  Statement statement(database_, "DELETE FROM playlists WHERE owner = ?1 AND id = ?2");
  return statement.Bind(1, int64_t{owner}).Bind(2, int64_t{id}).Change() > 0;
}

std::vector<Playlist> SqlIndex::PlaylistsById(int owner, const std::vector<int32_t> &ids) {
  std::vector<Playlist> rows;
  if (ids.size() != 1) {
    database_.ForEachKey(
        {VEXO_PLAYLIST_COLUMNS, "playlists WHERE id = column1 AND +owner = ?1", owner}, ToKeys(ids),
        [&](const Statement &row) { rows.push_back(ReadPlaylist(row)); });
    return rows;
  }
  if (!playlist_by_id_) {
    playlist_by_id_.emplace(database_, "SELECT " VEXO_PLAYLIST_COLUMNS
                                       " FROM playlists WHERE id = ?1 AND +owner = ?2");
  }
  const Reading reading(*playlist_by_id_);
  if (playlist_by_id_->Bind(1, int64_t{ids.front()}).Bind(2, int64_t{owner}).Step()) {
    rows.push_back(ReadPlaylist(*playlist_by_id_));
  }
  return rows;
}

std::optional<Playlist> SqlIndex::PlaylistByPath(int owner, const std::string &path) {
  Statement statement(database_, "SELECT " VEXO_PLAYLIST_COLUMNS
                                 " FROM playlists WHERE owner = ?1 AND " +
                                     database_.dialect().Finds("path", "?2"));
  if (!statement.Bind(1, int64_t{owner}).Bind(2, path).Step()) {
    return std::nullopt;
  }
  return ReadPlaylist(statement);
}

std::vector<Playlist> SqlIndex::AllPlaylists(int owner) {
  Statement statement(database_, "SELECT " VEXO_PLAYLIST_COLUMNS
                                 " FROM playlists WHERE owner = ?1 ORDER BY path");
  return ReadPlaylists(statement.Bind(1, int64_t{owner}));
}

void SqlIndex::InTransaction(Durable durable, const std::function<void()> &work) {
  database_.Transact(Lock::kPlaylists, durable, work);
}

} // namespace vexo::index
