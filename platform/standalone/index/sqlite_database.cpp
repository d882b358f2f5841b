#include "index/sqlite_database.h"
#include "index/ids.h"
#include "index/sqlite_texts.h"
#include "index/texts.h"

#include "files/folder.h"

#include <filesystem>

namespace vexo::index {

SqliteDatabase::SqliteDatabase(const std::string &path, int busy_milliseconds)
    : path_(path), texts_(std::make_unique<SqliteTexts>(*this)),
      busy_milliseconds_(busy_milliseconds) {
  try {
    Open(path);
    sqlite3_busy_timeout(handle_, busy_milliseconds);
    sqlite3_extended_result_codes(handle_, 1);
  } catch (...) {
    sqlite3_close_v2(handle_);
    throw;
  }
}

namespace {

/// Without SQLite's statistics of its memory, which nobody reads: they take a lock for each piece.
void CountNoMemory() {
  static const int result = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
  (void)result; // too late in this process: counted, and no harm
}

} // namespace

void SqliteDatabase::Open(const std::string &path) {
  CountNoMemory();
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  int code = sqlite3_open_v2(path.c_str(), &handle_, kFlags, nullptr);
  if (code == SQLITE_CANTOPEN) {
    files::MakeFolders(std::filesystem::path(path).parent_path());
    sqlite3_close_v2(handle_);
    code = sqlite3_open_v2(path.c_str(), &handle_, kFlags, nullptr);
  }
  if (code != SQLITE_OK) {
    Fail("open");
  }
}

SqliteDatabase::~SqliteDatabase() { sqlite3_close_v2(handle_); }

void SqliteDatabase::Execute(const char *sql) {
  if (sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    Fail(sql);
  }
}

void SqliteDatabase::Fail(const char *operation) const {
  throw IndexError(path_ + ": " + sqlite3_errmsg(handle_) + " (" +
                   std::to_string(sqlite3_extended_errcode(handle_)) + ") in: " + operation);
}

namespace {

/// A prepared statement.
class SqliteCursor : public Cursor {
public:
  SqliteCursor(SqliteDatabase &database, std::string_view sql);
  ~SqliteCursor() override { sqlite3_finalize(handle_); }
  SqliteCursor(const SqliteCursor &) = delete;
  SqliteCursor &operator=(const SqliteCursor &) = delete;

  void Bind(int parameter, int64_t value) override;
  void Bind(int parameter, double value) override;
  void Bind(int parameter, std::string_view text) override;
  void BindBytes(int parameter, std::string_view bytes) override;
  void BindNull(int parameter) { Check(sqlite3_bind_null(handle_, parameter)); }
  bool Step() override;
  void Run() override;
  int32_t Insert() override;
  int64_t Change() override;
  void Reset() override { Check(sqlite3_reset(handle_)); }
  void Abandon() noexcept override { sqlite3_reset(handle_); }
  [[nodiscard]] int64_t Int64(int column) const override;
  [[nodiscard]] double Double(int column) const override;
  [[nodiscard]] std::string_view View(int column) const override;

private:
  void Check(int code) const;
  SqliteDatabase &database_;
  sqlite3_stmt *handle_ = nullptr;
};

SqliteCursor::SqliteCursor(SqliteDatabase &database, std::string_view sql) : database_(database) {
  if (sqlite3_prepare_v2(database.get(), sql.data(), static_cast<int>(sql.size()), &handle_,
                         nullptr) != SQLITE_OK) {
    database.Fail(std::string(sql).c_str());
  }
}

void SqliteCursor::Check(int code) const {
  if (code != SQLITE_OK) {
    database_.Fail(sqlite3_sql(handle_));
  }
}

void SqliteCursor::Bind(int parameter, int64_t value) {
  Check(sqlite3_bind_int64(handle_, parameter, value));
}

void SqliteCursor::Bind(int parameter, double value) {
  Check(sqlite3_bind_double(handle_, parameter, value));
}

void SqliteCursor::Bind(int parameter, std::string_view text) {
  Check(sqlite3_bind_text64(handle_, parameter, text.data() == nullptr ? "" : text.data(),
                            text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void SqliteCursor::BindBytes(int parameter, std::string_view bytes) {
  Check(sqlite3_bind_blob64(handle_, parameter, bytes.data() == nullptr ? "" : bytes.data(),
                            bytes.size(), SQLITE_STATIC));
}

bool SqliteCursor::Step() {
  const int code = sqlite3_step(handle_);
  if (code != SQLITE_ROW && code != SQLITE_DONE) {
    database_.Fail(sqlite3_sql(handle_));
  }
  return code == SQLITE_ROW;
}

void SqliteCursor::Run() {
  Step();
  Reset();
}

int32_t SqliteCursor::Insert() {
  Run();
  return static_cast<int32_t>(sqlite3_last_insert_rowid(database_.get()));
}

int64_t SqliteCursor::Change() {
  Run();
  return sqlite3_changes64(database_.get());
}

int64_t SqliteCursor::Int64(int column) const { return sqlite3_column_int64(handle_, column); }

double SqliteCursor::Double(int column) const { return sqlite3_column_double(handle_, column); }

std::string_view SqliteCursor::View(int column) const {
  // What it gives for a text is its bytes.
  const void *bytes = sqlite3_column_blob(handle_, column);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_, column));
  return bytes == nullptr ? std::string_view()
                          : std::string_view(static_cast<const char *>(bytes), size);
}

/// "(VALUES(?2),(?3),...)", a table of so many keys.
std::string TableOfKeys(std::size_t count) {
  std::string table = "(VALUES";
  for (std::size_t i = 0; i < count; ++i) {
    table += (i == 0 ? "(?" : ",(?") + std::to_string(i + 2) + ")";
  }
  return table + ")";
}

/// Many keys are looked up by one run of a statement, as its beginning and its end cost more than a
/// row.
template <typename Key>
void LookUp(SqliteDatabase &database, const Lookup &lookup, std::span<const Key> keys,
            const RowVisitor &read) {
  if (keys.empty()) {
    return;
  }
  constexpr std::size_t kMostAtOnce = 64;
  const std::size_t at_once = std::min(keys.size(), kMostAtOnce);
  const Moment moment(database, keys.size() > at_once);
  // CROSS JOIN: the keys are the outer loop.
  auto owned = std::make_unique<SqliteCursor>(database, "SELECT " + lookup.columns + " FROM " +
                                                            TableOfKeys(at_once) + " CROSS JOIN " +
                                                            lookup.from);
  SqliteCursor &cursor = *owned;
  const Statement row(std::move(owned));
  cursor.Bind(1, lookup.first);
  for (auto key = keys.begin(); key != keys.end(); cursor.Reset()) {
    for (std::size_t i = 0; i < at_once; ++i) {
      const int parameter = static_cast<int>(i) + 2;
      if (key != keys.end()) {
        cursor.Bind(parameter, *key++);
      } else {
        cursor.BindNull(parameter);
      }
    }
    while (cursor.Step()) {
      read(row);
    }
  }
}

/// Commits without a sync while it lives: the next synced commit makes these durable as well.
class Unsynced {
public:
  explicit Unsynced(SqliteDatabase &database) : database_(database) {
    database_.Execute("PRAGMA synchronous=NORMAL");
  }
  ~Unsynced() {
    sqlite3_exec(database_.get(), "PRAGMA synchronous=FULL", nullptr, nullptr, nullptr);
  }
  Unsynced(const Unsynced &) = delete;
  Unsynced &operator=(const Unsynced &) = delete;

private:
  SqliteDatabase &database_;
};

/// A write transaction, undone unless it is committed.
class Transaction {
public:
  explicit Transaction(SqliteDatabase &database) : database_(database) {
    database_.Execute("BEGIN IMMEDIATE");
  }
  ~Transaction() {
    if (!committed_) {
      sqlite3_exec(database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
  }
  Transaction(const Transaction &) = delete;
  Transaction &operator=(const Transaction &) = delete;
  void Commit() {
    database_.Execute("COMMIT");
    committed_ = true;
  }

private:
  SqliteDatabase &database_;
  bool committed_ = false;
};

} // namespace

const Dialect &SqliteDatabase::dialect() const {
  static constexpr Dialect kDialect{
      [](const std::string &column) { return "fold(" + column + ")"; },
      [](const std::string &text, const std::string &part) {
        return "instr(" + text + ", " + part + ") > 0";
      },
      [](const std::string &text, const std::string &part) {
        return "substr(" + text + ", -length(" + part + ")) = " + part;
      },
      [](const std::string &text) { return text; },
      [](const std::string &first, const std::string &end, const std::string &owner) {
        // The plus keeps it from going through all songs of the owner, by the index of owners.
        return "path >= " + first + " AND path < " + end + " AND +owner = " + owner;
      },
      "CAST(duration AS INTEGER)",
      false};
  return kDialect;
}

std::unique_ptr<Cursor> SqliteDatabase::Prepare(std::string_view sql) {
  return std::make_unique<SqliteCursor>(*this, sql);
}

void SqliteDatabase::ForEachKey(const Lookup &lookup, std::span<const int64_t> keys,
                                const RowVisitor &read) {
  LookUp(*this, lookup, keys, read);
}

void SqliteDatabase::ForEachKey(const Lookup &lookup, std::span<const std::string_view> keys,
                                const RowVisitor &read) {
  LookUp(*this, lookup, keys, read);
}

namespace {

void RunForEach(SqliteDatabase &database, const char *sql, const EntryRows &rows) {
  if (rows.ids.empty()) {
    return;
  }
  Statement statement(database, sql);
  for (std::size_t i = 0; i < rows.ids.size(); ++i) {
    statement.Bind(1, rows.lists[i]).BindBytes(2, rows.keys[i]).Bind(3, rows.ids[i]).Run();
  }
}

} // namespace

int64_t SqliteDatabase::LastId(const std::string &table) {
  Statement last(*this, "SELECT seq FROM sqlite_sequence WHERE name = ?1");
  return last.Bind(1, table).Step() ? last.Int64(0) : 0;
}

void SqliteDatabase::SetLastId(const std::string &table, int64_t id) {
  Statement(*this, "DELETE FROM sqlite_sequence WHERE name = ?1").Bind(1, table).Run();
  Statement add(*this, "INSERT INTO sqlite_sequence(name, seq) VALUES(?1, ?2)");
  add.Bind(1, table).Bind(2, id).Run();
}

std::vector<int32_t> SqliteDatabase::EntriesOf(int64_t list, std::span<const std::string> keys,
                                               int most_of_each) {
  Statement entries(*this, "SELECT id FROM entries WHERE list = ?1 AND key = ?2 LIMIT ?3");
  IdSet ids;
  for (const std::string &key : keys) {
    const IdSet found =
        ReadIds(entries.Bind(1, list).BindBytes(2, key).Bind(3, int64_t{most_of_each}));
    ids.insert(ids.end(), found.begin(), found.end());
    entries.Reset();
  }
  return ids;
}

void SqliteDatabase::AddEntries(const EntryRows &rows) {
  RunForEach(*this, "INSERT INTO entries(list, key, id) VALUES(?1, ?2, ?3)", rows);
}

void SqliteDatabase::RemoveEntries(const EntryRows &rows) {
  RunForEach(*this, "DELETE FROM entries WHERE list = ?1 AND key = ?2 AND id = ?3", rows);
}

void SqliteDatabase::Transact(Lock, MediaIndex::Durable durable,
                              const std::function<void()> &work) {
  std::optional<Unsynced> unsynced;
  if (durable == MediaIndex::Durable::kSoon) {
    unsynced.emplace(*this);
  }
  Transaction transaction(*this);
  work();
  transaction.Commit();
}

bool SqliteDatabase::BeginMoment() {
  const bool is_first = sqlite3_get_autocommit(handle_) != 0;
  if (is_first) {
    Execute("BEGIN");
  }
  return is_first;
}

void SqliteDatabase::EndMoment() noexcept {
  sqlite3_exec(handle_, "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteDatabase::ReadAtOnce(const std::function<void()> &read) {
  const Moment moment(*this);
  read();
}

} // namespace vexo::index
