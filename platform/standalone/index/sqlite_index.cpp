#include "index/sqlite_index.h"
#include "index/sqlite_fold.h"
#include "index/sqlite_schema.h"
#include "index/sqlite_texts.h"
#include "index/sqlite_titles.h"

#include "files/file_descriptor.h"
#include <fcntl.h>

namespace vexo::index {
SqliteIndex::SqliteIndex(const std::string &path, int busy_milliseconds)
    : SqliteConnection{{path, busy_milliseconds}}, SqlIndex(sqlite), path_(path) {
  // A process that ends leaves the log to the next one: emptying it each time would cost a request
  // that writes one row four more syncs, and the two files to be made and removed.
  sqlite3_db_config(sqlite.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  sqlite3_wal_hook(sqlite.get(), AfterCommit, this);
  DefineFold(sqlite);
  const bool migrated = MigrateSchema(sqlite);
  if (migrated) {
    ReserveLog();
  }
  sqlite.Execute("PRAGMA synchronous=FULL");
  // A request may do this for a few songs; a larger index waits for the next scan.
  constexpr int64_t kFewSongs = 20'000;
  if (migrated && sqlite.Number("SELECT count(*) FROM songs") <= kFewSongs) {
    CompleteCatalog();
  }
}

SqliteIndex::~SqliteIndex() {
  if (most_log_pages_ == kLogPagesOfBatches) {
    EmptyLog();
  }
}

/// SQLite's own way only marks the log as done with, in memory that is lost with the last process:
/// the log of processes that come one after the other would grow for ever.
int SqliteIndex::EmptyLog() {
  const int result = sqlite3_wal_checkpoint_v2(sqlite.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE,
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
    sqlite3_busy_timeout(index.sqlite.get(), 0);
    index.EmptyLog();
    sqlite3_busy_timeout(index.sqlite.get(), index.sqlite.busy_milliseconds());
  }
  return SQLITE_OK;
}

void SqliteIndex::BeginBatches() {
  if (most_log_pages_ != kLogPagesOfBatches) {
    most_log_pages_ = kLogPagesOfBatches;
    // The orders take new songs in all over, and pages that are not kept are read again and again.
    sqlite.Execute("PRAGMA cache_size=-65536");
  }
}

namespace {

constexpr std::array kWordTables = {"song_texts", "title_words", "group_words"};

/// Gives a command to each of the trigram indexes.
void CommandWordTables(Database &database, const std::string &command) {
  for (const std::string table : kWordTables) {
    std::string sql = "INSERT INTO " + table;
    sql += "(" + table;
    sql += ") VALUES('" + command;
    sql += "')";
    database.Execute(sql.c_str());
  }
}

} // namespace

void SqliteIndex::Optimize() {
  CommandWordTables(sqlite, "optimize");
  EmptyLog();
}

void SqliteIndex::FindOwnDamage(std::vector<std::string> &findings) {
  Statement check(sqlite, "PRAGMA quick_check");
  while (check.Step()) {
    if (std::string finding = check.Text(0); finding != "ok") {
      findings.push_back(std::move(finding));
    }
  }
  CommandWordTables(sqlite, "integrity-check");
}

void SqliteIndex::ClearTexts() {
  sqlite.Execute("REINDEX");
  CommandWordTables(sqlite, "delete-all");
  ForgetOldTitles(sqlite);
}

void SqliteIndex::CompleteCatalog() {
  SqlIndex::CompleteCatalog();
  if (OldTitles(sqlite) > 0) {
    BeginBatches();
    while (MoveOldTitles(sqlite)) {
    }
  }
}

std::unique_ptr<MediaIndex> OpenSqliteIndex(const std::string &path) {
  return std::make_unique<SqliteIndex>(path);
}

} // namespace vexo::index
