#include "index/postgres_batch.h"

#include <algorithm>

namespace vexo::index {
namespace {

constexpr std::string_view kInsert = "INSERT INTO ", kValues = "VALUES(";

bool AddsARow(const PostgresQuery &query) {
  return !query.parameters.empty() && query.sql.starts_with(kInsert) && query.sql.ends_with(')') &&
         query.sql.find(kValues) != std::string::npos;
}

/// The same INSERT, of all rows whose columns are the parameters.
std::string OfManyRows(const std::string &sql, std::size_t columns) {
  const std::size_t values = sql.find(kValues);
  std::string many = sql.substr(0, values) + "SELECT " +
                     sql.substr(values + kValues.size(), sql.size() - values - kValues.size() - 1);
  std::replace(many.begin(), many.end(), '$', 'v');
  std::string arrays, names;
  for (std::size_t i = 1; i <= columns; ++i) {
    const std::string number = std::to_string(i);
    arrays += (i == 1 ? "$" : ", $") + number;
    names += (i == 1 ? "v" : ", v") + number;
  }
  return many + " FROM unnest(" + arrays + ") AS given(" + names + ")";
}

std::vector<PostgresArray> ToColumns(const std::vector<PostgresValue> &row) {
  std::vector<PostgresArray> columns;
  columns.reserve(row.size());
  for (const PostgresValue &value : row) {
    columns.emplace_back(value.type).Add(value.bytes);
  }
  return columns;
}

bool HaveSameTypes(const PostgresQuery &left, const PostgresQuery &right) {
  return std::equal(
      left.parameters.begin(), left.parameters.end(), right.parameters.begin(),
      right.parameters.end(),
      [](const PostgresValue &one, const PostgresValue &other) { return one.type == other.type; });
}

} // namespace

std::string TableOf(const PostgresQuery &insert) {
  return insert.sql.substr(kInsert.size(), insert.sql.find('(') - kInsert.size());
}

PostgresQuery WithId(PostgresQuery insert, int32_t id) {
  insert.parameters.push_back(ToValue(int64_t{id}));
  insert.sql.insert(insert.sql.find(kValues) + kValues.size(),
                    "$" + std::to_string(insert.parameters.size()) + ", ");
  insert.sql.insert(insert.sql.find('(') + 1, "id, ");
  return insert;
}

void PostgresBatch::Add(PostgresQuery query) {
  for (const PostgresValue &value : query.parameters) {
    bytes_ += value.bytes.size();
  }
  if (AddsARow(query)) {
    AddRow(std::move(query));
    return;
  }
  queries_.push_back(std::move(query));
  first_insert_ = queries_.size();
}

void PostgresBatch::AddRow(PostgresQuery query) {
  for (std::size_t i = first_insert_; i < queries_.size(); ++i) {
    if (queries_[i].sql != query.sql || !HaveSameTypes(queries_[i], query)) {
      continue;
    }
    auto [rows, is_new] = rows_.try_emplace(i);
    if (is_new) {
      rows->second = ToColumns(queries_[i].parameters);
    }
    for (std::size_t column = 0; column < query.parameters.size(); ++column) {
      rows->second[column].Add(query.parameters[column].bytes);
    }
    return;
  }
  queries_.push_back(std::move(query));
}

void PostgresBatch::Clear() {
  queries_.clear();
  rows_.clear();
  first_insert_ = bytes_ = 0;
}

std::span<const PostgresQuery> PostgresBatch::Queries() {
  for (auto &[position, columns] : rows_) {
    PostgresQuery &query = queries_[position];
    query.sql = OfManyRows(query.sql, columns.size());
    query.parameters.clear();
    for (PostgresArray &column : columns) {
      query.parameters.push_back(std::move(column).Finish());
    }
  }
  rows_.clear();
  first_insert_ = queries_.size();
  return queries_;
}

} // namespace vexo::index
