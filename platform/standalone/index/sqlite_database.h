#pragma once
// SQLite's C interface with owners and exceptions. Every failure throws IndexError with the file,
// the cause and SQLite's code.

#include "index/media_index.h"
#include <cstdint>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace vexo::index {

/// One connection to a database file.
class Database {
public:
  /// Opens the file, made when it is not there (its folder too). A lock that another process holds
  /// is waited for, but not longer than `busy_milliseconds`.
  Database(const std::string &path, int busy_milliseconds);
  ~Database();
  Database(const Database &) = delete;
  Database &operator=(const Database &) = delete;

  /// Runs statements that answer no rows.
  void Execute(const char *sql);
  /// The one number that a statement answers.
  int64_t Number(const char *sql);
  [[nodiscard]] sqlite3 *get() const { return handle_; }
  [[nodiscard]] int busy_milliseconds() const { return busy_milliseconds_; }
  [[noreturn]] void Fail(const char *operation) const;

private:
  void Open(const std::string &path);
  sqlite3 *handle_ = nullptr;
  std::string path_;
  int busy_milliseconds_;
};

/// A prepared statement. Parameters count from 1, columns from 0, as in SQLite.
class Statement {
public:
  Statement(Database &database, std::string_view sql);
  ~Statement();
  Statement(const Statement &) = delete;
  Statement &operator=(const Statement &) = delete;

  Statement &Bind(int parameter, int64_t value);
  Statement &Bind(int parameter, double value);
  /// The text must live until the statement is stepped for the last time or bound anew.
  Statement &Bind(int parameter, std::string_view text);
  Statement &BindNull(int parameter);
  /// Bytes that are no text; they must live as long as a text.
  Statement &BindBytes(int parameter, std::string_view bytes);
  /// Moves to the next row; false: there is none.
  bool Step();
  /// Runs a statement that answers no row, and makes it ready for other parameters.
  void Run();
  /// Ends the reading of rows, so that other parameters can be bound.
  void Reset();

  [[nodiscard]] int64_t Int64(int column) const;
  [[nodiscard]] double Double(int column) const;
  [[nodiscard]] std::string Text(int column) const { return std::string(View(column)); }
  /// The text until the statement moves on.
  [[nodiscard]] std::string_view View(int column) const;
  [[nodiscard]] sqlite3_stmt *get() const { return handle_; }
  [[nodiscard]] std::string Bytes(int column) const;
  /// A column whose values fit in the type that it is read into.
  template <typename Number> void Read(int column, Number &number) const {
    number = static_cast<Number>(Int64(column));
  }

private:
  void Check(int code) const;
  Database &database_;
  sqlite3_stmt *handle_ = nullptr;
};

/// Ends the reading of rows at its own end: a statement that is kept must not hold the file.
class Reading {
public:
  explicit Reading(Statement &statement) : statement_(statement) {}
  ~Reading() { sqlite3_reset(statement_.get()); }
  Reading(const Reading &) = delete;
  Reading &operator=(const Reading &) = delete;

private:
  Statement &statement_;
};

/// While it lives, all that is read is of one moment.
class Moment {
public:
  /// One statement alone is of one moment by itself.
  Moment(Database &database, std::size_t statements);
  ~Moment();
  Moment(const Moment &) = delete;
  Moment &operator=(const Moment &) = delete;

private:
  Database *database_; ///< null: nothing was begun
};

/// A write transaction, undone unless it is committed.
class Transaction {
public:
  explicit Transaction(Database &database);
  ~Transaction();
  Transaction(const Transaction &) = delete;
  Transaction &operator=(const Transaction &) = delete;
  void Commit();

private:
  Database &database_;
  bool committed_ = false;
};

} // namespace vexo::index
