#include "index/sqlite_schema.h"

#include <array>
#include <chrono>
#include <string>
#include <thread>

namespace vexo::index {
namespace {

// Element N leads from version N to N + 1. What has been released is never changed.
//
// AUTOINCREMENT is what keeps an id from being given twice. song_texts is the trigram index of the
// folded texts; it holds no texts of its own (content=''), so a row is taken out of it by naming
// the texts that went in.
constexpr std::array kMigrations = {
    R"sql(
CREATE TABLE songs(
  id INTEGER PRIMARY KEY AUTOINCREMENT CHECK(id <= 2147483647),
  owner INTEGER NOT NULL,
  path TEXT NOT NULL,
  title TEXT NOT NULL,
  artist TEXT NOT NULL,
  album TEXT NOT NULL,
  genre TEXT NOT NULL,
  track INTEGER NOT NULL,
  disc INTEGER NOT NULL,
  year INTEGER NOT NULL,
  duration REAL NOT NULL,
  bitrate INTEGER NOT NULL,
  sample_rate INTEGER NOT NULL,
  channels INTEGER NOT NULL,
  size INTEGER NOT NULL,
  album_artist TEXT NOT NULL,
  composer TEXT NOT NULL,
  comment TEXT NOT NULL,
  type TEXT NOT NULL,
  rating INTEGER NOT NULL,
  play_count INTEGER NOT NULL,
  compilation INTEGER NOT NULL,
  time_added INTEGER NOT NULL,
  time_modified INTEGER NOT NULL,
  time_changed INTEGER NOT NULL,
  UNIQUE(path, owner));
CREATE INDEX songs_owner ON songs(owner);
CREATE VIRTUAL TABLE song_texts USING fts5(
  title, artist, album, genre, content='', tokenize='trigram case_sensitive 1');
CREATE TABLE playlists(
  id INTEGER PRIMARY KEY AUTOINCREMENT CHECK(id <= 2147483647),
  owner INTEGER NOT NULL,
  path TEXT NOT NULL,
  title TEXT NOT NULL,
  album TEXT NOT NULL,
  change_time TEXT NOT NULL,
  modification_time TEXT NOT NULL,
  size INTEGER NOT NULL,
  UNIQUE(owner, path));
)sql",
    // What tells a playlist's file from every other one. Rows that are there learn it when their
    // file is next looked at.
    R"sql(
ALTER TABLE playlists ADD COLUMN inode INTEGER NOT NULL DEFAULT 0;
ALTER TABLE playlists ADD COLUMN born_ns INTEGER NOT NULL DEFAULT 0;
)sql",
    // What the scanner need not read again.
    R"sql(
CREATE TABLE unreadable_files(
  owner INTEGER NOT NULL,
  path TEXT NOT NULL,
  size INTEGER NOT NULL,
  time_modified INTEGER NOT NULL,
  PRIMARY KEY(owner, path)) WITHOUT ROWID;
)sql",
    // What songs have in common, and the orders to page through. A song whose folder is 0 is not in
    // these as yet: see CompleteCatalog(). Every request reads the whole schema, so what could be
    // an index of songs is a list among the entries. The revision begins with the time: it goes on
    // growing when the index is made anew.
    R"sql(
ALTER TABLE songs ADD COLUMN album_id INTEGER NOT NULL DEFAULT 0;
ALTER TABLE songs ADD COLUMN artist_id INTEGER NOT NULL DEFAULT 0;
ALTER TABLE songs ADD COLUMN album_artist_id INTEGER NOT NULL DEFAULT 0;
ALTER TABLE songs ADD COLUMN genre_id INTEGER NOT NULL DEFAULT 0;
ALTER TABLE songs ADD COLUMN composer_id INTEGER NOT NULL DEFAULT 0;
ALTER TABLE songs ADD COLUMN folder_id INTEGER NOT NULL DEFAULT 0;
CREATE TABLE song_groups(
  id INTEGER PRIMARY KEY AUTOINCREMENT CHECK(id <= 2147483647),
  owner INTEGER NOT NULL,
  kind INTEGER NOT NULL,
  identity BLOB NOT NULL,
  name TEXT NOT NULL,
  parent_id INTEGER NOT NULL,
  uses INTEGER NOT NULL DEFAULT 0,
  songs INTEGER NOT NULL DEFAULT 0,
  duration_ms INTEGER NOT NULL DEFAULT 0,
  size INTEGER NOT NULL DEFAULT 0,
  albums INTEGER NOT NULL DEFAULT 0,
  artist_id INTEGER NOT NULL DEFAULT 0,
  compilation INTEGER NOT NULL DEFAULT 0,
  discs INTEGER NOT NULL DEFAULT 0,
  year_from INTEGER NOT NULL DEFAULT 0,
  year_to INTEGER NOT NULL DEFAULT 0,
  time_added INTEGER NOT NULL DEFAULT 0,
  cover_song INTEGER NOT NULL DEFAULT 0,
  UNIQUE(owner, kind, identity));
CREATE TABLE group_albums(
  group_id INTEGER NOT NULL,
  album_id INTEGER NOT NULL,
  songs INTEGER NOT NULL,
  PRIMARY KEY(group_id, album_id)) WITHOUT ROWID;
CREATE TABLE entries(
  list INTEGER NOT NULL,
  key BLOB NOT NULL,
  id INTEGER NOT NULL,
  PRIMARY KEY(list, key, id)) WITHOUT ROWID;
CREATE TABLE marks(
  list INTEGER NOT NULL,
  key BLOB NOT NULL,
  id INTEGER NOT NULL,
  entries INTEGER NOT NULL,
  PRIMARY KEY(list, key, id)) WITHOUT ROWID;
CREATE VIRTUAL TABLE song_words USING fts5(
  title, content='', tokenize='trigram case_sensitive 1');
CREATE VIRTUAL TABLE group_words USING fts5(
  name, artist, content='', tokenize='trigram case_sensitive 1');
CREATE TABLE catalog(revision INTEGER NOT NULL, complete INTEGER NOT NULL);
INSERT INTO catalog SELECT 1000 * strftime('%s', 'now'), NOT EXISTS (SELECT 1 FROM songs);
)sql",
    // What users think of songs, and, by path, of songs that are gone and may come back.
    R"sql(
CREATE TABLE song_marks(
  user INTEGER NOT NULL,
  song INTEGER NOT NULL,
  rating INTEGER NOT NULL,
  play_count INTEGER NOT NULL,
  time_starred INTEGER NOT NULL,
  time_played INTEGER NOT NULL,
  PRIMARY KEY(user, song)) WITHOUT ROWID;
CREATE INDEX song_marks_song ON song_marks(song);
CREATE TABLE lost_marks(
  owner INTEGER NOT NULL,
  path TEXT NOT NULL,
  user INTEGER NOT NULL,
  rating INTEGER NOT NULL,
  play_count INTEGER NOT NULL,
  time_starred INTEGER NOT NULL,
  time_played INTEGER NOT NULL,
  PRIMARY KEY(owner, path, user)) WITHOUT ROWID;
)sql",
    // The words of titles, by a trigram index of each word once instead of each title: see
    // sqlite_titles.h. Titles of songs up to old_titles are in song_words as yet.
    R"sql(
CREATE VIRTUAL TABLE title_words USING fts5(
  word, content='', tokenize='trigram case_sensitive 1');
ALTER TABLE catalog ADD COLUMN old_titles INTEGER NOT NULL DEFAULT 2147483647;
)sql",
};

int64_t StoredVersion(Database &database) {
  const int64_t version = database.Number("PRAGMA user_version");
  if (version > SchemaVersion()) {
    throw IndexError("the index was made by a newer program (schema " + std::to_string(version) +
                     ")");
  }
  return version;
}

/// The switch to the write-ahead log needs the file for itself and does not wait for it, so
/// processes that make the index at the same time take turns here.
void UseWriteAheadLog(SqliteDatabase &database) {
  constexpr int kTries = 500;
  for (int tries = 1;; ++tries) {
    try {
      return database.Execute("PRAGMA journal_mode=WAL");
    } catch (const IndexError &) {
      if (tries == kTries || (sqlite3_errcode(database.get()) & 0xff) != SQLITE_BUSY) {
        throw;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
}

} // namespace

int SchemaVersion() { return static_cast<int>(kMigrations.size()); }

bool MigrateSchema(SqliteDatabase &database) {
  int64_t version = StoredVersion(database);
  if (version == SchemaVersion()) {
    return false;
  }
  UseWriteAheadLog(database);
  database.Transact(Lock::kSongs, [&] {
    for (version = StoredVersion(database); version < SchemaVersion(); ++version) {
      database.Execute(kMigrations.at(static_cast<std::size_t>(version)));
    }
    database.Execute(("PRAGMA user_version=" + std::to_string(version)).c_str());
  });
  return true;
}

} // namespace vexo::index
