#include "index/mark_keeper.h"

namespace vexo::index {
namespace {

bool IsAny(Database &database, const char *table) {
  return database.Number(("SELECT EXISTS (SELECT 1 FROM " + std::string(table) + ")").c_str()) != 0;
}

} // namespace

MarkKeeper::MarkKeeper(Database &database)
    : keep_(database, "INSERT INTO lost_marks(owner, path, \"user\", " VEXO_MARK_COLUMNS
                      ") SELECT ?2, ?3, \"user\", " VEXO_MARK_COLUMNS
                      " FROM song_marks WHERE song = ?1 "
                      "ON CONFLICT(owner, " +
                          database.dialect().unique("path") + ", \"user\") " VEXO_REPLACE_MARK),
      drop_(database, "DELETE FROM song_marks WHERE song = ?1"),
      take_(database, "INSERT INTO song_marks(\"user\", song, " VEXO_MARK_COLUMNS
                      ") SELECT \"user\", ?1, " VEXO_MARK_COLUMNS
                      " FROM lost_marks WHERE owner = ?2 AND " +
                          database.dialect().Finds("path", "?3")),
      forget_(database, "DELETE FROM lost_marks WHERE owner = ?1 AND " +
                            database.dialect().Finds("path", "?2")),
      any_marks_(IsAny(database, "song_marks")), any_lost_(IsAny(database, "lost_marks")) {}

void MarkKeeper::Lose(const Song &song) {
  if (any_marks_) {
    keep_.Bind(1, int64_t{song.id}).Bind(2, int64_t{song.owner}).Bind(3, song.path).Run();
    drop_.Bind(1, int64_t{song.id}).Run();
    any_lost_ = true;
  }
}

void MarkKeeper::Find(const Song &song) {
  if (any_lost_) {
    take_.Bind(1, int64_t{song.id}).Bind(2, int64_t{song.owner}).Bind(3, song.path).Run();
    forget_.Bind(1, int64_t{song.owner}).Bind(2, song.path).Run();
    any_marks_ = true;
  }
}

} // namespace vexo::index
