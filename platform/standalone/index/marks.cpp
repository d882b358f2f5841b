// Marks, as their users give and see them.

#include "index/mark_keeper.h"
#include "index/rows.h"
#include "index/sql_index.h"

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
  Statement write(database, "INSERT INTO song_marks(\"user\", song, " VEXO_MARK_COLUMNS
                            ") VALUES(?1, ?2, ?3, ?4, ?5, ?6) "
                            "ON CONFLICT(\"user\", song) " VEXO_REPLACE_MARK);
  write.Bind(1, int64_t{user}).Bind(2, int64_t{mark.song}).Bind(3, int64_t{mark.mark.rating});
  write.Bind(4, mark.mark.play_count).Bind(5, mark.mark.time_starred);
  write.Bind(6, mark.mark.time_played).Run();
}

} // namespace

std::vector<SongMark> SqlIndex::MarksOf(int user, const std::vector<int32_t> &songs) {
  std::vector<SongMark> marks;
  database_.ForEachKey(
      {"song, " VEXO_MARK_COLUMNS, "song_marks WHERE song = column1 AND \"user\" = ?1", user},
      ToKeys(songs), [&](const Statement &row) { marks.push_back(ReadSongMark(row)); });
  return marks;
}

Page<SongMark> SqlIndex::ListMarks(int user, bool starred, const Range &range) {
  const std::string matches = std::string(" FROM song_marks WHERE \"user\" = ?1") +
                              (starred ? " AND time_starred <> 0" : "");
  Statement count(database_, "SELECT count(*)" + matches);
  Statement list(database_,
                 "SELECT song, " VEXO_MARK_COLUMNS + matches + " ORDER BY song LIMIT ?2 OFFSET ?3");
  count.Bind(1, int64_t{user});
  list.Bind(1, int64_t{user}).Bind(2, range.limit).Bind(3, range.offset);
  Page<SongMark> page;
  database_.ReadAtOnce([&] {
    const Reading reading_count(count);
    const Reading reading_list(list);
    page = {count.Step() ? count.Int64(0) : 0, {}};
    while (list.Step()) {
      page.items.push_back(ReadSongMark(list));
    }
  });
  return page;
}

std::optional<Mark> SqlIndex::ChangeMark(int user, int32_t song, const MarkChange &change) {
  std::optional<Mark> mark;
  database_.Transact(Lock::kMarks, [&] {
    mark.reset();
    Statement there(database_,
                    std::string("SELECT 1 FROM songs WHERE id = ?1") + database_.HoldingRows());
    if (!there.Bind(1, int64_t{song}).Step()) {
      return;
    }
    const std::vector<SongMark> marks = MarksOf(user, {song});
    const Mark before = marks.empty() ? Mark() : marks.front().mark;
    mark = Changed(before, change);
    if (*mark != before) {
      WriteMark(database_, user, {song, *mark});
    }
  });
  return mark;
}

int64_t SqlIndex::RemoveMarks(int user) {
  int64_t removed = 0;
  database_.Transact(Lock::kMarks, [&] {
    removed = 0;
    for (const char *table : {"song_marks", "lost_marks"}) {
      Statement remove(database_, "DELETE FROM " + std::string(table) + " WHERE \"user\" = ?1");
      removed += remove.Bind(1, int64_t{user}).Change();
    }
  });
  return removed;
}

} // namespace vexo::index
