#include "index/postgres_database.h"
#include "index/ids.h"
#include "index/postgres_schema.h"
#include "index/postgres_texts.h"
#include "index/random_generator.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

namespace vexo::index {
namespace {

/// So often a transaction is tried that others undo, or whose connection breaks.
constexpr int kMostAttempts = 10;

/// A server that kept silent is not asked again for so long: a request asks several times.
constexpr std::chrono::seconds kPause{30};

/// Waits longer each time, and everyone for another time.
void WaitBeforeAttempt(int attempt) {
  std::mt19937_64 generator = RandomGenerator();
  std::uniform_int_distribution<int> milliseconds(1, 4 << std::min(attempt, 7));
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds(generator)));
}

template <typename Key>
void LookUp(PostgresDatabase &database, const Lookup &lookup, std::span<const Key> keys,
            const RowVisitor &read) {
  if (keys.empty()) {
    return;
  }
  PostgresQuery query{ToPostgres("SELECT " + lookup.columns +
                                 " FROM unnest(?2) WITH ORDINALITY AS keys(column1, position) "
                                 "CROSS JOIN " +
                                 lookup.from + " ORDER BY position")};
  if (lookup.tie != nullptr) {
    query.sql += std::string(", ") + lookup.tie;
  }
  query.parameters = {ToValue(lookup.first), ToValue(keys)};
  auto cursor = std::make_unique<PostgresCursor>(database, database.Read(std::move(query)));
  Statement rows(std::move(cursor));
  while (rows.Step()) {
    read(rows);
  }
}

} // namespace

PostgresDatabase::PostgresDatabase(std::string url, int busy_milliseconds,
                                   std::chrono::seconds patience)
    : url_(std::move(url)), busy_milliseconds_(busy_milliseconds), patience_(patience),
      texts_(std::make_unique<PostgresTexts>(*this)) {}

PostgresDatabase::~PostgresDatabase() = default;

namespace {

/// Also by what the index of paths has of them.
std::string PathBetween(const std::string &first, const std::string &end,
                        const std::string &owner) {
  const auto start = [](const std::string &path) { return "substr(" + path + ", 1, 500)"; };
  return "owner = " + owner + " AND " + start("path") + " >= " + start(first) + " AND " +
         start("path") + " <= " + start(end) + " AND path >= " + first + " AND path < " + end;
}

} // namespace

const Dialect &PostgresDatabase::dialect() const {
  static constexpr Dialect kDialect{[](const std::string &column) { return "folded_" + column; },
                                    [](const std::string &text, const std::string &part) {
                                      return "position(" + part + " IN " + text + ") > 0";
                                    },
                                    [](const std::string &text, const std::string &part) {
                                      return "substr(" + text + ", greatest(1, length(" + text +
                                             ") - length(" + part + ") + 1)) = " + part;
                                    },
                                    [](const std::string &text) { return "sha256(" + text + ")"; },
                                    PathBetween,
                                    "trunc(duration)",
                                    true};
  return kDialect;
}

std::unique_ptr<Cursor> PostgresDatabase::Prepare(std::string_view sql) {
  return std::make_unique<PostgresCursor>(*this, sql);
}

void PostgresDatabase::ForEachKey(const Lookup &lookup, std::span<const int64_t> keys,
                                  const RowVisitor &read) {
  LookUp(*this, lookup, keys, read);
}

void PostgresDatabase::ForEachKey(const Lookup &lookup, std::span<const std::string_view> keys,
                                  const RowVisitor &read) {
  LookUp(*this, lookup, keys, read);
}

namespace {

/// The sequence of a table's ids.
std::string SequenceOf(const std::string &table) {
  return (table == "song_groups" ? "group" : table.substr(0, table.size() - 1)) + "_ids";
}

std::vector<PostgresValue> ToValues(const EntryRows &rows) {
  const std::vector<std::string_view> keys(rows.keys.begin(), rows.keys.end());
  return {ToValue(std::span(rows.lists)), ToValue(std::span(keys)), ToValue(std::span(rows.ids))};
}

} // namespace

int64_t PostgresDatabase::LastId(const std::string &table) {
  return Number(
      ("SELECT CASE WHEN is_called THEN last_value ELSE 0 END FROM " + SequenceOf(table)).c_str());
}

void PostgresDatabase::SetLastId(const std::string &table, int64_t id) {
  Post({"SELECT setval(CAST(convert_from($1, 'UTF8') AS regclass), greatest(1, $2), $2 > 0)",
        {ToValue(std::string_view(SequenceOf(table))), ToValue(id)}});
}

std::vector<int32_t> PostgresDatabase::EntriesOf(int64_t list, std::span<const std::string> keys,
                                                 int most_of_each) {
  const std::vector<std::string_view> views(keys.begin(), keys.end());
  Statement entries(std::make_unique<PostgresCursor>(
      *this,
      Read({"SELECT found.id FROM unnest($2) AS wanted(key) CROSS JOIN LATERAL (SELECT id FROM "
            "entries WHERE list = $1 AND entries.key = wanted.key LIMIT $3) AS found",
            {ToValue(list), ToValue(std::span(views)), ToValue(int64_t{most_of_each})}})));
  return ReadIds(entries);
}

void PostgresDatabase::AddEntries(const EntryRows &rows) {
  if (!rows.ids.empty()) {
    Post({"INSERT INTO entries(list, key, id) SELECT * FROM unnest($1, $2, $3)", ToValues(rows)});
  }
}

void PostgresDatabase::RemoveEntries(const EntryRows &rows) {
  if (!rows.ids.empty()) {
    Post({"DELETE FROM entries USING unnest($1, $2, $3) AS gone(list, key, id) "
          "WHERE entries.list = gone.list AND entries.key = gone.key AND entries.id = gone.id",
          ToValues(rows)});
  }
}

void PostgresDatabase::Connect() {
  if (connection_ && !is_begun_ && !connection_->IsAlive()) {
    ForgetConnection();
  }
  if (!connection_) {
    connection_.emplace(url_, patience_);
  }
}

void PostgresDatabase::ForgetConnection() noexcept {
  connection_.reset();
  is_schema_known_ = false;
  is_begun_ = false;
}

/// Sends what is queued. With the first batch of a connection it asks for the version of the
/// schema, so that this takes no time of its own.
PostgresResult PostgresDatabase::ExchangeQueue() {
  Connect();
  if (is_schema_known_) {
    return connection_->Exchange(queue_.Queries());
  }
  const std::span<const PostgresQuery> queries = queue_.Queries();
  std::vector<PostgresQuery> batch(queries.begin(), queries.end());
  const std::size_t place = state_ == State::kAlone ? 0 : 1; // behind BEGIN
  batch.insert(batch.begin() + static_cast<std::ptrdiff_t>(place), PostgresQuery{SchemaCheck()});
  try {
    PostgresResult result = connection_->Exchange(batch);
    is_schema_known_ = true;
    return result;
  } catch (const PostgresError &error) {
    if (error.position() != place || !connection_->Undo()) {
      throw;
    }
  }
  MigrateSchema(*connection_);
  connection_->SetPatience(patience_);
  is_schema_known_ = true;
  return connection_->Exchange(queries);
}

/// The same, and the queue is empty then.
PostgresResult PostgresDatabase::SendQueue() {
  if (IsSilent()) {
    throw ServerSilent("the index's server: there was no answer a moment ago");
  }
  try {
    PostgresResult result = ExchangeQueue();
    is_begun_ = state_ != State::kAlone;
    queue_.Clear();
    return result;
  } catch (const ServerSilent &) {
    silent_until_ = Clock::now() + kPause;
    throw;
  }
}

bool PostgresDatabase::MayTryAgain(int attempt, Clock::time_point begin) const {
  return attempt < kMostAttempts && !IsSilent() && Clock::now() < begin + patience_;
}

/// A batch that is a transaction of its own. When its connection breaks, what it wrote may be
/// there: only what reads is asked again.
PostgresResult PostgresDatabase::Alone(bool is_read) {
  const Clock::time_point begin = Clock::now();
  for (int attempt = 1;; ++attempt) {
    try {
      return SendQueue();
    } catch (const PostgresError &error) {
      if (!connection_->Undo()) {
        ForgetConnection();
      }
      if (!error.IsConflict() || !MayTryAgain(attempt, begin)) {
        queue_.Clear();
        throw;
      }
    } catch (const ConnectionLost &) {
      const bool was_sent = connection_.has_value();
      ForgetConnection();
      if ((was_sent && !is_read) || !MayTryAgain(attempt, begin)) {
        queue_.Clear();
        throw;
      }
    }
    WaitBeforeAttempt(attempt);
  }
}

PostgresResult PostgresDatabase::Read(PostgresQuery query) {
  queue_.Add(std::move(query));
  return state_ == State::kAlone ? Alone(true) : SendQueue();
}

PostgresResult PostgresDatabase::Write(PostgresQuery query) {
  queue_.Add(std::move(query));
  return state_ == State::kAlone ? Alone(false) : SendQueue();
}

void PostgresDatabase::Post(PostgresQuery query) {
  constexpr std::size_t kMostStatements = 256, kMostBytes = 1'000'000;
  queue_.Add(std::move(query));
  if (state_ == State::kAlone) {
    Alone(false);
  } else if (queue_.statements() >= kMostStatements || queue_.bytes() >= kMostBytes) {
    SendQueue();
  }
}

/// Ids are taken from the server in advance only where one transaction adds several rows: those
/// that it does not use are lost.
int32_t PostgresDatabase::Insert(PostgresQuery query) {
  const std::string table = TableOf(query);
  if (state_ == State::kAlone || ids_.try_emplace(table).second) {
    query.sql += " RETURNING id";
    return static_cast<int32_t>(NumberIn(Write(std::move(query)), 0, 0));
  }
  const int32_t id = TakeId(table);
  Post(WithId(std::move(query), id));
  return id;
}

int32_t PostgresDatabase::TakeId(const std::string &table) {
  constexpr std::size_t kMostAtOnce = 1000;
  Ids &ids = ids_[table];
  if (ids.left.empty()) {
    ids.at_once = std::min(2 * ids.at_once, kMostAtOnce);
    const PostgresResult result =
        Read({"SELECT nextval('" + SequenceOf(table) + "') FROM generate_series(1, " +
              std::to_string(ids.at_once) + ")"});
    for (int row = PQntuples(result.get()); row > 0; --row) {
      ids.left.push_back(static_cast<int32_t>(NumberIn(result, row - 1, 0)));
    }
  }
  const int32_t id = ids.left.back();
  ids.left.pop_back();
  return id;
}

void PostgresDatabase::Execute(const char *sql) {
  std::string_view rest = sql;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(';'), rest.size());
    Post({std::string(rest.substr(0, end))});
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
}

void PostgresDatabase::AddLock(Lock lock) {
  // A machine may die and say nothing.
  queue_.Add({"SELECT set_config('lock_timeout', '" + std::to_string(busy_milliseconds_) +
              "ms', true), set_config('idle_in_transaction_session_timeout', '" +
              std::to_string(3 * busy_milliseconds_) + "ms', true)"});
  queue_.Add(
      {"SELECT 1 FROM locks WHERE id = $1 FOR UPDATE", {ToValue(static_cast<int64_t>(lock))}});
}

void PostgresDatabase::LockForNext(Lock lock) {
  if (state_ == State::kAlone) {
    queue_.Clear(); // of a statement that was never run
    AddLock(lock);
  }
}

void PostgresDatabase::Attempt(Lock lock, MediaIndex::Durable durable,
                               const std::function<void()> &work) {
  queue_.Clear();
  queue_.Add({"BEGIN"});
  state_ = State::kTransaction;
  AddLock(lock);
  if (durable == MediaIndex::Durable::kSoon) {
    queue_.Add({"SET LOCAL synchronous_commit = off"});
  }
  const std::size_t prologue = queue_.statements();
  work();
  if (is_begun_ || queue_.statements() > prologue) {
    Commit();
  }
  AbandonTransaction();
}

namespace {

/// Nobody knows whether the transaction was committed.
class OutcomeUnknown : public IndexError {
public:
  using IndexError::IndexError;
};

} // namespace

void PostgresDatabase::Commit() {
  if (!queue_.IsEmpty() && is_begun_) {
    SendQueue(); // what breaks up to here is certainly not committed
  }
  queue_.Add({"COMMIT"});
  try {
    SendQueue();
  } catch (const ConnectionLost &lost) {
    if (!connection_) {
      throw;
    }
    throw OutcomeUnknown(std::string("it is not known whether this was written: ") + lost.what());
  }
}

/// Back to the state without a transaction.
void PostgresDatabase::AbandonTransaction() noexcept {
  state_ = State::kAlone;
  queue_.Clear();
  ids_.clear();
  if (connection_ && !connection_->Undo()) {
    ForgetConnection();
  }
  is_begun_ = false;
}

/// Until it succeeds, or neither others nor the way to the server are the cause.
void PostgresDatabase::TryAgain(const std::function<void()> &attempt) {
  const Clock::time_point begin = Clock::now();
  for (int number = 1;; ++number) {
    try {
      return attempt();
    } catch (const PostgresError &error) {
      AbandonTransaction();
      if (!error.IsConflict() || !MayTryAgain(number, begin)) {
        throw;
      }
    } catch (const ConnectionLost &) {
      AbandonTransaction();
      ForgetConnection();
      if (!MayTryAgain(number, begin)) {
        throw;
      }
    } catch (...) {
      AbandonTransaction();
      throw;
    }
    WaitBeforeAttempt(number);
  }
}

void PostgresDatabase::Transact(Lock lock, MediaIndex::Durable durable,
                                const std::function<void()> &work) {
  TryAgain([&] { Attempt(lock, durable, work); });
}

bool PostgresDatabase::BeginMoment() {
  if (state_ != State::kAlone) {
    return false;
  }
  state_ = State::kMoment;
  queue_.Clear();
  queue_.Add({"BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"});
  return true;
}

void PostgresDatabase::EndMoment() noexcept {
  const bool was_begun = is_begun_;
  state_ = State::kAlone;
  queue_.Clear();
  is_begun_ = false;
  try {
    if (was_begun && connection_) {
      connection_->Leave();
    }
  } catch (const std::exception &) {
    ForgetConnection();
  }
}

void PostgresDatabase::ReadAtOnce(const std::function<void()> &read) {
  if (state_ != State::kAlone) {
    return read();
  }
  TryAgain([&] {
    BeginMoment();
    read();
    EndMoment();
  });
}

} // namespace vexo::index
