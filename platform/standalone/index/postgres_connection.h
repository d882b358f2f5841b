#pragma once
// libpq with owners and exceptions: batches of statements, each sent and answered in one round
// trip. Nothing is prepared and nothing is left in the session, so any connection of a pool will
// do.

#include "index/media_index.h"
#include <chrono>
#include <cstdint>
#include <libpq-fe.h>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::index {

/// A statement failed, and with it the transaction that it was in.
class PostgresError : public IndexError {
public:
  PostgresError(const std::string &what, std::string state, std::size_t position)
      : IndexError(what), state_(std::move(state)), position_(position) {}
  /// Five characters that tell the cause (SQLSTATE).
  [[nodiscard]] const std::string &state() const { return state_; }
  /// Which of the statements of its batch it was, from 0.
  [[nodiscard]] std::size_t position() const { return position_; }
  /// What others did at the same time is the cause: to be tried again.
  [[nodiscard]] bool IsConflict() const { return state_ == "40001" || state_ == "40P01"; }

private:
  std::string state_;
  std::size_t position_;
};

/// The connection broke, before or while a batch was answered.
class ConnectionLost : public IndexError {
public:
  using IndexError::IndexError;
};

/// The same, because the server keeps silent: to ask again would only take as long again.
class ServerSilent : public ConnectionLost {
public:
  using ConnectionLost::ConnectionLost;
};

/// The value of a parameter, as the server reads it.
struct PostgresValue {
  Oid type = 0;
  std::string bytes;
};

/// An array that becomes the value of a parameter.
class PostgresArray {
public:
  /// `type`: of its elements, one that ToValue() gives.
  explicit PostgresArray(Oid type);
  /// As ToValue() gives them.
  void Add(std::string_view bytes);
  [[nodiscard]] PostgresValue Finish() &&;

private:
  Oid type_;
  std::string bytes_; ///< with room for the head
  uint32_t size_ = 0;
};

PostgresValue ToValue(int64_t number);
PostgresValue ToValue(double number);
/// Bytes; texts are bytes as well.
PostgresValue ToValue(std::string_view bytes);
PostgresValue ToValue(std::span<const int64_t> numbers);
PostgresValue ToValue(std::span<const std::string_view> texts);

struct PostgresQuery {
  std::string sql; ///< one statement, with parameters $1, $2, ...
  std::vector<PostgresValue> parameters{};
};

struct ClearResult {
  void operator()(PGresult *result) const { PQclear(result); }
};
using PostgresResult = std::unique_ptr<PGresult, ClearResult>;

class PostgresConnection {
public:
  /// Connects, within 10 s and `patience` a host where the URL does not say otherwise; throws
  /// ConnectionLost, or another IndexError where the URL cannot be read. For the answer to what is
  /// sent at once it waits `patience`, and throws ServerSilent then.
  explicit PostgresConnection(const std::string &url,
                              std::chrono::seconds patience = kRequestPatience);

  /// Sends the statements together, and gives the answer of the last one. Outside of a transaction
  /// they are one.
  PostgresResult Exchange(std::span<const PostgresQuery> queries);
  /// Statements without parameters or answers, in one text.
  void Execute(const char *sql);
  /// Ends the transaction without waiting for the answer.
  void Leave();
  /// Undoes what is not committed; false: the connection is lost.
  bool Undo() noexcept;
  /// Whether it can still be used, as far as one sees from here.
  [[nodiscard]] bool IsAlive() noexcept;
  /// For the answers from now on.
  void SetPatience(std::chrono::seconds patience) { patience_ = patience; }

private:
  using Clock = std::chrono::steady_clock;
  struct Finish {
    void operator()(PGconn *connection) const { PQfinish(connection); }
  };

  void Send(std::span<const PostgresQuery> queries);
  bool Poll(short events, Clock::time_point end);
  bool Flush();
  void Await();
  PostgresResult Next();
  void AwaitEnd();
  void TakeAnswers();
  [[noreturn]] void Lose();

  std::unique_ptr<PGconn, Finish> connection_;
  std::chrono::seconds patience_;
  Clock::time_point end_;   ///< of the patience with what was sent last
  bool is_leaving_ = false; ///< the answer of Leave() is to come
};

} // namespace vexo::index
