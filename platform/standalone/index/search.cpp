// Songs by search and by query.

#include "index/ids.h"
#include "index/orders.h"
#include "index/query.h"
#include "index/random_generator.h"
#include "index/rows.h"
#include "index/sort_keys.h"
#include "index/sql_index.h"
#include "index/texts.h"
#include "index/words.h"
#include "text/case_folding.h"

#include <algorithm>
#include <iterator>

namespace vexo::index {
namespace {

/// A field that clients search in. The codes are those of VEXOMusicListAll().
struct SearchField {
  int code;
  const char *column; ///< null: every one of kSearchedColumns
};

constexpr std::array kFields = {SearchField{1, "title"}, SearchField{2, "artist"},
                                SearchField{3, "album"}, SearchField{6, "genre"},
                                SearchField{8, nullptr}};

/// The search for a condition; its range is parameters ?10 and ?11.
std::string SearchSql(const Dialect &dialect, const Search &search, const std::string &condition) {
  return "SELECT " VEXO_SONG_COLUMNS " FROM songs WHERE " + condition + " ORDER BY " +
         SortExpression(dialect, search.sort) + (search.ascending ? "" : " DESC") + ", " +
         dialect.folded("album") + ", disc, track, id LIMIT ?10 OFFSET ?11";
}

} // namespace

std::string HoldsKeyword(const Dialect &dialect, const char *column, const std::string &text) {
  std::string condition = "(FALSE";
  for (const char *searched : kSearchedColumns) {
    if (column == nullptr || std::string_view(column) == searched) {
      condition += " OR " + dialect.contains(dialect.folded(searched), text);
    }
  }
  return condition + ")";
}

std::vector<Song> SqlIndex::SearchSongs(int owner, const Search &search) {
  const auto *field = std::find_if(kFields.begin(), kFields.end(),
                                   [&](const SearchField &f) { return f.code == search.field; });
  if (search.offset < 0 || search.limit < 0) {
    throw IndexError("a search from " + std::to_string(search.offset) + " for " +
                     std::to_string(search.limit) + " songs");
  }
  if (field == kFields.end()) {
    return {};
  }
  const KeywordCondition condition =
      database_.texts().WithKeyword(field->column, text::FoldCase(search.keyword));
  Statement statement(database_, SearchSql(database_.dialect(), search, condition.sql));
  statement.Bind(1, int64_t{owner});
  int parameter = 2;
  for (const std::string &text : condition.texts) {
    statement.Bind(parameter++, text);
  }
  statement.Bind(10, search.limit == 0 ? kNoLimit : search.limit).Bind(11, search.offset);
  return ReadSongs(statement);
}

std::vector<Song> SqlIndex::SongsNamed(int owner, SongName kind,
                                       const std::vector<std::string> &names, int most_of_each) {
  const int order = kind == SongName::kTitle ? kSongsByTitle.number : kSongsByFileName;
  const int64_t list = ListNumber(owner, order);
  std::vector<std::string> keys;
  keys.reserve(names.size());
  std::transform(names.begin(), names.end(), std::back_inserter(keys), NameKey);
  return SongsById(owner, ToSet(database_.EntriesOf(list, keys, most_of_each)));
}

std::vector<Song> SqlIndex::QuerySongs(int owner, const SongQuery &query) {
  const SqlText text = TranslateQuery(database_.dialect(), owner, query);
  Statement statement(database_, text.sql);
  BindAll(statement, text);
  std::vector<Song> songs = ReadSongs(statement);
  if (query.random) {
    std::shuffle(songs.begin(), songs.end(), RandomGenerator());
  }
  return songs;
}

SongTotals SqlIndex::CountSongs(int owner, const SongQuery &query) {
  SongQuery counted = query;
  if (query.limit == 0 && query.offset == 0) {
    counted.random = false; // no order decides which songs they are
    counted.order.reset();
  }
  SqlText text = TranslateQuery(database_.dialect(), owner, counted);
  text.sql = "SELECT count(*), coalesce(sum(duration), 0.0) FROM (" + text.sql + ") AS chosen";
  Statement statement(database_, text.sql);
  BindAll(statement, text);
  statement.Step();
  SongTotals totals;
  statement.Read(0, totals.songs);
  totals.duration_seconds = statement.Double(1);
  return totals;
}

} // namespace vexo::index
