#include "index/sqlite_index.h"
#include "index/sqlite_rows.h"
#include "index/sqlite_schema.h"
#include "index/sqlite_texts.h"

namespace vexo::index {
namespace {

/// Pages that the write-ahead log holds before they are moved into the database. Every process that
/// is the first one reads the whole log, so it is kept short.
constexpr int kLogPages = 64;

} // namespace

SqliteIndex::SqliteIndex(const std::string &path, int busy_milliseconds)
    : database_(path, busy_milliseconds) {
  sqlite3_wal_autocheckpoint(database_.get(), kLogPages);
  DefineFold(database_);
  MigrateSchema(database_);
  database_.Execute("PRAGMA synchronous=FULL");
}

void SqliteIndex::Optimize() {
  database_.Execute("INSERT INTO song_texts(song_texts) VALUES('optimize')");
  database_.Execute("PRAGMA wal_checkpoint(TRUNCATE)");
}

std::vector<std::string> SqliteIndex::FindDamage() {
  std::vector<std::string> findings;
  Statement check(database_, "PRAGMA quick_check");
  while (check.Step()) {
    if (std::string finding = check.Text(0); finding != "ok") {
      findings.push_back(std::move(finding));
    }
  }
  try {
    database_.Execute("INSERT INTO song_texts(song_texts) VALUES('integrity-check')");
  } catch (const IndexError &error) {
    findings.push_back(std::string("search index: ") + error.what());
  }
  return findings;
}

void SqliteIndex::RepairDamage() {
  Transaction transaction(database_);
  database_.Execute("REINDEX");
  database_.Execute("INSERT INTO song_texts(song_texts) VALUES('delete-all')");
  SearchWriter search(database_);
  Statement songs(database_, "SELECT " VEXO_SONG_COLUMNS " FROM songs ORDER BY id");
  while (songs.Step()) {
    search.Add(ReadSong(songs));
  }
  transaction.Commit();
}

std::unique_ptr<MediaIndex> OpenSqliteIndex(const std::string &path) {
  return std::make_unique<SqliteIndex>(path);
}

} // namespace vexo::index
