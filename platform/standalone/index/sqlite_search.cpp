// Songs by search and by query.

#include "index/orders.h"
#include "index/random_generator.h"
#include "index/sort_keys.h"
#include "index/sqlite_ids.h"
#include "index/sqlite_index.h"
#include "index/sqlite_query.h"
#include "index/sqlite_rows.h"
#include "index/sqlite_texts.h"
#include "text/case_folding.h"

#include <algorithm>

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

std::string OrderAndRange(const Search &search) {
  return " ORDER BY " + SortExpression(search.sort) + (search.ascending ? "" : " DESC") +
         ", fold(album), disc, track, id LIMIT ?3 OFFSET ?4";
}

std::string TrigramSearch(const Search &search) {
  return "SELECT " VEXO_SONG_COLUMNS " FROM songs WHERE id IN (SELECT rowid FROM song_texts "
         "WHERE song_texts MATCH ?2) AND +owner = ?1" +
         OrderAndRange(search);
}

std::string WholeSearch(const Search &search, const char *column) {
  std::string condition = "0";
  for (const char *searched : kSearchedColumns) {
    if (column == nullptr || std::string_view(column) == searched) {
      condition += " OR instr(fold(" + std::string(searched) + "), ?2)";
    }
  }
  return "SELECT " VEXO_SONG_COLUMNS " FROM songs WHERE owner = ?1 AND (" + condition + ")" +
         OrderAndRange(search);
}

} // namespace

std::vector<Song> SqliteIndex::SearchSongs(int owner, const Search &search) {
  const auto *field = std::find_if(kFields.begin(), kFields.end(),
                                   [&](const SearchField &f) { return f.code == search.field; });
  if (search.offset < 0 || search.limit < 0) {
    throw IndexError("a search from " + std::to_string(search.offset) + " for " +
                     std::to_string(search.limit) + " songs");
  }
  if (field == kFields.end()) {
    return {};
  }
  const std::string folded = text::FoldCase(search.keyword);
  const bool trigram = HasTrigram(folded);
  const std::string keyword = trigram ? MatchExpression(field->column, folded) : folded;
  Statement statement(database_,
                      trigram ? TrigramSearch(search) : WholeSearch(search, field->column));
  statement.Bind(1, int64_t{owner}).Bind(2, keyword);
  statement.Bind(3, search.limit == 0 ? int64_t{-1} : search.limit).Bind(4, search.offset);
  return ReadSongs(statement);
}

std::vector<Song> SqliteIndex::SongsNamed(int owner, SongName kind,
                                          const std::vector<std::string> &names, int most_of_each) {
  const int order = kind == SongName::kTitle ? kSongsByTitle.number : kSongsByFileName;
  const int64_t list = ListNumber(owner, order);
  Statement entries(database_, "SELECT id FROM entries WHERE list = ?1 AND key = ?2 LIMIT ?3");
  IdSet ids;
  for (const std::string &name : names) {
    const std::string key = NameKey(name);
    const IdSet found =
        ReadIds(entries.Bind(1, list).BindBytes(2, key).Bind(3, int64_t{most_of_each}));
    ids.insert(ids.end(), found.begin(), found.end());
    entries.Reset();
  }
  return SongsById(owner, ToSet(std::move(ids)));
}

std::vector<Song> SqliteIndex::QuerySongs(int owner, const SongQuery &query) {
  const SqlText text = TranslateQuery(owner, query);
  Statement statement(database_, text.sql);
  BindAll(statement, text);
  std::vector<Song> songs = ReadSongs(statement);
  if (query.random) {
    std::shuffle(songs.begin(), songs.end(), RandomGenerator());
  }
  return songs;
}

SongTotals SqliteIndex::CountSongs(int owner, const SongQuery &query) {
  SongQuery counted = query;
  if (query.limit == 0 && query.offset == 0) {
    counted.random = false; // no order decides which songs they are
    counted.order.reset();
  }
  SqlText text = TranslateQuery(owner, counted);
  text.sql = "SELECT count(*), total(duration) FROM (" + text.sql + ")";
  Statement statement(database_, text.sql);
  BindAll(statement, text);
  statement.Step();
  SongTotals totals;
  statement.Read(0, totals.songs);
  totals.duration_seconds = statement.Double(1);
  return totals;
}

} // namespace vexo::index
