#include "index/sqlite_database.h"

#include "files/folder.h"

#include <filesystem>

namespace vexo::index {

Database::Database(const std::string &path, int busy_milliseconds)
    : path_(path), busy_milliseconds_(busy_milliseconds) {
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

void Database::Open(const std::string &path) {
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

Database::~Database() { sqlite3_close_v2(handle_); }

void Database::Execute(const char *sql) {
  if (sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    Fail(sql);
  }
}

int64_t Database::Number(const char *sql) {
  Statement statement(*this, sql);
  return statement.Step() ? statement.Int64(0) : 0;
}

void Database::Fail(const char *operation) const {
  throw IndexError(path_ + ": " + sqlite3_errmsg(handle_) + " (" +
                   std::to_string(sqlite3_extended_errcode(handle_)) + ") in: " + operation);
}

Statement::Statement(Database &database, std::string_view sql) : database_(database) {
  if (sqlite3_prepare_v2(database.get(), sql.data(), static_cast<int>(sql.size()), &handle_,
                         nullptr) != SQLITE_OK) {
    database.Fail(std::string(sql).c_str());
  }
}

Statement::~Statement() { sqlite3_finalize(handle_); }

void Statement::Check(int code) const {
  if (code != SQLITE_OK) {
    database_.Fail(sqlite3_sql(handle_));
  }
}

Statement &Statement::Bind(int parameter, int64_t value) {
  Check(sqlite3_bind_int64(handle_, parameter, value));
  return *this;
}

Statement &Statement::Bind(int parameter, double value) {
  Check(sqlite3_bind_double(handle_, parameter, value));
  return *this;
}

Statement &Statement::Bind(int parameter, std::string_view text) {
  Check(sqlite3_bind_text64(handle_, parameter, text.data() == nullptr ? "" : text.data(),
                            text.size(), SQLITE_STATIC, SQLITE_UTF8));
  return *this;
}

Statement &Statement::BindNull(int parameter) {
  Check(sqlite3_bind_null(handle_, parameter));
  return *this;
}

Statement &Statement::BindBytes(int parameter, std::string_view bytes) {
  Check(sqlite3_bind_blob64(handle_, parameter, bytes.data() == nullptr ? "" : bytes.data(),
                            bytes.size(), SQLITE_STATIC));
  return *this;
}

bool Statement::Step() {
  const int code = sqlite3_step(handle_);
  if (code != SQLITE_ROW && code != SQLITE_DONE) {
    database_.Fail(sqlite3_sql(handle_));
  }
  return code == SQLITE_ROW;
}

void Statement::Run() {
  Step();
  Reset();
}

void Statement::Reset() { Check(sqlite3_reset(handle_)); }

int64_t Statement::Int64(int column) const { return sqlite3_column_int64(handle_, column); }

double Statement::Double(int column) const { return sqlite3_column_double(handle_, column); }

std::string_view Statement::View(int column) const {
  const auto *text = sqlite3_column_text(handle_, column);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_, column));
  return text == nullptr ? std::string_view()
                         : std::string_view(reinterpret_cast<const char *>(text), size);
}

Moment::Moment(Database &database, std::size_t statements)
    : database_(statements > 1 && sqlite3_get_autocommit(database.get()) != 0 ? &database
                                                                              : nullptr) {
  if (database_ != nullptr) {
    database_->Execute("BEGIN");
  }
}

Moment::~Moment() {
  if (database_ != nullptr) {
    sqlite3_exec(database_->get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

Transaction::Transaction(Database &database) : database_(database) {
  database_.Execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  if (!committed_) {
    sqlite3_exec(database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void Transaction::Commit() {
  database_.Execute("COMMIT");
  committed_ = true;
}

std::string Statement::Bytes(int column) const {
  const void *bytes = sqlite3_column_blob(handle_, column);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_, column));
  return bytes == nullptr ? std::string() : std::string(static_cast<const char *>(bytes), size);
}

} // namespace vexo::index
