#include "index/sqlite_index.h"
#include "index/sqlite_rows.h"
#include "index/sqlite_schema.h"
#include "index/sqlite_texts.h"

#include "files/file_descriptor.h"
#include <fcntl.h>

namespace vexo::index {
SqliteIndex::SqliteIndex(const std::string &path, int busy_milliseconds)
    : database_(path, busy_milliseconds), path_(path) {
  // A process that ends leaves the log to the next one: emptying it each time would cost a request
  // that writes one row four more syncs, and the two files to be made and removed.
  sqlite3_db_config(database_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  sqlite3_wal_hook(database_.get(), AfterCommit, this);
  DefineFold(database_);
  if (MigrateSchema(database_)) {
    ReserveLog();
  }
  database_.Execute("PRAGMA synchronous=FULL");
}

SqliteIndex::~SqliteIndex() {
  if (most_log_pages_ == kLogPagesOfBatches) {
    EmptyLog();
  }
}

/// SQLite's own way only marks the log as done with, in memory that is lost with the last process:
/// the log of processes that come one after the other would grow for ever.
int SqliteIndex::EmptyLog() {
  const int result = sqlite3_wal_checkpoint_v2(database_.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE,
                                               nullptr, nullptr);
  ReserveLog();
  return result;
}

/// Keeps room for the log until it is emptied again: what frees space, as the removal of a row
/// does, must not fail because there is none left.
void SqliteIndex::ReserveLog() {
  constexpr off_t kPageInLog = 4096 + 24;
  const files::FileDescriptor log(open((path_ + "-wal").c_str(), O_WRONLY | O_CLOEXEC));
  if (log) {
    (void)fallocate(log.get(), FALLOC_FL_KEEP_SIZE, 0, off_t{2} * kLogPages * kPageInLog);
  }
}

int SqliteIndex::AfterCommit(void *self, sqlite3 *, const char *, int log_pages) {
  auto &index = *static_cast<SqliteIndex *>(self);
  if (log_pages >= index.most_log_pages_) {
    // Readers are not waited for; the next one that writes tries again.
    sqlite3_busy_timeout(index.database_.get(), 0);
    index.EmptyLog();
    sqlite3_busy_timeout(index.database_.get(), index.database_.busy_milliseconds());
  }
  return SQLITE_OK;
}

void SqliteIndex::Optimize() {
  database_.Execute("INSERT INTO song_texts(song_texts) VALUES('optimize')");
  EmptyLog();
}

std::vector<std::string> SqliteIndex::FindDamage() {
  std::vector<std::string> findings;
  try {
    Statement check(database_, "PRAGMA quick_check");
    while (check.Step()) {
      if (std::string finding = check.Text(0); finding != "ok") {
        findings.push_back(std::move(finding));
      }
    }
    database_.Execute("INSERT INTO song_texts(song_texts) VALUES('integrity-check')");
  } catch (const IndexError &error) {
    findings.emplace_back(error.what());
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
