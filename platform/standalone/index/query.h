#pragma once
// Questions about songs as SQL.

#include "index/database.h"
#include "index/song_query.h"
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
SqlText TranslateQuery(const Dialect &dialect, int owner, const SongQuery &query);

/// Binds the parameters of a translation to its prepared statement.
void BindAll(Statement &statement, const SqlText &text);

/// The expression to sort songs by the column that a client calls `name`; by album for any other
/// name.
std::string SortExpression(const Dialect &dialect, const std::string &name);

/// A LIMIT that is none.
inline constexpr int64_t kNoLimit = int64_t{1} << 62;

} // namespace vexo::index
