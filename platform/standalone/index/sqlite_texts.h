#pragma once
// Text search in the SQLite engine: the SQL function fold(), and the trigram index song_texts.

#include "index/sqlite_database.h"
#include <array>
#include <string>

namespace vexo::index {

/// Gives the connection fold(TEXT): the text without differences of letter case.
void DefineFold(Database &database);

/// The columns of song_texts, in its order.
inline constexpr std::array kSearchedColumns = {"title", "artist", "album", "genre"};

/// Whether the trigram index can find the folded text: it knows nothing shorter than three
/// characters.
bool HasTrigram(const std::string &folded);

/// The search expression for rows with `folded` as a part of `column`; of any column when that is
/// null.
std::string MatchExpression(const char *column, const std::string &folded);

/// Takes songs into the trigram index and out of it again.
class SearchWriter {
public:
  explicit SearchWriter(Database &database);
  void Add(const Song &song);
  /// The texts must be those that were added.
  void Remove(const Song &song);

private:
  void Write(Statement &statement, const Song &song);
  Statement add_, remove_;
};

} // namespace vexo::index
