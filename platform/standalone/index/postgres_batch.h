#pragma once
// Statements that go to the server together.

#include "index/postgres_connection.h"
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace vexo::index {

/// The table that "INSERT INTO table(columns) VALUES(...)" adds to.
std::string TableOf(const PostgresQuery &insert);

/// The same INSERT of a row, which gets this id.
PostgresQuery WithId(PostgresQuery insert, int32_t id);

/// Statements in their order, but for rows: those that one INSERT adds after another become one
/// statement, also when INSERTs into other tables stand between them. The server reads and plans a
/// statement each time that it comes, which costs more than a row does.
class PostgresBatch {
public:
  void Add(PostgresQuery query);
  void Clear();
  /// What is to be sent; it stays until Clear().
  [[nodiscard]] std::span<const PostgresQuery> Queries();
  [[nodiscard]] bool IsEmpty() const { return queries_.empty(); }
  [[nodiscard]] std::size_t statements() const { return queries_.size(); }
  /// So much memory its values take, about.
  [[nodiscard]] std::size_t bytes() const { return bytes_; }

private:
  void AddRow(PostgresQuery query);

  std::vector<PostgresQuery> queries_;
  std::map<std::size_t, std::vector<PostgresArray>> rows_; ///< by statement: more rows than one
  std::size_t first_insert_ = 0; ///< from here on there are only INSERTs of rows
  std::size_t bytes_ = 0;
};

} // namespace vexo::index
