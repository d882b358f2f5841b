#include "index/postgres_schema.h"

#include <array>
#include <chrono>
#include <thread>

namespace vexo::index {
namespace {

// Element N leads from version N to N + 1. What has been released is never changed.
//
// What is given as text is kept as bytes: the order is ours, whatever language the server has, and
// names of files need not be UTF-8. Only what the trigram index reads is text for the server. An
// index of paths has their digests, as no index takes the longest of them. The rows of locks are
// what writers hold. There is nothing here that engines of the same language are known to lack:
// each index is of one kind, and ids come from sequences.
constexpr std::array kPostgresMigrations = {
    R"sql(
CREATE EXTENSION IF NOT EXISTS pg_trgm;
CREATE TABLE locks(id integer PRIMARY KEY);
INSERT INTO locks VALUES(0), (1), (2);
CREATE SEQUENCE song_ids MAXVALUE 2147483647;
CREATE SEQUENCE playlist_ids MAXVALUE 2147483647;
CREATE SEQUENCE group_ids MAXVALUE 2147483647;
CREATE TABLE songs(
  id integer PRIMARY KEY DEFAULT nextval('song_ids'),
  owner bigint NOT NULL,
  path bytea NOT NULL,
  title bytea NOT NULL,
  artist bytea NOT NULL,
  album bytea NOT NULL,
  genre bytea NOT NULL,
  track bigint NOT NULL,
  disc bigint NOT NULL,
  year bigint NOT NULL,
  duration double precision NOT NULL,
  bitrate bigint NOT NULL,
  sample_rate bigint NOT NULL,
  channels bigint NOT NULL,
  size bigint NOT NULL,
  album_artist bytea NOT NULL,
  composer bytea NOT NULL,
  comment bytea NOT NULL,
  type bytea NOT NULL,
  rating bigint NOT NULL,
  play_count bigint NOT NULL,
  compilation bigint NOT NULL,
  time_added bigint NOT NULL,
  time_modified bigint NOT NULL,
  time_changed bigint NOT NULL,
  album_id integer NOT NULL DEFAULT 0,
  artist_id integer NOT NULL DEFAULT 0,
  album_artist_id integer NOT NULL DEFAULT 0,
  genre_id integer NOT NULL DEFAULT 0,
  composer_id integer NOT NULL DEFAULT 0,
  folder_id integer NOT NULL DEFAULT 0,
  folded_title bytea NOT NULL,
  folded_artist bytea NOT NULL,
  folded_album bytea NOT NULL,
  folded_album_artist bytea NOT NULL,
  folded_genre bytea NOT NULL,
  folded_composer bytea NOT NULL,
  folded_comment bytea NOT NULL,
  folded_path bytea NOT NULL,
  folded_type bytea NOT NULL);
CREATE UNIQUE INDEX songs_path ON songs(sha256(path), owner);
CREATE INDEX songs_owner ON songs(owner);
CREATE TABLE texts(
  kind integer NOT NULL,
  id integer NOT NULL,
  text text COLLATE "C" NOT NULL,
  PRIMARY KEY(kind, id));
CREATE INDEX texts_trigrams ON texts USING gin(text gin_trgm_ops);
CREATE TABLE playlists(
  id integer PRIMARY KEY DEFAULT nextval('playlist_ids'),
  owner bigint NOT NULL,
  path bytea NOT NULL,
  title bytea NOT NULL,
  album bytea NOT NULL,
  change_time bytea NOT NULL,
  modification_time bytea NOT NULL,
  size bigint NOT NULL,
  inode bigint NOT NULL,
  born_ns bigint NOT NULL);
CREATE UNIQUE INDEX playlists_path ON playlists(owner, sha256(path));
CREATE TABLE unreadable_files(
  owner bigint NOT NULL,
  path bytea NOT NULL,
  size bigint NOT NULL,
  time_modified bigint NOT NULL);
CREATE UNIQUE INDEX unreadable_files_path ON unreadable_files(owner, sha256(path));
CREATE TABLE song_groups(
  id integer PRIMARY KEY DEFAULT nextval('group_ids'),
  owner bigint NOT NULL,
  kind bigint NOT NULL,
  identity bytea NOT NULL,
  name bytea NOT NULL,
  parent_id bigint NOT NULL,
  uses bigint NOT NULL DEFAULT 0,
  songs bigint NOT NULL DEFAULT 0,
  duration_ms bigint NOT NULL DEFAULT 0,
  size bigint NOT NULL DEFAULT 0,
  albums bigint NOT NULL DEFAULT 0,
  artist_id bigint NOT NULL DEFAULT 0,
  compilation bigint NOT NULL DEFAULT 0,
  discs bigint NOT NULL DEFAULT 0,
  year_from bigint NOT NULL DEFAULT 0,
  year_to bigint NOT NULL DEFAULT 0,
  time_added bigint NOT NULL DEFAULT 0,
  cover_song bigint NOT NULL DEFAULT 0);
CREATE UNIQUE INDEX song_groups_identity ON song_groups(owner, kind, sha256(identity));
CREATE TABLE group_albums(
  group_id bigint NOT NULL,
  album_id bigint NOT NULL,
  songs bigint NOT NULL,
  PRIMARY KEY(group_id, album_id));
CREATE TABLE entries(
  list bigint NOT NULL,
  key bytea NOT NULL,
  id integer NOT NULL,
  PRIMARY KEY(list, key, id));
CREATE TABLE marks(
  list bigint NOT NULL,
  key bytea NOT NULL,
  id integer NOT NULL,
  entries bigint NOT NULL,
  PRIMARY KEY(list, key, id));
CREATE TABLE catalog(revision bigint NOT NULL, complete bigint NOT NULL);
INSERT INTO catalog SELECT 1000 * CAST(extract(epoch FROM now()) AS bigint), 1;
CREATE TABLE song_marks(
  "user" bigint NOT NULL,
  song bigint NOT NULL,
  rating bigint NOT NULL,
  play_count bigint NOT NULL,
  time_starred bigint NOT NULL,
  time_played bigint NOT NULL,
  PRIMARY KEY("user", song));
CREATE INDEX song_marks_song ON song_marks(song);
CREATE TABLE lost_marks(
  owner bigint NOT NULL,
  path bytea NOT NULL,
  "user" bigint NOT NULL,
  rating bigint NOT NULL,
  play_count bigint NOT NULL,
  time_starred bigint NOT NULL,
  time_played bigint NOT NULL);
CREATE UNIQUE INDEX lost_marks_path ON lost_marks(owner, sha256(path), "user");
)sql",
    // The songs below a folder.
    R"sql(
DROP INDEX songs_owner;
CREATE INDEX songs_path_start ON songs(owner, substr(path, 1, 500));
)sql",
};

/// What happens when several make the same table, or the same row, at the same moment.
bool IsRace(const PostgresError &error) {
  constexpr std::array<std::string_view, 5> kRaces = {"23505",  // unique_violation
                                                      "42P07",  // duplicate_table
                                                      "42710",  // duplicate_object
                                                      "42P06",  // duplicate_schema
                                                      "XX000"}; // "tuple concurrently updated"
  return error.IsConflict() ||
         std::find(kRaces.begin(), kRaces.end(), error.state()) != kRaces.end();
}

int64_t LockedVersion(PostgresConnection &connection) {
  const PostgresQuery query{"SELECT version FROM schema_version FOR UPDATE"};
  const PostgresResult result = connection.Exchange(std::span(&query, 1));
  const auto *bytes = reinterpret_cast<const unsigned char *>(PQgetvalue(result.get(), 0, 0));
  return bytes[0] << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

void MigrateOnce(PostgresConnection &connection) {
  connection.Execute("BEGIN");
  connection.Execute("CREATE TABLE IF NOT EXISTS schema_version("
                     "id integer PRIMARY KEY, version integer NOT NULL)");
  connection.Execute("INSERT INTO schema_version VALUES(1, 0) ON CONFLICT DO NOTHING");
  int64_t version = LockedVersion(connection);
  if (version > PostgresSchemaVersion()) {
    throw IndexError("the index was made by a newer program (schema " + std::to_string(version) +
                     ")");
  }
  for (; version < PostgresSchemaVersion(); ++version) {
    connection.Execute(kPostgresMigrations.at(static_cast<std::size_t>(version)));
  }
  const std::string update = "UPDATE schema_version SET version = " + std::to_string(version);
  connection.Execute(update.c_str());
  connection.Execute("COMMIT");
}

} // namespace

int PostgresSchemaVersion() { return static_cast<int>(kPostgresMigrations.size()); }

std::string SchemaCheck() {
  return "SELECT 1 / count(*) FROM schema_version WHERE version = " +
         std::to_string(PostgresSchemaVersion());
}

void MigrateSchema(PostgresConnection &connection) {
  constexpr int kMostAttempts = 100;
  connection.SetPatience(kToolPatience);
  for (int attempt = 1;; ++attempt) {
    try {
      return MigrateOnce(connection);
    } catch (const PostgresError &error) {
      if (!connection.Undo() || !IsRace(error) || attempt == kMostAttempts) {
        throw;
      }
    } catch (...) {
      connection.Undo();
      throw;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

} // namespace vexo::index
