#pragma once
// Statements of a PostgreSQL server.

#include "index/database.h"
#include "index/postgres_connection.h"
#include <string>
#include <string_view>

namespace vexo::index {

/// The same statement with its values in the places $1, $2, ...
std::string ToPostgres(std::string_view sql);

/// The number in a place of an answer, which may also be a truth value.
int64_t NumberIn(const PostgresResult &result, int row, int column);

/// Who sends statements.
class PostgresSession {
public:
  virtual ~PostgresSession() = default;
  /// Asks for rows.
  virtual PostgresResult Read(PostgresQuery query) = 0;
  /// Changes something, and gives the answer.
  virtual PostgresResult Write(PostgresQuery query) = 0;
  /// Changes something; inside a transaction, at any time before its end.
  virtual void Post(PostgresQuery query) = 0;
  /// Adds a row, which gets an id. The second one of a transaction and those behind it may be
  /// written at any time before its end.
  virtual int32_t Insert(PostgresQuery query) = 0;
};

/// A statement, as it is sent each time that it runs.
class PostgresCursor : public Cursor {
public:
  PostgresCursor(PostgresSession &session, std::string_view sql)
      : session_(session), query_{ToPostgres(sql)} {}
  /// The rows of an answer that has come.
  PostgresCursor(PostgresSession &session, PostgresResult result)
      : session_(session), result_(std::move(result)) {}

  void Bind(int parameter, int64_t value) override { At(parameter) = ToValue(value); }
  void Bind(int parameter, double value) override { At(parameter) = ToValue(value); }
  void Bind(int parameter, std::string_view text) override { At(parameter) = ToValue(text); }
  void BindBytes(int parameter, std::string_view bytes) override { Bind(parameter, bytes); }
  bool Step() override;
  void Run() override { session_.Post(query_); }
  int32_t Insert() override { return session_.Insert(query_); }
  int64_t Change() override;
  void Reset() override { Abandon(); }
  void Abandon() noexcept override {
    result_.reset();
    row_ = -1;
  }
  [[nodiscard]] int64_t Int64(int column) const override;
  [[nodiscard]] double Double(int column) const override;
  [[nodiscard]] std::string_view View(int column) const override;

private:
  PostgresValue &At(int parameter);
  PostgresSession &session_;
  PostgresQuery query_;
  PostgresResult result_;
  int row_ = -1;
};

} // namespace vexo::index
