#include "index/sqlite_index.h"
#include "index/sqlite_ids.h"
#include "index/sqlite_lists.h"
#include "index/sqlite_rows.h"
#include "index/sqlite_schema.h"
#include "index/sqlite_song_writer.h"
#include "index/sqlite_texts.h"
#include "index/sqlite_titles.h"

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
  const bool migrated = MigrateSchema(database_);
  if (migrated) {
    ReserveLog();
  }
  database_.Execute("PRAGMA synchronous=FULL");
  // A request may do this for a few songs; a larger index waits for the next scan.
  constexpr int64_t kFewSongs = 20'000;
  if (migrated && database_.Number("SELECT count(*) FROM songs") <= kFewSongs) {
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

void SqliteIndex::BeginBatches() {
  if (most_log_pages_ != kLogPagesOfBatches) {
    most_log_pages_ = kLogPagesOfBatches;
    // The orders take new songs in all over, and pages that are not kept are read again and again.
    database_.Execute("PRAGMA cache_size=-65536");
  }
}

namespace {

/// Songs behind `last` that are not in the catalog as yet; nothing: all are.
IdSet UncataloguedSongs(Database &database, int32_t last) {
  constexpr int64_t kBatch = 1000;
  Statement songs(database, "SELECT id FROM songs WHERE folder_id = 0 AND id > ?1 "
                            "ORDER BY id LIMIT ?2");
  return ReadIds(songs.Bind(1, int64_t{last}).Bind(2, kBatch));
}

void TakeIntoCatalog(Database &database, const IdSet &ids) {
  SongWriter writer(database);
  for (const int32_t id : ids) {
    writer.Complete(id);
  }
  writer.Flush();
}

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

void SqliteIndex::CompleteCatalog() {
  if (database_.Number("SELECT complete = 1 AND old_titles = 0 FROM catalog") != 0) {
    return;
  }
  BeginBatches();
  for (IdSet ids = UncataloguedSongs(database_, 0); !ids.empty();
       ids = UncataloguedSongs(database_, ids.back())) {
    Transaction transaction(database_);
    TakeIntoCatalog(database_, ids);
    transaction.Commit();
  }
  database_.Execute("UPDATE catalog SET complete = 1");
  while (MoveOldTitles(database_)) {
  }
}

void SqliteIndex::Optimize() {
  CommandWordTables(database_, "optimize");
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
    CommandWordTables(database_, "integrity-check");
    for (std::string &finding : FindListDamage(database_)) {
      findings.push_back(std::move(finding));
    }
  } catch (const IndexError &error) {
    findings.emplace_back(error.what());
  }
  return findings;
}

/// Groups keep their ids: those that songs still have are found again by their identities.
void SqliteIndex::RepairDamage() {
  Transaction transaction(database_);
  database_.Execute("REINDEX");
  CommandWordTables(database_, "delete-all");
  database_.Execute("DELETE FROM entries; DELETE FROM marks; DELETE FROM group_albums;"
                    "UPDATE song_groups SET uses = 0, songs = 0, duration_ms = 0, size = 0,"
                    " albums = 0, cover_song = 0;"
                    "UPDATE songs SET folder_id = 0");
  ForgetOldTitles(database_);
  SearchWriter search(database_);
  Statement songs(database_, "SELECT " VEXO_SONG_COLUMNS " FROM songs ORDER BY id");
  while (songs.Step()) {
    search.Add(ReadSong(songs));
  }
  for (IdSet ids = UncataloguedSongs(database_, 0); !ids.empty();
       ids = UncataloguedSongs(database_, ids.back())) {
    TakeIntoCatalog(database_, ids);
  }
  database_.Execute("DELETE FROM song_groups WHERE uses = 0; UPDATE catalog SET complete = 1");
  transaction.Commit();
}

std::unique_ptr<MediaIndex> OpenSqliteIndex(const std::string &path) {
  return std::make_unique<SqliteIndex>(path);
}

} // namespace vexo::index
