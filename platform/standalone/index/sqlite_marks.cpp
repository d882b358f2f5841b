// Marks, as their users give and see them.

#include "index/sqlite_index.h"
#include "index/sqlite_mark_keeper.h"
#include "index/sqlite_rows.h"

namespace vexo::index {
namespace {

/// Of VEXO_MARK_COLUMNS, from `column` on.
Mark ReadMark(const Statement &row, int column) {
  Mark mark;
  row.Read(column, mark.rating);
  row.Read(column + 1, mark.play_count);
  row.Read(column + 2, mark.time_starred);
  row.Read(column + 3, mark.time_played);
  return mark;
}

SongMark ReadSongMark(const Statement &row) {
  SongMark mark{0, ReadMark(row, 1)};
  row.Read(0, mark.song);
  return mark;
}

void WriteMark(Database &database, int user, const SongMark &mark) {
  Statement write(database, "INSERT OR REPLACE INTO song_marks(user, song, " VEXO_MARK_COLUMNS
                            ") VALUES(?1, ?2, ?3, ?4, ?5, ?6)");
  write.Bind(1, int64_t{user}).Bind(2, int64_t{mark.song}).Bind(3, int64_t{mark.mark.rating});
  write.Bind(4, mark.mark.play_count).Bind(5, mark.mark.time_starred);
  write.Bind(6, mark.mark.time_played).Run();
}

} // namespace

std::vector<SongMark> SqliteIndex::MarksOf(int user, const std::vector<int32_t> &songs) {
  std::vector<SongMark> marks;
  Statement statement(database_, "SELECT song, " VEXO_MARK_COLUMNS
                                 " FROM song_marks WHERE song = ?1 AND user = ?2");
  statement.Bind(2, int64_t{user});
  ForEachId(database_, statement, songs, [&] { marks.push_back(ReadSongMark(statement)); });
  return marks;
}

Page<SongMark> SqliteIndex::ListMarks(int user, bool starred, const Range &range) {
  const std::string matches =
      std::string(" FROM song_marks WHERE user = ?1") + (starred ? " AND time_starred <> 0" : "");
  const Moment moment(database_, 2);
  Page<SongMark> page;
  Statement count(database_, "SELECT count(*)" + matches);
  count.Bind(1, int64_t{user}).Step();
  page.total = count.Int64(0);
  Statement list(database_,
                 "SELECT song, " VEXO_MARK_COLUMNS + matches + " ORDER BY song LIMIT ?2 OFFSET ?3");
  list.Bind(1, int64_t{user}).Bind(2, range.limit).Bind(3, range.offset);
  while (list.Step()) {
    page.items.push_back(ReadSongMark(list));
  }
  return page;
}

std::optional<Mark> SqliteIndex::ChangeMark(int user, int32_t song, const MarkChange &change) {
  Transaction transaction(database_);
  Statement there(database_, "SELECT 1 FROM songs WHERE id = ?1");
  if (!there.Bind(1, int64_t{song}).Step()) {
    return std::nullopt;
  }
  const std::vector<SongMark> marks = MarksOf(user, {song});
  const Mark before = marks.empty() ? Mark() : marks.front().mark;
  const Mark after = Changed(before, change);
  if (after != before) {
    WriteMark(database_, user, {song, after});
  }
  there.Reset();
  transaction.Commit();
  return after;
}

int64_t SqliteIndex::RemoveMarks(int user) {
  Transaction transaction(database_);
  int64_t removed = 0;
  for (const char *table : {"song_marks", "lost_marks"}) {
    Statement(database_, "DELETE FROM " + std::string(table) + " WHERE user = ?1")
        .Bind(1, int64_t{user})
        .Run();
    removed += sqlite3_changes64(database_.get());
  }
  transaction.Commit();
  return removed;
}

} // namespace vexo::index
