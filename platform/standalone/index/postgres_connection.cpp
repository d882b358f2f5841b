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
constexpr Oid kBytes = 17, kBigint = 20, kDouble = 701;

Oid ArrayOf(Oid type) {
  constexpr Oid kBytesArray = 1001, kBigintArray = 1016, kDoubleArray = 1022;
  return type == kBytes ? kBytesArray : type == kBigint ? kBigintArray : kDoubleArray;
}

/// The bytes of a number, the highest one first.
template <std::unsigned_integral Number> std::string BigEndian(Number number) {
  std::string bytes(sizeof number, '\0');
  for (std::size_t i = sizeof number; i > 0; number = static_cast<Number>(number >> 8)) {
    bytes[--i] = static_cast<char>(number & 0xff);
  }
  return bytes;
}

constexpr std::size_t kArrayHead = 5 * sizeof(uint32_t);

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

/// libpq quotes what it cannot read of a URL, or takes for a host or a port: a password must not
/// get so into logs.
void RequireReadable(std::string_view url) {
  constexpr std::string_view kScheme = "://";
  const std::string_view place = url.substr(0, url.find('?'));
  const std::size_t begin = place.find(kScheme), end = place.rfind('@');
  const bool names_user = begin != std::string_view::npos && end != std::string_view::npos;
  const std::string_view user =
      names_user ? place.substr(0, end).substr(begin + kScheme.size()) : "";
  const std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> options(
      PQconninfoParse(std::string(url).c_str(), nullptr), &PQconninfoFree);
  if (!options || user.find_first_of("/@") != std::string_view::npos) {
    throw IndexError("the URL of the index's server cannot be read; in user, password and database "
                     "signs like % / ? @ are written as %25 %2F %3F %40");
  }
}

bool IsError(const PGresult *result) {
  const ExecStatusType status = PQresultStatus(result);
  return status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK;
}

} // namespace

PostgresValue ToValue(int64_t number) {
  return {kBigint, BigEndian(static_cast<uint64_t>(number))};
}

PostgresValue ToValue(double number) {
  return {kDouble, BigEndian(std::bit_cast<uint64_t>(number))};
}

PostgresValue ToValue(std::string_view bytes) { return {kBytes, std::string(bytes)}; }

PostgresValue ToValue(std::span<const int64_t> numbers) {
  PostgresArray array(kBigint);
  for (const int64_t number : numbers) {
    array.Add(BigEndian(static_cast<uint64_t>(number)));
  }
  return std::move(array).Finish();
}

PostgresValue ToValue(std::span<const std::string_view> texts) {
  PostgresArray array(kBytes);
  for (const std::string_view text : texts) {
    array.Add(text);
  }
  return std::move(array).Finish();
}

PostgresArray::PostgresArray(Oid type) : type_(type), bytes_(kArrayHead, '\0') {}

void PostgresArray::Add(std::string_view bytes) {
  bytes_ += BigEndian(static_cast<uint32_t>(bytes.size()));
  bytes_ += bytes;
  ++size_;
}

PostgresValue PostgresArray::Finish() && {
  std::string head;
  // Its dimensions, that nothing in it is null, the type; of the dimension its size and first
  // index.
  for (const uint32_t number : {1U, 0U, uint32_t{type_}, size_, 1U}) {
    head += BigEndian(number);
  }
  bytes_.replace(0, kArrayHead, head);
  return {ArrayOf(type_), std::move(bytes_)};
}

PostgresConnection::PostgresConnection(const std::string &url, std::chrono::seconds patience)
    : patience_(patience) {
  RequireReadable(url);
  // What the URL says itself holds, as it comes last.
  const std::array keywords = {
      "fallback_application_name", "connect_timeout", "passfile",
      "client_encoding",           "dbname",          static_cast<const char *>(nullptr)};
  constexpr std::chrono::seconds kMostToConnect{10};
  const std::string timeout = std::to_string(std::min(kMostToConnect, patience).count());
  const std::array values = {"vexo", timeout.c_str(), system::kDatabasePasswords,
                             "UTF8", url.c_str(),     static_cast<const char *>(nullptr)};
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
      values.push_back(value.bytes.data());
      lengths.push_back(static_cast<int>(value.bytes.size()));
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
