#pragma once
// PostgreSQL, or what speaks its language, as a Database. Statements of a transaction whose answers
// nobody waits for are sent with the next one that somebody waits for.

#include "index/database.h"
#include "index/postgres_batch.h"
#include "index/postgres_connection.h"
#include "index/postgres_cursor.h"
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vexo::index {

class PostgresDatabase : public Database, public PostgresSession {
public:
  /// How long a lock of another process is waited for. Who holds one, and says nothing for three
  /// times as long, loses it.
  static constexpr int kBusyMilliseconds = 10'000;

  /// Connects at the first statement. The schema is made or migrated then, where needed.
  explicit PostgresDatabase(std::string url, int busy_milliseconds = kBusyMilliseconds,
                            std::chrono::seconds patience = kRequestPatience);
  ~PostgresDatabase() override;

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
  void LockForNext(Lock lock) override;
  [[nodiscard]] const char *HoldingRows() const override { return " FOR UPDATE"; }
  bool BeginMoment() override;
  void EndMoment() noexcept override;
  void ReadAtOnce(const std::function<void()> &read) override;

  PostgresResult Read(PostgresQuery query) override;
  PostgresResult Write(PostgresQuery query) override;
  void Post(PostgresQuery query) override;
  int32_t Insert(PostgresQuery query) override;

private:
  enum class State { kAlone, kMoment, kTransaction };

  /// Ids of a table that the transaction has taken: each time twice as many.
  struct Ids {
    std::vector<int32_t> left; ///< the next one is the last
    std::size_t at_once = 1;
  };

  void Connect();
  using Clock = std::chrono::steady_clock;
  [[nodiscard]] bool IsSilent() const { return Clock::now() < silent_until_; }
  [[nodiscard]] bool MayTryAgain(int attempt, Clock::time_point begin) const;
  int32_t TakeId(const std::string &table);
  void Attempt(Lock lock, MediaIndex::Durable durable, const std::function<void()> &work);
  void Commit();
  void TryAgain(const std::function<void()> &attempt);
  void AddLock(Lock lock);
  PostgresResult Alone(bool is_read);
  PostgresResult SendQueue();
  PostgresResult ExchangeQueue();
  void AbandonTransaction() noexcept;
  void ForgetConnection() noexcept;

  std::string url_;
  int busy_milliseconds_;
  std::chrono::seconds patience_;
  Clock::time_point silent_until_; ///< so long the server is not asked
  std::unique_ptr<Texts> texts_;
  std::optional<PostgresConnection> connection_;
  bool is_schema_known_ = false; ///< on this connection
  State state_ = State::kAlone;
  bool is_begun_ = false; ///< the server has heard of the transaction
  PostgresBatch queue_;
  std::map<std::string, Ids> ids_; ///< of the transaction, by table
};

} // namespace vexo::index
