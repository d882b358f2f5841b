#include "index/postgres_connection.h"
#include "system/paths.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <climits>
#include <concepts>
#include <poll.h>
#include <sys/socket.h>

namespace vexo::index {
namespace {

// Types of values, by their numbers in every server.
constexpr Oid kBytes = 17, kBigint = 20, kDouble = 701, kBytesArray = 1001, kBigintArray = 1016;

template <std::unsigned_integral Number> void AppendBigEndian(std::string &bytes, Number number) {
  for (int shift = 8 * (static_cast<int>(sizeof number) - 1); shift >= 0; shift -= 8) {
    bytes += static_cast<char>(number >> shift & 0xff);
  }
}

void AppendLength(std::string &bytes, std::size_t length) {
  AppendBigEndian(bytes, static_cast<uint32_t>(length));
}

std::string BeginOfArray(Oid type, std::size_t size) {
  std::string bytes;
  const std::size_t dimensions = size == 0 ? 0 : 1;
  for (const std::size_t number : {dimensions, std::size_t{0}, std::size_t{type}}) {
    AppendLength(bytes, number);
  }
  if (size != 0) {
    AppendLength(bytes, size);
    AppendLength(bytes, 1); // its first index
  }
  return bytes;
}

/// On one line.
std::string ServerMessage(const char *message) {
  std::string text = message == nullptr ? "" : message;
  while (text.ends_with('\n')) {
    text.pop_back();
  }
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
  return text;
}

std::string LossMessage(const PGconn *connection) {
  return "the index's server: " + ServerMessage(PQerrorMessage(connection));
}

PostgresError ErrorOf(const PGresult *result, const std::string &sql, std::size_t position) {
  const char *state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  return {"the index's server: " + ServerMessage(PQresultErrorMessage(result)) + " in: " + sql,
          state == nullptr ? "" : state, position};
}

bool IsError(const PGresult *result) {
  const ExecStatusType status = PQresultStatus(result);
  return status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK;
}

} // namespace

PostgresValue ToValue(int64_t number) {
  std::string bytes;
  AppendBigEndian(bytes, static_cast<uint64_t>(number));
  return {kBigint, std::move(bytes)};
}

PostgresValue ToValue(double number) {
  std::string bytes;
  AppendBigEndian(bytes, std::bit_cast<uint64_t>(number));
  return {kDouble, std::move(bytes)};
}

PostgresValue ToValue(std::string_view bytes) { return {kBytes, std::string(bytes)}; }

PostgresValue ToValue(std::span<const int64_t> numbers) {
  std::string bytes = BeginOfArray(kBigint, numbers.size());
  for (const int64_t number : numbers) {
    AppendLength(bytes, sizeof number);
    AppendBigEndian(bytes, static_cast<uint64_t>(number));
  }
  return {kBigintArray, std::move(bytes)};
}

PostgresValue ToValue(std::span<const std::string_view> texts) {
  std::string bytes = BeginOfArray(kBytes, texts.size());
  for (const std::string_view text : texts) {
    AppendLength(bytes, text.size());
    bytes += text;
  }
  return {kBytesArray, std::move(bytes)};
}

PostgresConnection::PostgresConnection(const std::string &url, std::chrono::seconds patience)
    : patience_(patience) {
  // What the URL says itself holds, as it comes last.
  const std::array keywords = {
      "fallback_application_name", "connect_timeout", "passfile",
      "client_encoding",           "dbname",          static_cast<const char *>(nullptr)};
  const std::array values = {"vexo", "10",        system::kDatabasePasswords,
                             "UTF8", url.c_str(), static_cast<const char *>(nullptr)};
  constexpr std::chrono::seconds kLongestRefusal{2};
  const Clock::time_point silent_from = Clock::now() + kLongestRefusal;
  connection_.reset(PQconnectdbParams(keywords.data(), values.data(), 1));
  if (PQstatus(connection_.get()) != CONNECTION_OK) {
    if (Clock::now() >= silent_from) {
      throw ServerSilent(LossMessage(connection_.get()));
    }
    Lose();
  }
  PQsetnonblocking(connection_.get(), 1);
  PQsetNoticeProcessor(
      connection_.get(), [](void *, const char *) {}, nullptr);
}

void PostgresConnection::Lose() { throw ConnectionLost(LossMessage(connection_.get())); }

/// Waits until the socket is ready; false: it is not by the time `end`.
bool PostgresConnection::Poll(short events, Clock::time_point end) {
  pollfd socket{PQsocket(connection_.get()), events, 0};
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    const int ready = poll(&socket, 1, static_cast<int>(std::clamp<int64_t>(left, 0, INT_MAX)));
    if (ready >= 0 || errno != EINTR) {
      return ready != 0;
    }
  }
}

/// Sends what waits to be sent, as far as the server takes it.
bool PostgresConnection::Flush() {
  const int rest = PQflush(connection_.get());
  if (rest < 0) {
    Lose();
  }
  return rest == 0;
}

void PostgresConnection::Send(std::span<const PostgresQuery> queries) {
  end_ = Clock::now() + patience_;
  for (const PostgresQuery &query : queries) {
    std::vector<Oid> types;
    std::vector<const char *> values;
    std::vector<int> lengths, formats;
    for (const PostgresValue &value : query.parameters) {
      types.push_back(value.type);
      values.push_back(value.bytes ? value.bytes->data() : nullptr);
      lengths.push_back(value.bytes ? static_cast<int>(value.bytes->size()) : 0);
      formats.push_back(1); // binary, as are the answers
    }
    if (PQsendQueryParams(connection_.get(), query.sql.c_str(), static_cast<int>(types.size()),
                          types.data(), values.data(), lengths.data(), formats.data(), 1) == 0) {
      Lose();
    }
  }
  if (PQpipelineSync(connection_.get()) == 0) {
    Lose();
  }
}

/// Waits until the next answer is there.
void PostgresConnection::Await() {
  for (;;) {
    const bool is_sent = Flush();
    if (PQisBusy(connection_.get()) == 0) {
      return;
    }
    if (!Poll(is_sent ? POLLIN : POLLIN | POLLOUT, end_)) {
      shutdown(PQsocket(connection_.get()), SHUT_RDWR); // or its end would wait, too
      throw ServerSilent("the index's server: no answer within " +
                         std::to_string(patience_.count()) + " seconds");
    }
    if (PQconsumeInput(connection_.get()) == 0) {
      Lose();
    }
  }
}

/// The next answer, none when all of a statement's have come.
PostgresResult PostgresConnection::Next() {
  Await();
  PostgresResult result(PQgetResult(connection_.get()));
  if (PQstatus(connection_.get()) != CONNECTION_OK) {
    Lose();
  }
  return result;
}

/// Takes all answers up to the end of the batch.
void PostgresConnection::AwaitEnd() {
  for (;;) {
    const PostgresResult result = Next();
    if (PQresultStatus(result.get()) == PGRES_PIPELINE_SYNC) {
      PQexitPipelineMode(connection_.get());
      return;
    }
  }
}

PostgresResult PostgresConnection::Exchange(std::span<const PostgresQuery> queries) {
  TakeAnswers();
  PQenterPipelineMode(connection_.get());
  Send(queries);
  PostgresResult last;
  for (std::size_t i = 0; i < queries.size(); ++i) {
    last = Next();
    if (IsError(last.get())) {
      const PostgresError error = ErrorOf(last.get(), queries[i].sql, i);
      AwaitEnd();
      throw error;
    }
    (void)Next(); // the end of its answers
  }
  AwaitEnd();
  return last;
}

void PostgresConnection::Execute(const char *sql) {
  TakeAnswers();
  end_ = Clock::now() + patience_;
  if (PQsendQuery(connection_.get(), sql) == 0) {
    Lose();
  }
  std::optional<PostgresError> error;
  while (const PostgresResult result = Next()) {
    if (!error && IsError(result.get())) {
      error = ErrorOf(result.get(), sql, 0);
    }
  }
  if (error) {
    throw *std::move(error);
  }
}

void PostgresConnection::Leave() {
  PQenterPipelineMode(connection_.get());
  const PostgresQuery commit{"COMMIT"};
  Send(std::span(&commit, 1));
  is_leaving_ = true;
}

/// What Leave() did not wait for.
void PostgresConnection::TakeAnswers() {
  if (is_leaving_) {
    is_leaving_ = false;
    AwaitEnd();
  }
}

bool PostgresConnection::Undo() noexcept {
  try {
    TakeAnswers();
    if (PQtransactionStatus(connection_.get()) != PQTRANS_IDLE) {
      Execute("ROLLBACK");
    }
    return true;
  } catch (const std::exception &) {
    return false;
  }
}

/// A server that closes a connection says so: something is there to be read that nobody asked for.
bool PostgresConnection::IsAlive() noexcept {
  try {
    TakeAnswers();
  } catch (const std::exception &) {
    return false;
  }
  return !Poll(POLLIN, Clock::now());
}

} // namespace vexo::index
