#pragma once
// The media index on SQLite.

#include "index/sql_index.h"
#include "index/sqlite_database.h"
#include <string>
#include <vector>

namespace vexo::index {

/// What SqliteIndex has before it is a SqlIndex.
struct SqliteConnection {
  SqliteDatabase sqlite;
};

class SqliteIndex : private SqliteConnection, public SqlIndex {
public:
  /// How long a lock of another process is waited for.
  static constexpr int kBusyMilliseconds = 10'000;

  explicit SqliteIndex(const std::string &path, int busy_milliseconds = kBusyMilliseconds);
  ~SqliteIndex() override;

  void CompleteCatalog() override;
  void Optimize() override;

private:
  /// Pages that the write-ahead log holds before they are moved into the database. Every process
  /// that is the only one reads the whole log, so it is kept short: it holds some five rows.
  static constexpr int kLogPages = 16;
  /// The same while songs are written in batches, which touch pages all over the file: moving them
  /// after each batch would be most of the work.
  static constexpr int kLogPagesOfBatches = 4000;

  void BeginBatches() override;
  void FindOwnDamage(std::vector<std::string> &findings) override;
  void ClearTexts() override;
  static int AfterCommit(void *self, sqlite3 *, const char *, int log_pages);
  int EmptyLog();
  void ReserveLog();

  std::string path_;
  int most_log_pages_ = kLogPages;
};

} // namespace vexo::index
