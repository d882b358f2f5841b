#pragma once
// A database as the index uses it, whichever engine it is: what both understand of SQL, with values
// in the places ?1, ?2, ... Every failure throws IndexError with the cause.
//
// Texts are bytes, and are compared byte by byte.

#include "index/media_index.h"
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::index {

/// What an engine has behind a statement. Parameters count from 1, columns from 0.
class Cursor {
public:
  virtual ~Cursor() = default;
  virtual void Bind(int parameter, int64_t value) = 0;
  virtual void Bind(int parameter, double value) = 0;
  virtual void Bind(int parameter, std::string_view text) = 0;
  virtual void BindBytes(int parameter, std::string_view bytes) = 0;
  virtual bool Step() = 0;
  virtual void Run() = 0;
  virtual int32_t Insert() = 0;
  virtual int64_t Change() = 0;
  virtual void Reset() = 0;
  virtual void Abandon() noexcept = 0;
  [[nodiscard]] virtual int64_t Int64(int column) const = 0;
  [[nodiscard]] virtual double Double(int column) const = 0;
  [[nodiscard]] virtual std::string_view View(int column) const = 0;
};

class Database;

/// A row that stands for all rows of a kind: who has it is the only one to write them.
enum class Lock { kSongs, kPlaylists, kMarks };

class Statement {
public:
  Statement(Database &database, std::string_view sql);
  explicit Statement(std::unique_ptr<Cursor> cursor) : cursor_(std::move(cursor)) {}

  Statement &Bind(int parameter, int64_t value) {
    cursor_->Bind(parameter, value);
    return *this;
  }
  Statement &Bind(int parameter, double value) {
    cursor_->Bind(parameter, value);
    return *this;
  }
  /// The text must live until the statement is stepped for the last time or bound anew.
  Statement &Bind(int parameter, std::string_view text) {
    cursor_->Bind(parameter, text);
    return *this;
  }
  /// Bytes that are no text; they must live as long as a text.
  Statement &BindBytes(int parameter, std::string_view bytes) {
    cursor_->BindBytes(parameter, bytes);
    return *this;
  }
  /// Moves to the next row; false: there is none.
  bool Step() { return cursor_->Step(); }
  /// Runs a statement that answers no row, and makes it ready for other parameters. Inside a
  /// transaction its failure may show only later, at the latest when that is committed.
  void Run() { cursor_->Run(); }
  /// Runs an INSERT of one row, and gives the id that the row has got.
  int32_t Insert() { return cursor_->Insert(); }
  /// Runs an UPDATE or a DELETE, and gives the number of rows that it found.
  int64_t Change() { return cursor_->Change(); }
  /// Ends the reading of rows, so that other parameters can be bound.
  void Reset() { cursor_->Reset(); }
  /// The same at the end of a block, which must not throw.
  void Abandon() noexcept { cursor_->Abandon(); }

  [[nodiscard]] int64_t Int64(int column) const { return cursor_->Int64(column); }
  [[nodiscard]] double Double(int column) const { return cursor_->Double(column); }
  /// The text, or the bytes, until the statement moves on.
  [[nodiscard]] std::string_view View(int column) const { return cursor_->View(column); }
  [[nodiscard]] std::string Text(int column) const { return std::string(View(column)); }
  /// A column whose values fit in the type that it is read into.
  template <typename Number> void Read(int column, Number &number) const {
    number = static_cast<Number>(Int64(column));
  }

private:
  std::unique_ptr<Cursor> cursor_;
};

/// A question about many keys at once: "SELECT `columns` FROM (the keys) CROSS JOIN `from`", where
/// the condition in `from` names the key `column1`. A parameter ?1 is `first`. Rows come in the
/// order of the keys; those of one key by `tie`.
struct Lookup {
  std::string columns, from;
  int64_t first = 0;
  const char *tie = nullptr;
};

/// Rows of the table `entries`.
struct EntryRows {
  std::vector<int64_t> lists;
  std::vector<std::string> keys;
  std::vector<int64_t> ids;
};

using RowVisitor = std::function<void(const Statement &)>;

class Texts;

/// How an engine says what it has words of its own for.
struct Dialect {
  std::string (*folded)(const std::string &column); ///< a column of songs without letter case
  std::string (*contains)(const std::string &text, const std::string &part);
  std::string (*ends_with)(const std::string &text, const std::string &part);
  /// What stands for a path or an identity where rows are unique, and are looked up.
  std::string (*unique)(const std::string &text);
  /// A condition on songs: the path is not before `first` and before `end`, of this owner.
  std::string (*path_between)(const std::string &first, const std::string &end,
                              const std::string &owner);
  const char *whole_seconds; ///< the length of a song
  bool keeps_folded;         ///< songs have a column `folded_...` beside each text

  /// That a column of unique paths or identities has this value.
  [[nodiscard]] std::string Finds(const std::string &column, const std::string &value) const {
    return unique(column) + " = " + unique(value);
  }
};

/// One connection to a database.
class Database {
public:
  Database() = default;
  virtual ~Database() = default;
  Database(const Database &) = delete;
  Database &operator=(const Database &) = delete;

  [[nodiscard]] virtual const Dialect &dialect() const = 0;
  /// What it finds by texts.
  virtual Texts &texts() = 0;
  virtual std::unique_ptr<Cursor> Prepare(std::string_view sql) = 0;
  /// Runs statements that answer no rows.
  virtual void Execute(const char *sql) = 0;
  /// The one number that a statement answers.
  int64_t Number(const char *sql);

  /// Answers a question in as few statements as the engine can.
  virtual void ForEachKey(const Lookup &lookup, std::span<const int64_t> keys,
                          const RowVisitor &read) = 0;
  virtual void ForEachKey(const Lookup &lookup, std::span<const std::string_view> keys,
                          const RowVisitor &read) = 0;

  /// The last id that a table has given, and which it goes on from.
  virtual int64_t LastId(const std::string &table) = 0;
  virtual void SetLastId(const std::string &table, int64_t id) = 0;

  /// The ids that a list has for any of these keys; of more than `most_of_each` for one key, so
  /// many. In no promised order.
  virtual std::vector<int32_t> EntriesOf(int64_t list, std::span<const std::string> keys,
                                         int most_of_each) = 0;

  // Rows of a transaction, in as few statements as the engine can; those that go are there.
  virtual void AddEntries(const EntryRows &rows) = 0;
  virtual void RemoveEntries(const EntryRows &rows) = 0;

  /// Makes one transaction of `work`, with the lock: a throw undoes all of it. It may be called
  /// again, when what others did meanwhile undid it.
  virtual void Transact(Lock lock, MediaIndex::Durable durable,
                        const std::function<void()> &work) = 0;
  void Transact(Lock lock, const std::function<void()> &work) {
    Transact(lock, MediaIndex::Durable::kNow, work);
  }
  /// Outside of transactions: the next statement has the lock while it runs.
  virtual void LockForNext(Lock lock) = 0;
  /// What makes a SELECT, written behind it, hold the rows that it finds until the transaction
  /// ends; nothing, where nobody else writes meanwhile anyway.
  [[nodiscard]] virtual const char *HoldingRows() const = 0;

  /// From here on until EndMoment() all that is read is of one moment; false: that is so anyway.
  virtual bool BeginMoment() = 0;
  virtual void EndMoment() noexcept = 0;
  /// All that `read` reads is of one moment. It may be called again, when it could not be read to
  /// the end.
  virtual void ReadAtOnce(const std::function<void()> &read) = 0;
};

/// Ends the reading of rows at its own end: a statement that is kept must not hold the database.
class Reading {
public:
  explicit Reading(Statement &statement) : statement_(statement) {}
  ~Reading() { statement_.Abandon(); }
  Reading(const Reading &) = delete;
  Reading &operator=(const Reading &) = delete;

private:
  Statement &statement_;
};

/// While it lives, all that is read is of one moment.
class Moment {
public:
  /// One statement alone is of one moment by itself, and needs none.
  explicit Moment(Database &database, bool is_needed = true)
      : database_(is_needed && database.BeginMoment() ? &database : nullptr) {}
  ~Moment() {
    if (database_ != nullptr) {
      database_->EndMoment();
    }
  }
  Moment(const Moment &) = delete;
  Moment &operator=(const Moment &) = delete;

private:
  Database *database_; ///< null: nothing was begun
};

} // namespace vexo::index
