#pragma once
// Questions about songs as SQL.

#include "index/song_query.h"
#include "index/sqlite_database.h"
#include <string>
#include <variant>
#include <vector>

namespace vexo::index {

/// A piece of SQL and the values of its parameters.
struct SqlText {
  std::string sql;
  std::vector<std::variant<int64_t, std::string>> parameters;
};

/// The statement that answers a query of one owner's songs: VEXO_SONG_COLUMNS, in the order that
/// the query asks for; for a random query the right songs, but by id.
SqlText TranslateQuery(int owner, const SongQuery &query);

/// Binds the parameters of a translation to its prepared statement.
void BindAll(Statement &statement, const SqlText &text);

/// The expression to sort songs by the column that a client calls `name`; by album for any other
/// name.
std::string SortExpression(const std::string &name);

} // namespace vexo::index
