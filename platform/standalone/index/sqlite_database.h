#pragma once
// SQLite's C interface with owners and exceptions. Every failure throws IndexError with the file,
// the cause and SQLite's code.

#include "index/database.h"
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace vexo::index {

/// One connection to a database file.
class SqliteDatabase : public Database {
public:
  /// Opens the file, made when it is not there (its folder too). A lock that another process holds
  /// is waited for, but not longer than `busy_milliseconds`.
  SqliteDatabase(const std::string &path, int busy_milliseconds);
  ~SqliteDatabase() override;

  [[nodiscard]] const Dialect &dialect() const override;
  Texts &texts() override { return *texts_; }
  std::unique_ptr<Cursor> Prepare(std::string_view sql) override;
  void Execute(const char *sql) override;
  void ForEachKey(const Lookup &lookup, std::span<const int64_t> keys,
                  const RowVisitor &read) override;
  void ForEachKey(const Lookup &lookup, std::span<const std::string_view> keys,
                  const RowVisitor &read) override;
  int64_t LastId(const std::string &table) override;
  void SetLastId(const std::string &table, int64_t id) override;
  std::vector<int32_t> EntriesOf(int64_t list, std::span<const std::string> keys,
                                 int most_of_each) override;
  void AddEntries(const EntryRows &rows) override;
  void RemoveEntries(const EntryRows &rows) override;
  void Transact(Lock lock, MediaIndex::Durable durable, const std::function<void()> &work) override;
  using Database::Transact;
  void LockForNext(Lock) override {}
  [[nodiscard]] const char *HoldingRows() const override { return ""; }
  bool BeginMoment() override;
  void EndMoment() noexcept override;
  void ReadAtOnce(const std::function<void()> &read) override;

  [[nodiscard]] sqlite3 *get() const { return handle_; }
  [[nodiscard]] int busy_milliseconds() const { return busy_milliseconds_; }
  [[noreturn]] void Fail(const char *operation) const;

private:
  void Open(const std::string &path);
  sqlite3 *handle_ = nullptr;
  std::string path_;
  std::unique_ptr<Texts> texts_;
  int busy_milliseconds_;
};

} // namespace vexo::index
